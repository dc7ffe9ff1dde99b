// Uses an MCP server as the official client does and prints what it got, as one JSON object.
//
//   node drive.mjs http http://127.0.0.1:9999/mcp
//   node drive.mjs stdio mb --port 9999 mcp

import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StdioClientTransport } from "@modelcontextprotocol/sdk/client/stdio.js";
import { StreamableHTTPClientTransport } from "@modelcontextprotocol/sdk/client/streamableHttp.js";

const [kind, first, ...rest] = process.argv.slice(2);
const transport =
  kind === "http"
    ? new StreamableHTTPClientTransport(new URL(first))
    : new StdioClientTransport({ command: first, args: rest, env: process.env, stderr: "inherit" });
const client = new Client({ name: "driver", version: "1" });
await client.connect(transport);

const call = async (name, args) => {
  const result = await client.callTool({ name, arguments: args });
  return { text: result.content[0].text, isError: result.isError };
};

const got = { server: client.getServerVersion(), instructions: client.getInstructions() };
await client.ping();
await client.setLoggingLevel("warning");
got.tools = (await client.listTools()).tools.map((tool) => tool.name);
got.added = await call("memory.add", {
  context: `sdk-${kind}`,
  topic: "greeting",
  content: "hallo, wörld ✓",
});
got.retrieved = await call("memory.retrieve", { context: `sdk-${kind}`, topic: "greeting" });
got.refused = await call("fs.write", { path: "x" });
got.said = await call("chat.say", { text: `hello by ${kind}` });
got.heard = await call("chat.read", {});
const terminal = JSON.parse((await call("term.open", {})).text);
got.exec = await call("term.exec", { id: terminal.id, data: "echo from-$((40+2))" });
got.closed = await call("term.close", { id: terminal.id });
got.resources = (await client.listResources()).resources.map((resource) => resource.uri);
got.templates = (await client.listResourceTemplates()).resourceTemplates.length;
got.topic = (await client.readResource({ uri: `mrb:///ctx/sdk-${kind}/greeting` })).contents[0].text;
got.prompts = (await client.listPrompts()).prompts.map((prompt) => prompt.name);
got.prompt = (
  await client.getPrompt({ name: "resume-session", arguments: { context: "app" } })
).messages[0].content.text;
got.completion = (
  await client.complete({
    ref: { type: "ref/prompt", name: "resume-session" },
    argument: { name: "context", value: "sdk" },
  })
).completion.values;
try {
  await client.readResource({ uri: "mrb:///nothing" });
} catch (problem) {
  got.unknown = { code: problem.code, message: problem.message };
}
if (kind === "http") await transport.terminateSession();
await client.close();
console.log(JSON.stringify(got));
