import assert from "node:assert/strict";
import { test } from "node:test";
import { becomes, checkAccess, until, useWorld } from "./harness.mjs";

const world = useWorld();
const views = ["Files", "Memory", "Terminals", "Chat"];
const heading = (page, name) => page.getByRole("heading", { level: 1, name }).waitFor();

test("every view has an address, a link, a key and a command", async () => {
  const page = await world().page("/ui/");
  await heading(page, "Files");
  for (const view of views) {
    await page.getByRole("link", { name: view }).click();
    await heading(page, view);
    await becomes(() => new URL(page.url()).hash, `#/${view.toLowerCase()}`);
  }
  await page.keyboard.press("Escape");
  await page.keyboard.press("g");
  await page.keyboard.press("m");
  await heading(page, "Memory");
  await page.goBack();
  await heading(page, "Chat");
  await page.locator("body").press("Control+k");
  await page.keyboard.type("to files");
  await page.keyboard.press("Enter");
  await heading(page, "Files");
  await page.keyboard.press("?");
  await page.getByRole("dialog", { name: "Keys" }).getByText("Go to Chat").waitFor();
  await page.keyboard.press("Escape");
  await page.goto(`${world().address}/ui#/chat`);
  await heading(page, "Chat");
});

test("the theme follows the system until one is chosen, which is kept", async () => {
  const page = await world().page("/ui/", { scheme: "dark" });
  const background = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
  await heading(page, "Files");
  const dark = await background();
  await page.getByRole("button", { name: /^Theme/ }).click();
  await until(async () => (await background()) !== dark, "the other theme");
  const light = await background();
  await page.reload();
  await heading(page, "Files");
  await becomes(background, light);
});

test("the status corner says what the resident is", async () => {
  const page = await world().page("/ui/");
  await page.getByRole("contentinfo").getByText("2.0.0").click();
  await page.getByRole("dialog", { name: "The resident" }).getByText("Running for").waitFor();
  await page.getByRole("status").getByText("Live").waitFor();
});

test("pages share one stream of events, and hand it on", async () => {
  const live = (page) => page.getByText("Live", { exact: true }).waitFor();
  const first = await world().page("/ui/#/terminals");
  await live(first);
  const second = await world().page("/ui/#/terminals", { beside: first });
  const asked = [];
  second.on("request", (request) => asked.push(request.url()));
  await live(second);
  assert.ok(!asked.some((url) => url.includes("/ui/api/events")));
  await first.close();
  await until(() => asked.some((url) => /events\?after=[1-9]/.test(url)), "the second to ask");
  await world().post("/term/open?cmd=cat");
  await second.getByRole("region", { name: "Terminal cat" }).waitFor();
});

test("a resident that went away and came back is noticed, and shown again", async () => {
  const page = await world().page("/ui/#/terminals");
  await page.getByText("Live", { exact: true }).waitFor();
  await world().stopResident();
  await page.getByText("does not answer").first().waitFor();
  await world().startResident();
  await page.getByText("Live", { exact: true }).waitFor();
  await world().post("/term/open?cmd=cat");
  await page.getByRole("region", { name: "Terminal cat" }).waitFor();
  page.problems = page.problems.filter(
    (problem) =>
      !problem.includes("ERR_CONNECTION_REFUSED") &&
      !problem.includes("ERR_EMPTY_RESPONSE") &&
      !problem.includes("ERR_CONNECTION_RESET"),
  );
});

for (const scheme of ["light", "dark"]) {
  test(`every view is accessible and fits, ${scheme}`, async () => {
    for (const size of [
      [360, 740],
      [1280, 800],
      [3840, 2160],
    ]) {
      const page = await world().page("/ui/", { size, scheme });
      for (const view of views) {
        await page.goto(`${world().address}/ui/#/${view.toLowerCase()}`);
        await heading(page, view);
        await until(async () => !(await page.getByText("Loading").count()), "the view");
        await checkAccess(page);
        const wide = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
        assert.ok(wide <= 0, `${view} is ${wide}px too wide at ${size}`);
      }
      const letters = await page.evaluate(() => parseFloat(getComputedStyle(document.body).fontSize));
      assert.ok(letters >= (size[0] > 3000 ? 18 : 14), `${letters}px at ${size}`);
    }
  });
}

test("only what is there is served, and nothing inline runs", async () => {
  const { address } = world();
  assert.equal(await (await fetch(`${address}/ui/nothing.js`)).text(), "no such ui file");
  const page = await fetch(`${address}/ui/`);
  const policy = page.headers.get("content-security-policy");
  assert.match(policy, /default-src 'self'/);
  assert.doesNotMatch(policy, /unsafe-eval|script-src/);
  assert.doesNotMatch(await page.text(), /<script(?![^>]* src=)/);
});
