// A resident of its own and a browser on its pages.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { cp, mkdtemp, rm } from "node:fs/promises";
import { createServer } from "node:net";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { after, afterEach, before } from "node:test";
import { fileURLToPath } from "node:url";
import { inspect, isDeepStrictEqual } from "node:util";
import { chromium } from "playwright-core";

const here = fileURLToPath(new URL(".", import.meta.url));
const builtMb = process.env.MB ?? join(here, "../../build/release/bin/mb");
const browserArguments = [
  "--headless",
  "--no-sandbox",
  "--disable-gpu",
  "--no-first-run",
  "--disable-background-networking",
  "--disable-component-update",
  "--disable-sync",
  "--disable-default-apps",
  "--force-color-profile=srgb",
  "--host-resolver-rules=MAP *.example 127.0.0.1",
];
/// A session may end while a page asks for something of it; the browser itself logs the 404.
const endedMeanwhile = /\/term\/(read|resize|send)\?/;
const axe = readFileSync(join(here, "node_modules/axe-core/axe.min.js"), "utf8");

function freePort() {
  return new Promise((done) => {
    const server = createServer().listen(0, "127.0.0.1", () => {
      const { port } = server.address();
      server.close(() => done(port));
    });
  });
}

/// Tries again until `probe` gives something; for what another process does in its own time.
export async function until(probe, what = "it") {
  const end = Date.now() + 15_000;
  for (;;) {
    const value = await probe();
    if (value) return value;
    assert.ok(Date.now() < end, `waited too long for ${what}`);
    await new Promise((done) => setTimeout(done, 20));
  }
}

/// What `probe` gives becomes `expected`: pages show what they were told in their own time.
export async function becomes(probe, expected) {
  let seen;
  const what = { toString: () => `${inspect(seen)} to become ${inspect(expected)}` };
  await until(async () => isDeepStrictEqual((seen = await probe()), expected), what);
}

export class World {
  pages = [];

  static async open(mb = builtMb) {
    const world = new World();
    world.folder = await mkdtemp(join(tmpdir(), "mb-pages-"));
    world.port = await freePort();
    world.address = `http://127.0.0.1:${world.port}`;
    // What belongs to an installation (the chat's logs) lies beside the executable: each world has its own.
    world.mb = join(world.folder, "bin", "mb");
    await cp(mb, world.mb);
    await cp(join(dirname(mb), "web"), join(world.folder, "bin", "web"), { recursive: true });
    await world.startResident();
    world.browser = await chromium.launch({
      executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
      args: browserArguments,
    });
    return world;
  }

  async startResident() {
    this.resident = spawn(this.mb, ["--port", String(this.port), "--conf", join(this.folder, "home"), "serve"], {
      stdio: "ignore",
      cwd: this.folder,
      env: {
        ...process.env,
        XDG_RUNTIME_DIR: this.folder,
        HOME: this.folder,
        SHELL: "/bin/bash",
        PS1: "$ ",
        DISPLAY: "",
        OLLAMA_HOST: "127.0.0.1:1",
      },
    });
    await until(
      () =>
        fetch(`${this.address}/health`).then(
          (answer) => answer.ok,
          () => false,
        ),
      "the resident",
    );
  }

  async stopResident() {
    const gone = new Promise((done) => this.resident.once("exit", done));
    this.resident.kill("SIGTERM");
    await gone;
  }

  async close() {
    await this.browser?.close();
    if (this.resident.exitCode === null) await this.stopResident();
    await rm(this.folder, { recursive: true, force: true });
  }

  async get(path) {
    return (await fetch(this.address + path)).json();
  }

  async post(path, body = "") {
    return (await fetch(this.address + path, { method: "POST", body })).json();
  }

  /// One command line, as mb hands it over; its answer must be a success.
  async line(text) {
    const { out } = await this.post("/console/exec?bot=tester", text);
    assert.match(out, /^OK/, text);
    return out;
  }

  /// A page on its own profile, unless `beside` another one. What goes wrong in it fails check().
  async page(path = "/ui/", { size = [1280, 800], scheme = "light", beside } = {}) {
    const context =
      beside?.context() ??
      (await this.browser.newContext({
        viewport: { width: size[0], height: size[1] },
        colorScheme: scheme,
        reducedMotion: "reduce",
      }));
    const page = await context.newPage();
    page.problems = [];
    page.on("pageerror", (error) => page.problems.push(`thrown: ${error.message}`));
    page.on(
      "console",
      (message) =>
        message.type() === "error" &&
        !endedMeanwhile.test(message.location().url) &&
        page.problems.push(`console: ${message.text()} ${message.location().url}`),
    );
    page.on("request", (request) => {
      const ours = request.url().startsWith(this.address) || request.url().startsWith("data:");
      if (!ours) page.problems.push(`asked another machine: ${request.url()}`);
    });
    page.setDefaultTimeout(15_000);
    await page.goto(this.address + path);
    this.pages.push(page);
    return page;
  }

  /// No page had an error since it was opened; closes them, and the terminals.
  async check() {
    const pages = this.pages.splice(0);
    const problems = pages.flatMap((page) => page.problems);
    await Promise.all([...new Set(pages.map((page) => page.context()))].map((context) => context.close()));
    for (const { id } of (await this.get("/term/list")).sessions) await this.post(`/term/close?id=${id}`);
    assert.deepEqual(problems, []);
  }
}

/// For a test file: one resident and browser for all of its tests, each of which fails when one of its
/// pages had an error.
export function useWorld() {
  const box = {};
  before(async () => {
    box.world = await World.open();
  });
  afterEach(() => box.world.check());
  after(() => box.world?.close());
  return () => box.world;
}

/// No serious accessibility fault in what the page shows now.
export async function checkAccess(page) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => window.axe.run(document, { resultTypes: ["violations"] }));
  const serious = violations.filter(({ impact }) => impact === "serious" || impact === "critical");
  assert.deepEqual(
    serious.map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html).join(" ")}`),
    [],
  );
}

/// What a terminal on the page shows, as text.
export function screenText(page, index = 0) {
  return page
    .locator(".xterm-rows")
    .nth(index)
    .evaluate((rows) =>
      [...rows.children]
        .map((row) => row.textContent.replaceAll("\u00a0", " ").trimEnd())
        .join("\n")
        .trimEnd(),
    );
}

/// Waits until a terminal shows what matches.
export async function shows(page, pattern, index = 0) {
  return until(async () => pattern.exec(await screenText(page, index)), `${pattern}`);
}
