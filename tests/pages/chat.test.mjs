import assert from "node:assert/strict";
import { test } from "node:test";
import { checkAccess, until, useWorld } from "./harness.mjs";

const world = useWorld();

async function pageAs(callsign, place = "") {
  const page = await world().page(`/ui/#/chat/${place}`);
  await page.getByRole("button", { name: /^You are/ }).click();
  await page.getByLabel("Callsign").fill(callsign);
  await page.keyboard.press("Enter");
  await page.getByRole("button", { name: `You are ${callsign}` }).waitFor();
  await until(async () => (await world().get("/roster")).roster.some((one) => one.callsign === callsign), callsign);
  return page;
}
const say = (page, text) =>
  page
    .getByRole("textbox", { name: /^Message to/ })
    .fill(text)
    .then(() => page.keyboard.press("Enter"));
const log = (page) => page.getByRole("log");

test("two people on a channel see each other and what they say, as text", async () => {
  const ann = await pageAs("ann");
  const bob = await pageAs("bob");
  await ann.getByText("bob came").waitFor();
  await ann.getByRole("link", { name: /^bob/ }).waitFor();
  const nasty = '<img src=x onerror="document.title=1"><script>alert(1)</script>\n  two lines & more';
  await say(ann, nasty);
  await log(bob).getByText("two lines & more").waitFor();
  assert.equal(await log(bob).locator("img, script").count(), 0);
  assert.equal(await log(bob).locator(".said").last().textContent(), nasty);
  await world().post("/chat/say?from=agent", "from a program");
  await log(ann).getByText("from a program").waitFor();
  await checkAccess(ann);
  await bob.reload();
  await log(bob).getByText("from a program").waitFor();
});

test("direct messages reach the one they are for", async () => {
  const ann = await pageAs("ann");
  const bob = await pageAs("bob", "elsewhere");
  await ann.getByRole("link", { name: /^bob/ }).click();
  await say(ann, "only for you");
  await bob.getByRole("link", { name: /^ann/ }).getByText("new").waitFor();
  await bob.getByRole("link", { name: /^ann/ }).click();
  await log(bob).getByText("only for you").waitFor();
  await say(bob, "thanks");
  await log(ann).getByText("thanks").waitFor();
  await bob.getByRole("link", { name: /general/ }).click();
  await bob.getByRole("region", { name: "Channel general" }).waitFor();
  assert.equal(await log(bob).getByText("only for you").count(), 0);
});

test("a long log is shown from its end, and older ones on request", async () => {
  for (let i = 0; i < 600; i += 1) await world().post("/chat/say?channel=long&from=agent", `line ${i}`);
  const page = await pageAs("ann", "long");
  await log(page).getByText("line 599").waitFor();
  assert.ok(await log(page).getByText("line 599").isVisible());
  await page.getByRole("button", { name: "Show older ones" }).click();
  await log(page).getByText("line 0", { exact: true }).waitFor({ state: "attached" });
});
