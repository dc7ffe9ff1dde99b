import assert from "node:assert/strict";
import { mkdir, writeFile } from "node:fs/promises";
import { join } from "node:path";
import { test } from "node:test";
import { becomes, checkAccess, until, useWorld } from "./harness.mjs";

const world = useWorld();
let root;
let store;

const save = (path, text, bot = "ann") =>
  world().post(`/console/exec?bot=${bot}`, `fsmk:file <path>${join(root, path)}</path><content>${text}</content>`);
const show = (path, more = "") => `/ui/#/files/timeline?file=${store}&path=${encodeURIComponent(path)}${more}`;
const versionsOf = (page) => page.getByRole("listbox", { name: /^Versions of/ });
const at = (size, options) => ({ size, ...options });

/// What the tests of this file look at; made by the first of them.
let seeding;
const seeded = () => (seeding ??= seed());
async function seed() {
  root = join(world().folder, "tree");
  await mkdir(join(root, "src"), { recursive: true });
  await writeFile(join(root, "src/scene.txt"), "one\nthe old words stay\nthree\n");
  await world().line(`fsvctl:enroll ${root}`);
  await save("src/scene.txt", "one\nthe new words stay\nthree\nfour\n");
  await save("src/scene.txt", "one\nthe new words stay\nthree\n", "bob");
  store = (await world().get("/ui/api/files/stores")).stores[0].id;
}

test("a save appears while one looks, and leads to what it changed", async () => {
  await seeded();
  const page = await world().page("/ui/#/files");
  const saves = page.getByRole("listbox", { name: "Saves, the newest first" });
  await saves.getByText("scene.txt").first().waitFor();
  await save("src/fresh.txt", "hello\n");
  await saves.getByText("fresh.txt").click();
  await page.getByRole("heading", { name: "fresh.txt" }).waitFor();
  await page.getByText("hello").waitFor();
  await saves.getByText("v2", { exact: true }).click();
  await becomes(() => page.locator(".diff .word").allTextContents(), ["old", "new"]);
  await page.getByRole("combobox", { name: "Author" }).selectOption("bob");
  await becomes(() => saves.getByRole("option").count(), 1);
  await checkAccess(page);
});

test("any two versions are compared, side by side or inline, by keyboard", async () => {
  await seeded();
  const page = await world().page(show("src/scene.txt"), at([1440, 900]));
  await versionsOf(page).getByText("v1", { exact: true }).click();
  await page.locator("body").press("p");
  await versionsOf(page).focus();
  await page.keyboard.press("Home");
  await page.getByText("v1 → v3").waitFor();
  await page.locator(".diff.sides").waitFor();
  await page.keyboard.press("d");
  await page.locator(".diff.inline").waitFor();
  await becomes(() => page.locator(".diff .sign:not([aria-hidden=true])").allTextContents(), ["-", "+"]);
  await page.reload();
  await page.getByText("v1 → v3").waitFor();
  await page.locator(".diff.inline").waitFor();
});

test("a version is reverted to and a deleted file comes back, once confirmed", async () => {
  await seeded();
  await save("src/undo.txt", "first\n");
  await save("src/undo.txt", "second\n");
  await seeded();
  const page = await world().page(show("src/undo.txt", "&b=1"));
  const other = await world().page(show("src/undo.txt"), { beside: page });
  await page.getByRole("button", { name: "Revert to v1…" }).click();
  await page.getByRole("button", { name: "Cancel" }).click();
  await page.getByRole("button", { name: "Revert to v1…" }).click();
  await page.getByRole("dialog").getByRole("button", { name: "Revert to v1" }).click();
  await versionsOf(other).getByText("v3", { exact: true }).waitFor();
  await world().line(`fs:rm ${join(root, "src/undo.txt")}`);
  await other.getByRole("button", { name: "Restore…" }).click();
  await other.getByRole("dialog").getByRole("button", { name: "Restore" }).click();
  await versionsOf(page).getByText("v5", { exact: true }).waitFor();
});

test("files are found by name, by a query and by their lines", async () => {
  await seeded();
  const page = await world().page("/ui/#/files/search");
  const found = (name) => page.getByRole("list", { name });
  await page.getByRole("searchbox").fill("scene");
  await found("Files found").getByText("src/scene.txt").waitFor();
  await page.getByRole("button", { name: "Query" }).click();
  await page.getByRole("searchbox").fill('body("four');
  await page.getByText("Not yet an expression").waitFor();
  await page.getByRole("searchbox").fill('body("new words")');
  await found("Files found").getByText("src/scene.txt").waitFor();
  await page.getByRole("button", { name: "Lines" }).click();
  await page.getByRole("searchbox").fill("new w\\w+");
  await becomes(() => found("Lines found").locator("mark").first().textContent(), "new words");
  await found("Lines found").getByText("new words").click();
  await page.getByRole("heading", { name: "scene.txt" }).waitFor();
  await page.reload();
  await found("Lines found").locator("mark").first().waitFor();
});

test("ten thousand saves scroll, and only those in sight exist", async () => {
  await seeded();
  const many = join(world().folder, "many");
  await mkdir(many);
  await Promise.all(Array.from({ length: 10_000 }, (_, i) => writeFile(join(many, `f${i}.txt`), `${i}\n`)));
  await world().line(`fsvctl:enroll ${many}`);
  await seeded();
  const page = await world().page("/ui/#/files/timeline");
  const saves = page.getByRole("listbox", { name: "Saves, the newest first" });
  await saves.getByRole("option").first().waitFor();
  await saves.focus();
  await until(async () => {
    await page.keyboard.press("End");
    return Number(await saves.getByRole("option").last().getAttribute("aria-setsize")) > 10_000;
  }, "the last of them");
  for (let part = 0; part <= 20; part += 1) {
    await saves.evaluate((list, at) => {
      list.scrollTop = (list.scrollHeight * at) / 20;
    }, part);
    assert.ok((await saves.getByRole("option").count()) < 100);
  }
});

for (const [size, scheme] of [
  [[360, 740], "light"],
  [[3840, 2160], "dark"],
]) {
  test(`it can be read at ${size[0]} pixels, ${scheme}`, async () => {
    await seeded();
    const page = await world().page(show("src/scene.txt", "&b=2"), { size, scheme });
    await page.locator(".diff").getByText("four").waitFor();
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
    await checkAccess(page);
  });
}
