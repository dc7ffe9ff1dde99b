// No page of a stranger and no link drives the resident, and its own pages still do.
import assert from "node:assert/strict";
import { existsSync } from "node:fs";
import { createServer } from "node:http";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { setTimeout as sleep } from "node:timers/promises";
import { until, useWorld } from "./harness.mjs";

const world = useWorld();
const marker = () => join(world().folder, "marker");

/// What an attacker would like to do, as a GET; nearly all of it could be a POST, too.
const deeds = () => [
  `/interp?cmd=${encodeURIComponent(`!touch ${marker()}`)}`,
  `/term/open?cmd=${encodeURIComponent(`touch ${marker()}`)}`,
  "/term/host/save?name=evil&cmd=evil",
  "/chat/say?from=evil&text=evil",
  `/vc/add?path=${encodeURIComponent(world().folder)}`,
  "/ui/api/memory/add?context=evil&topic=evil&content=evil",
];
const body = () => `!touch ${marker()}`;
const posts = () => ["/interp", "/console/exec?bot=cli", "/mcp", "/", ...deeds()];

/// Everything that a deed would show in.
const state = () =>
  Promise.all(
    ["/term/list", "/term/host/list", "/chatlog", "/roster", "/vc/dirs", "/ui/api/memory/contexts"].map((path) =>
      world().get(path),
    ),
  );
let untouched; // as it was before the first visit

async function nothingHappened(what) {
  assert.ok(!existsSync(marker()), `${what}: the marker is there`);
  assert.deepEqual(await state(), untouched, what);
}

/// A stranger's server: /page answers the HTML that the test gives it, /to redirects.
const stranger = { html: "" };
before(async () => {
  stranger.server = createServer((request, response) => {
    const url = new URL(request.url, "http://x");
    if (url.pathname === "/to") {
      response.writeHead(Number(url.searchParams.get("status")), { Location: url.searchParams.get("url") }).end();
    } else {
      response.writeHead(200, { "Content-Type": url.pathname === "/worker.js" ? "text/javascript" : "text/html" });
      response.end(
        url.pathname === "/worker.js" ? 'onmessage = ({ data }) => fetch(data, { mode: "no-cors" })' : stranger.html,
      );
    }
  });
  await new Promise((done) => stranger.server.listen(0, "127.0.0.1", done));
  stranger.address = `http://evil.example:${stranger.server.address().port}`;
});
after(() => stranger.server.close());

/// Opens a fresh browser profile, and gathers the statuses of what the resident answered in it: what
/// the page is not shown is read from the wire.
async function visit(run) {
  untouched ??= await state();
  const context = await world().browser.newContext();
  const statuses = [];
  const own = (url) => url && new URL(url).port === String(world().port);
  context.on("response", (response) => own(response.url()) && statuses.push(response.status()));
  // By its type the answer is not what was asked for, so the page gets nothing of it.
  context.on(
    "requestfailed",
    (request) => own(request.url()) && /BLOCKED_BY_ORB/.test(request.failure().errorText) && statuses.push("withheld"),
  );
  const page = await context.newPage();
  page.setDefaultTimeout(5000);
  const wire = await context.newCDPSession(page);
  const requests = new Map(); // either half of a request may be told first
  const tell = (id, half) => {
    const { url, status } = Object.assign(requests.get(id) ?? requests.set(id, {}).get(id), half);
    const redirects = status >= 300 && status < 400; // of the stranger's: the resident has none
    if (own(url) && status && !redirects) statuses.push(status);
  };
  wire.on("Network.requestWillBeSent", ({ requestId, request }) => tell(requestId, { url: request.url }));
  wire.on("Network.responseReceivedExtraInfo", ({ requestId, statusCode }) => tell(requestId, { status: statusCode }));
  await wire.send("Network.enable");
  try {
    await run(page, statuses);
  } finally {
    await context.close();
  }
}

/// The stranger's page, also when the attack before is still on its way somewhere.
const open = (page) =>
  until(() => page.goto(`${stranger.address}/page`, { waitUntil: "commit" }).catch(() => false), "a page");
const html = (text) => async (page, url) => {
  stranger.html = text(url);
  await open(page);
};
const script = (code) => async (page, url) => {
  stranger.html = "<!doctype html>";
  await open(page);
  await page.evaluate(code, url).catch(() => undefined); // what the script itself sees of it does not matter
};
const quoted = (url) => url.replaceAll("&", "&amp;").replaceAll('"', "&quot;");
const form = (method, type = "application/x-www-form-urlencoded") =>
  html(
    (url) => `<form action="${quoted(url)}" method="${method}" enctype="${type}">
  ${[...new URL(url).searchParams].map(([name, value]) => `<input name="${name}" value="${quoted(value)}">`).join("")}
  <input name="text" value="evil"></form><script>document.forms[0].submit()</script>`,
  );
const goto = (page, url) => page.goto(url).catch(() => undefined);

/// `method`: which deeds it tries. `silent`: the browser may not even ask, or not tell the test that it did.
const attacks = [
  ...[301, 302, 303, 307, 308].map((status) => ({
    name: `an address that redirects, ${status}`,
    run: (page, url) => goto(page, `${stranger.address}/to?status=${status}&url=${encodeURIComponent(url)}`),
  })),
  { name: "a typed address", run: goto },
  {
    name: "a link",
    run: async (page, url) => {
      await html((target) => `<a href="${quoted(target)}">free</a>`)(page, url);
      await page.getByRole("link").click();
    },
  },
  { name: "a form that gets", run: form("get") },
  { name: "a form that posts", method: "post", run: form("post") },
  { name: "a form that posts parts", method: "post", run: form("post", "multipart/form-data") },
  { name: "a form that posts text", method: "post", run: form("post", "text/plain") },
  {
    name: "window.open",
    run: script((url) => {
      window.open(url);
    }),
  },
  { name: "meta refresh", run: html((url) => `<meta http-equiv="refresh" content="0;url=${quoted(url)}">`) },
  { name: "a frame", run: html((url) => `<iframe src="${quoted(url)}"></iframe>`) },
  {
    name: "a sandboxed frame",
    silent: true,
    run: html(
      (url) =>
        `<iframe sandbox="allow-scripts" srcdoc='<script>location = ${JSON.stringify(url).replaceAll("'", "&#39;")}</script>'></iframe>`,
    ),
  },
  { name: "an object", run: html((url) => `<object data="${quoted(url)}"></object>`) },
  { name: "an embed", run: html((url) => `<embed src="${quoted(url)}">`) },
  { name: "a picture", run: html((url) => `<img src="${quoted(url)}">`) },
  { name: "a script", run: html((url) => `<script src="${quoted(url)}"></script>`) },
  { name: "a style sheet", run: html((url) => `<link rel="stylesheet" href="${quoted(url)}">`) },
  { name: "a prefetch", silent: true, run: html((url) => `<link rel="prefetch" href="${quoted(url)}">`) },
  { name: "fetch without CORS", run: script((url) => fetch(url, { mode: "no-cors" })) },
  { name: "fetch", run: script((url) => fetch(url)) },
  {
    name: "a posting fetch without CORS",
    method: "post",
    run: (page, url) =>
      script(([target, text]) => fetch(target, { method: "POST", mode: "no-cors", body: text }))(page, [url, body()]),
  },
  {
    name: "a posting fetch with headers",
    method: "post",
    silent: true,
    run: (page, url) =>
      script(([target, text]) => fetch(target, { method: "POST", body: text, headers: { "X-Mrb-Cwd": "/" } }))(page, [
        url,
        body(),
      ]),
  },
  {
    name: "a beacon",
    method: "post",
    run: (page, url) =>
      script(([target, text]) => {
        navigator.sendBeacon(target, text);
      })(page, [url, body()]),
  },
  {
    name: "an event source",
    run: script(
      (url) =>
        new Promise((done) => {
          new EventSource(url).onerror = done;
        }),
    ),
  },
  {
    name: "a worker",
    run: script(
      (url) =>
        new Promise((done) => {
          new Worker("/worker.js").postMessage(url);
          setTimeout(done, 200);
        }),
    ),
  },
];

const all = new Set(["a typed address", "a posting fetch without CORS"]); // the rest tries two deeds
for (const { name, method = "get", silent = false, run } of attacks) {
  test(`${name} of a stranger does nothing`, async () => {
    const tried = method === "get" ? deeds() : posts();
    await visit(async (page, statuses) => {
      for (const deed of all.has(name) ? tried : tried.slice(0, 2)) {
        statuses.length = 0;
        await run(page, world().address + deed);
        if (silent) await sleep(100);
        else await until(() => statuses.length > 0, `${deed} to reach the resident`);
        // What is only posted is no route for a GET, or that of another answer.
        for (const status of statuses) assert.ok([403, 404, 405, "withheld"].includes(status), `${deed}: ${status}`);
      }
    });
    await nothingHappened(name);
  });
}

test("no other name of this machine helps a stranger", async () => {
  await visit(async (page, statuses) => {
    for (const host of [
      "localhost",
      "127.0.0.2",
      "0.0.0.0",
      "[::1]",
      "2130706433",
      "evil.example",
      "127.0.0.1.example",
    ]) {
      const url = `http://${host}:${world().port}${deeds()[0]}`;
      await goto(await page.context().newPage(), url);
      await script((target) => fetch(target, { mode: "no-cors" }))(await page.context().newPage(), url);
    }
    assert.ok(statuses.length > 7, String(statuses)); // the browser itself refuses some
    for (const status of statuses) assert.ok([403, "withheld"].includes(status), String(status));
  });
  await nothingHappened("another name");
});

test("a name that is bound again to this machine gets the pages and nothing behind them", async () => {
  await visit(async (page) => {
    await page.goto(`http://evil.example:${world().port}/ui/`);
    const seen = await page.evaluate(
      (all) => Promise.all(all.map(async ([url, method, text]) => (await fetch(url, { method, body: text })).status)),
      [
        ...deeds().map((url) => [url, "GET"]),
        ...posts().map((url) => [url, "POST", body()]),
        ["/ui/api/status", "GET"],
      ],
    );
    assert.ok(seen.includes(403));
    for (const status of seen) assert.ok([403, 404, 405].includes(status), String(status));
  });
  await nothingHappened("a name that is bound again");
});

test("a WebSocket of a stranger is not let in", async () => {
  await visit(async (page) => {
    stranger.html = "<!doctype html>";
    await page.goto(`${stranger.address}/page`);
    const ended = await page.evaluate(
      (url) =>
        new Promise((done) => {
          const socket = new WebSocket(url);
          socket.onopen = () => {
            socket.send("join\nevil\ngeneral");
            socket.send("msg\nevil");
            setTimeout(() => done("open"), 300);
          };
          socket.onerror = () => done("refused");
        }),
      `ws://127.0.0.1:${world().port}/chat`,
    );
    assert.equal(ended, "refused");
  });
  await nothingHappened("a WebSocket");
});

test("a link or form in one of the own pages changes nothing either", async () => {
  const navigations = [
    (url) => {
      location.href = url;
    },
    (url) => {
      window.open(url);
    },
    (url) => {
      document.body.append(Object.assign(document.createElement("a"), { href: url, textContent: "x", id: "x" }));
      document.getElementById("x").click();
    },
    (url) => {
      document.body.append(Object.assign(document.createElement("img"), { src: url }));
    },
  ];
  const submit = ([url, text]) => {
    const form = Object.assign(document.createElement("form"), { method: "post", action: url, enctype: "text/plain" });
    form.append(Object.assign(document.createElement("textarea"), { name: text, value: "x" }));
    document.body.append(form);
    form.submit();
  };
  const tries = [
    ...navigations.flatMap((navigate) =>
      deeds()
        .slice(0, 2)
        .map((deed) => [navigate, deed]),
    ),
    ...posts().map((deed) => [submit, [deed, body()]]),
  ];
  await visit(async (page, statuses) => {
    for (const [navigate, deed] of tries) {
      // A page without the policy of the workstation, which would keep most of this from being asked.
      const fresh = await page.context().newPage();
      await fresh.goto(`${world().address}/mcp`);
      statuses.length = 0;
      await fresh.evaluate(navigate, deed).catch(() => undefined);
      await until(() => statuses.length > 0, `${deed} to reach the resident`);
      for (const status of statuses) assert.equal(status, 403, `${navigate} ${deed}`);
    }
  });
  await nothingHappened("a page of its own");
});

test("the workstation opens however one comes to it, and works", async () => {
  await world().line("memory.add tester, bookmarks, birds, , a heron stood in the reeds");
  const deep = "/ui/#/memory";
  for (const address of [world().address, `http://localhost:${world().port}`]) {
    const context = await world().browser.newContext({ acceptDownloads: true });
    const page = await context.newPage();
    page.setDefaultTimeout(15_000);
    const memory = () => page.getByText("bookmarks").first().waitFor();
    await page.goto(address + deep); // typed, or from a bookmark
    await memory();
    await page.reload();
    await memory();
    await page.goto(`${address}/ui/#/files`);
    await page.goBack();
    await memory();
    await page.goForward();
    await page.getByRole("heading", { level: 1, name: "Files" }).waitFor();
    await page.goto(`${stranger.address}/page`);
    await page.goBack();
    await page.getByRole("heading", { level: 1, name: "Files" }).waitFor();
    await page.goto(address + deep);
    await page.getByText("bookmarks").first().click();
    const [download] = await Promise.all([
      page.waitForEvent("download"),
      page.getByRole("link", { name: "Export" }).click(),
    ]);
    assert.equal(await download.failure(), null);
    await context.close();
  }
});
