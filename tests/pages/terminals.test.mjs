import assert from "node:assert/strict";
import { test } from "node:test";
import { becomes, checkAccess, screenText, shows, until, useWorld } from "./harness.mjs";

const world = useWorld();
const sessions = async () => (await world().get("/term/list")).sessions;
const prompt = /[$#]$/m;
const pane = (page, name) => page.getByRole("region", { name: `Terminal ${name}` });

async function openByDialog(page, command, name = "") {
  await page.getByRole("button", { name: "Open", exact: true }).click();
  await page.getByLabel("Command").fill(command);
  await page.getByLabel("Name").fill(name);
  await page.keyboard.press("Enter");
  await page.getByRole("dialog").waitFor({ state: "detached" });
}

test("a terminal is opened, typed into, named, and its end is shown", async () => {
  const page = await world().page("/ui/#/terminals");
  await page.getByText("No terminal is open").waitFor();
  await openByDialog(page, "bash --norc");
  await shows(page, prompt);
  await page.keyboard.type("echo $((6*7)) grüße\n");
  await shows(page, /42 grüße/);
  await page.keyboard.type("cat -v\n");
  await page.keyboard.press("ArrowUp");
  await page.keyboard.press("Enter");
  await shows(page, /\^\[\[A|\^\[OA/);
  await page.keyboard.press("Control+c");

  await page.getByRole("button", { name: /^More about/ }).click();
  await page.getByRole("menuitem", { name: "Name…" }).click();
  await page.getByRole("textbox", { name: "Name" }).fill("build");
  await page.keyboard.press("Enter");
  await pane(page, "build").waitFor();
  assert.equal((await sessions())[0].name, "build");
  await checkAccess(page);

  await page.locator(".xterm-screen").click();
  await page.keyboard.type("exit 3\n");
  await page.getByText("exit 3", { exact: true }).waitFor();
  await shows(page, /session ended, exit 3/);
  await page.getByRole("button", { name: "Open again" }).click();
  await shows(page, prompt);
});

test("the size follows the window, and coming back shows what was there", async () => {
  const page = await world().page("/ui/#/terminals");
  await openByDialog(page, "bash --norc");
  await shows(page, prompt);
  const size = async () => {
    await page.keyboard.type("clear; stty size\n");
    const [, rows, columns] = await shows(page, /^(\d+) (\d+)$/m);
    return [Number(rows), Number(columns)];
  };
  const [rows, columns] = await size();
  await page.setViewportSize({ width: 900, height: 500 });
  const [id] = (await sessions()).map((session) => session.id);
  await until(async () => {
    const [lessRows, lessColumns] = await size();
    return lessRows < rows && lessColumns < columns;
  }, "the smaller size");
  await page.reload();
  await shows(page, /^\d+ \d+$/m);
  assert.match(page.url(), new RegExp(id));
});

test("two pages see the same sessions, side by side, and hidden ones are not read", async () => {
  const first = await world().page("/ui/#/terminals");
  const second = await world().page("/ui/#/terminals", { beside: first });
  await openByDialog(first, "bash --norc", "one");
  await openByDialog(first, "cat", "two");
  for (const page of [first, second]) {
    await pane(page, "one").waitFor();
    await pane(page, "two").waitFor();
  }
  await first.locator(".xterm-screen").nth(1).click();
  await first.keyboard.type("seen by both\n");
  await shows(second, /seen by both\nseen by both/, 1);

  await second.getByRole("link", { name: "Files" }).click();
  await second.getByRole("heading", { level: 1, name: "Files" }).waitFor();
  let reads = 0;
  second.on("request", (request) => {
    if (request.url().includes("/term/read")) reads += 1;
  });
  await first.keyboard.type("unseen\n");
  await shows(first, /unseen\nunseen/, 1);
  assert.equal(reads, 0);

  await first.bringToFront();
  await first.getByRole("button", { name: /More about two/ }).click();
  await first.getByRole("menuitem", { name: "End…" }).click();
  await first.getByRole("button", { name: "End it" }).click();
  await pane(first, "two").waitFor({ state: "detached" });
  await becomes(async () => (await sessions()).map(({ name }) => name), ["one"]);
});

test("hosts are saved, opened and removed", async () => {
  const page = await world().page("/ui/#/terminals");
  await page.getByText("No terminal is open").waitFor();
  await page.keyboard.press("n");
  await page.getByLabel("Command").fill("echo from the host book");
  await page.getByLabel("Name").fill("greeter");
  await page.getByRole("button", { name: "Save as host" }).click();
  await page.getByRole("button", { name: "greeter echo from the host book" }).click();
  await shows(page, /from the host book/);
  await page.getByText("exit 0", { exact: true }).waitFor();
  await page.getByRole("button", { name: "Open", exact: true }).click();
  await page.getByRole("button", { name: "Remove the host greeter" }).click();
  await page.getByRole("button", { name: "Remove", exact: true }).click();
  await becomes(async () => (await world().get("/term/host/list")).hosts, []);
});

test("keys reach the page from within a terminal only where they must", async () => {
  const page = await world().page("/ui/#/terminals");
  await openByDialog(page, "cat -v", "left");
  await openByDialog(page, "cat -v", "right");
  await pane(page, "right").locator(":focus").waitFor({ state: "attached" });
  await page.keyboard.type("gm?n/\n");
  await shows(page, /gm\?n\//, 1);
  await page.keyboard.press("Control+Shift+ArrowLeft");
  await page.keyboard.type("over here\n");
  await shows(page, /over here/, 0);
  await page.keyboard.press("Control+Shift+ArrowUp");
  await becomes(() => page.evaluate(() => document.activeElement.className), "strip-item");
});

test("a flood of output leaves the page usable, and its end is shown", async () => {
  const page = await world().page("/ui/#/terminals");
  await openByDialog(page, "bash --norc");
  await shows(page, prompt);
  await page.keyboard.type("head -c 30000000 /dev/zero | tr '\\0' x | fold -w 99; echo over\n");
  await page.getByText(/not shown$/).waitFor();
  await page.getByRole("link", { name: "Memory" }).click();
  await page.getByRole("heading", { level: 1, name: "Memory" }).waitFor();
  await page.goBack();
  await shows(page, /over$/m);
});

test("what a program prints is never more than text", async () => {
  const { id } = await world().post(
    "/term/open",
    "printf '<img src=x onerror=alert(1)>\\033]0;<b>title</b>\\007\\033[c\\033[6n'; cat -v",
  );
  await until(async () => (await world().get(`/term/read?id=${id}&since=0`)).data.includes("[6n"), "what it prints");
  const page = await world().page("/ui/#/terminals");
  await shows(page, /<img src=x/);
  await page.getByText("<b>title</b>", { exact: true }).waitFor();
  assert.equal(await page.locator(".xterm img").count(), 0);
  // The emulator's own answers to what was asked before this page came are not typed into the program.
  assert.doesNotMatch(await screenText(page), /\^\[\[/);
});

test("the lone terminal takes keys at once, and a reload finds it again", async () => {
  const page = await world().page("/ui/term.html");
  await page.keyboard.type("echo a$((1+1))b\n");
  await shows(page, /a2b/);
  await checkAccess(page);
  await page.reload();
  await shows(page, /a2b/);
  assert.equal((await sessions()).length, 1);
  await page.keyboard.type("exit 4\n");
  await page.getByText("exit 4.").waitFor();
  await page.getByRole("button", { name: "Open another" }).click();
  await shows(page, /[$#]$/m);
});
