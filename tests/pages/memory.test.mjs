import assert from "node:assert/strict";
import { mkdir, writeFile } from "node:fs/promises";
import { join } from "node:path";
import { test } from "node:test";
import { becomes, checkAccess, useWorld } from "./harness.mjs";

const world = useWorld();
const hostile = '<script>document.title = "owned"</script><img src=x onerror="document.title = 1"><b>bold</b>';

/// What the tests of this file look at; made by the first of them.
let seeding;
const seeded = () => (seeding ??= seed());
async function seed() {
  await world().line("memory.addmemo me, notes, build, , note|usage, The build needs cmake");
  await world().line("memory.addmemo me, notes, build, , , Builders like queues");
  await world().line(`memory.addmemo me, notes, hostile, , warning, ${hostile}`);
  await world().line("memory.addmemo me, more, plan, , todo, A plan for the winter");
}

const memos = (page) => page.getByRole("region", { name: /^Memos of/ });
const topics = (page, context) => page.getByRole("listbox", { name: `Topics of ${context}` });

test("what was written leads to its memos, and stays text", async () => {
  await seeded();
  const page = await world().page("/ui/#/memory");
  await page.getByRole("listbox", { name: "Memos, the last written first" }).getByText("hostile").click();
  await memos(page).getByText(hostile).waitFor();
  assert.equal(await memos(page).locator("b, img, script").count(), 0);
  assert.match(await page.title(), /^Memory/);
  await memos(page).getByText("warning").waitFor();
  await checkAccess(page);
});

test("a search answers while one types and says why", async () => {
  await seeded();
  const page = await world().page("/ui/#/memory");
  await page.getByRole("listbox").first().waitFor();
  await page.locator("body").press("/");
  await page.keyboard.type("needs buil");
  const hits = page.getByRole("listbox", { name: "Memos found" });
  await hits.getByText("buil → build").first().waitFor();
  await becomes(() => hits.getByRole("option").first().locator("mark").allTextContents(), ["build", "needs"]);
  await page.getByRole("checkbox", { name: "Search more" }).check();
  await page.getByText("No memo fits").waitFor();
  await page.reload();
  await page.getByText("No memo fits").waitFor();
  await page.getByRole("checkbox", { name: "Search more" }).uncheck();
  await hits.getByRole("option").first().click();
  await memos(page).getByText("The build needs cmake").waitFor();
});

test("memos are added, changed, deleted and taken back, and other pages see it", async () => {
  await seeded();
  const page = await world().page("/ui/#/memory/notes?at=notes&topic=draft");
  const other = await world().page("/ui/#/memory/notes?at=notes&topic=draft", { beside: page });
  await page.locator("body").press("n");
  const editor = page.getByRole("dialog", { name: "New memo" });
  await editor.getByRole("textbox", { name: "Topic" }).fill("draft");
  await editor.getByRole("textbox", { name: "Text" }).fill("first, with a comma\nand a line");
  await editor.getByRole("button", { name: "todo" }).click();
  await page.keyboard.press("Control+Enter");
  await memos(other).getByText("and a line").waitFor();
  await topics(other, "notes").getByText("draft").waitFor();

  await other.getByRole("button", { name: "Edit memo 1" }).click();
  await other.getByRole("dialog").getByRole("textbox", { name: "Text" }).fill("second");
  await other.getByRole("dialog").getByRole("button", { name: "Save" }).click();
  await memos(page).getByText("second").waitFor();
  await other.getByRole("button", { name: "Undo" }).click();
  await memos(page).getByText("and a line").waitFor();

  await page.getByRole("button", { name: "Delete memo 1" }).click();
  await other.getByText("No memos in this topic").waitFor();
  await page.locator("body").press("u");
  await memos(other).getByText("and a line").waitFor();
});

test("a context is downloaded whole", async () => {
  await seeded();
  const page = await world().page("/ui/#/memory/notes");
  const [download] = await Promise.all([
    page.waitForEvent("download"),
    page.getByRole("link", { name: "Export" }).click(),
  ]);
  assert.equal(download.suggestedFilename(), "notes.mrb4");
});

/// A store file of many topics with a memo each.
function manyTopics(count) {
  const text = (value) => {
    const bytes = Buffer.from(value);
    const length = Buffer.alloc(4);
    length.writeUInt32LE(bytes.length);
    return Buffer.concat([length, bytes]);
  };
  const one = Buffer.alloc(4);
  one.writeUInt32LE(1);
  const head = Buffer.alloc(12);
  head.writeUInt32LE(1_763_000_000, 4);
  const records = Array.from({ length: count }, (_, i) => [
    head,
    text(`memo ${i}`),
    text(`topic-${String(i).padStart(6, "0")}`),
    one,
    text(`word${i}`),
  ]);
  return Buffer.concat([Buffer.from("MRB4"), ...records.flat()]);
}

test("a hundred thousand topics scroll, are filtered and found", async () => {
  await seeded();
  const folder = join(world().folder, "home", ".contexts", "large");
  await mkdir(folder, { recursive: true });
  await writeFile(join(folder, "data.mrb4"), manyTopics(100_000));
  await seeded();
  const page = await world().page("/ui/#/memory/large");
  const list = topics(page, "large");
  await list.getByText("topic-000000").waitFor();
  for (let part = 1; part <= 20; part += 1) {
    await list.evaluate((box, at) => {
      box.scrollTop = (box.scrollHeight * at) / 21;
    }, part);
  }
  await list.focus();
  await page.keyboard.press("End");
  await list.getByText("topic-099999").waitFor();
  assert.ok((await list.getByRole("option").count()) < 100);
  await page.getByRole("searchbox", { name: "Filter the topics" }).fill("77777");
  await becomes(() => list.getByRole("option").count(), 1);
  await page.getByRole("checkbox", { name: "Search large" }).check();
  await page.getByRole("searchbox", { name: "Search the memory" }).fill("word4242");
  await page.getByRole("listbox", { name: "Memos found" }).getByText("topic-004242").waitFor();
});

for (const [size, scheme] of [
  [[360, 740], "dark"],
  [[3840, 2160], "light"],
]) {
  test(`it can be read at ${size[0]} pixels, ${scheme}`, async () => {
    await seeded();
    const page = await world().page("/ui/#/memory/notes?at=notes&topic=build", { size, scheme });
    await memos(page).getByText("Builders").waitFor();
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
    await checkAccess(page);
  });
}
