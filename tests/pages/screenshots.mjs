// Pictures of every view, light and dark, into docs/images.
//   node tests/pages/screenshots.mjs
import { mkdir } from "node:fs/promises";
import { fileURLToPath } from "node:url";
import { fill } from "./demo.mjs";
import { World } from "./harness.mjs";

const folder = fileURLToPath(new URL("../../docs/images", import.meta.url));
const size = [1280, 760];

/// What is done to a view before its picture is taken; the address is enough for the others.
const views = {
  files: async (page) => {
    await page.getByRole("listbox", { name: "Saves, the newest first" }).getByText("parser.cpp").first().click();
    await page.getByRole("button", { name: "Inline" }).click();
    await page.getByText("kMostBytes").first().waitFor();
  },
  memory: async (page) => {
    await page.getByRole("searchbox", { name: /memory/i }).fill("length record");
    await page.getByText("#2").first().click();
    await page.getByText("before anything is reserved").nth(1).waitFor();
  },
  terminals: async (page) => {
    await page
      .getByRole("region", { name: "Terminal tests" })
      .locator(".xterm-rows")
      .getByText("1204 passed")
      .waitFor();
  },
  chat: async (page) => {
    await page.getByRole("log").getByText("nothing lost").waitFor();
  },
};

const world = await World.open();
try {
  await fill(world);
  await mkdir(folder, { recursive: true });
  for (const scheme of ["light", "dark"]) {
    for (const [view, prepare] of Object.entries(views)) {
      const page = await world.page(`/ui/#/${view}`, { size, scheme });
      await page.getByText("Live", { exact: true }).waitFor();
      await prepare(page);
      await page.evaluate(() => document.fonts.ready);
      await page.screenshot({ path: `${folder}/${view}-${scheme}.png` });
    }
  }
} finally {
  await world.close();
}
