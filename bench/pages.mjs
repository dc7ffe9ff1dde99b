// What the pages feel like, in headless Chromium against a resident of its own.
//   node bench/pages.mjs [path of mb]        after `npm ci` in tests/pages
import { screenText, until, World } from "../tests/pages/harness.mjs";

const loads = 15;
const keys = 100;
const flood = 100_000_000;

const median = (values) => [...values].sort((a, b) => a - b)[values.length >> 1];
const rounded = (value) => Math.round(value * 10) / 10;

/// In the page: when what `selector` finds was first there and the page's main thread was free.
function noteWhenThere(selector) {
  const look = () => {
    if (!document.querySelector(selector)) return;
    observer.disconnect();
    setTimeout(() => {
      window.thereAt = performance.now();
    });
  };
  const observer = new MutationObserver(look);
  observer.observe(document, { childList: true, subtree: true, attributes: true });
}

/// Loads the page anew each time, and again in the same profile: nothing is cached either way.
async function loading(world, path, selector) {
  const paint = [];
  const there = [];
  const page = await world.page("/health");
  await page.addInitScript(noteWhenThere, selector);
  for (let i = 0; i < loads; i += 1) {
    await page.goto("about:blank");
    await page.goto(world.address + path);
    await page.waitForFunction(() => window.thereAt);
    there.push(await page.evaluate(() => window.thereAt));
    paint.push(await page.evaluate(() => performance.getEntriesByName("first-contentful-paint")[0]?.startTime ?? NaN));
  }
  return { paint: rounded(median(paint)), ready: rounded(median(there)) };
}

/// From the key to the letter on the screen, as the page sees it.
async function echo(world) {
  const page = await world.page("/ui/term.html");
  await until(async () => /[$#]$/.test(await screenText(page)), "the prompt");
  await page.evaluate(() => {
    window.echoes = [];
    let pressed = 0;
    window.addEventListener(
      "keydown",
      () => {
        pressed = performance.now();
      },
      true,
    );
    new MutationObserver(() => {
      if (pressed) window.echoes.push(performance.now() - pressed);
      pressed = 0;
    }).observe(document.querySelector(".xterm-rows"), { childList: true, subtree: true, characterData: true });
  });
  for (let i = 0; i < keys; i += 1) {
    await page.keyboard.press("x");
    await until(() => page.evaluate((wanted) => window.echoes.length > wanted, i), "the echo");
  }
  return rounded(median(await page.evaluate(() => window.echoes)));
}

/// How long the page's frames take while a session prints as fast as it can.
async function flooded(world) {
  const page = await world.page("/ui/term.html");
  await until(async () => /[$#]$/.test(await screenText(page)), "the prompt");
  await page.keyboard.type(`head -c ${flood} /dev/zero | tr '\\0' x | fold -w 99; echo; echo over\n`);
  await page.evaluate(() => {
    window.frames_ = [];
    let last = performance.now();
    const frame = (now) => {
      window.frames_.push(now - last);
      last = now;
      requestAnimationFrame(frame);
    };
    requestAnimationFrame(frame);
  });
  const begin = performance.now();
  while (!/^over$/m.test(await screenText(page))) await new Promise((done) => setTimeout(done, 100));
  const frames = (await page.evaluate(() => window.frames_)).sort((a, b) => a - b);
  return {
    seconds: rounded((performance.now() - begin) / 1000),
    median: rounded(median(frames)),
    worst: rounded(frames.at(-1)),
  };
}

const world = await World.open(process.argv[2]);
try {
  const shell = await loading(world, "/ui/", "h1");
  const terminal = await loading(world, "/ui/term.html", ".xterm-helper-textarea:focus");
  const { seconds, median: usual, worst } = await flooded(world);
  const rows = [
    ["shell: first paint, ms", shell.paint, 300],
    ["shell: interactive, ms", shell.ready, 500],
    ["terminal page: ready to type, ms", terminal.ready, 200],
    ["terminal: echo of a key, median ms", await echo(world), 30],
    ["100 MB printed: median frame, ms", usual, 50],
    ["100 MB printed: worst frame, ms", worst, 500],
    ["100 MB printed: all shown after, s", seconds, null],
  ];
  for (const [label, figure, aim] of rows) {
    console.log(`${label.padEnd(38)} ${String(figure).padStart(8)}${aim ? `   at most ${aim}` : ""}`);
  }
} finally {
  await world.close();
}
