// What the browser tests stand on: the real program on a fresh temporary
// home, and Debian's chromium driven by playwright-core (no browser download).
import { spawn } from "node:child_process";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import readline from "node:readline";
import assert from "node:assert/strict";
import { chromium } from "playwright-core";

export const projectRoot = path.resolve(path.dirname(new URL(import.meta.url).pathname), "../..");
const appBinary = process.env.VELUNE_APP || path.join(projectRoot, "build/debug/programs/velunedriveapp");
const chromiumPath = process.env.VELUNE_CHROMIUM || "/usr/bin/chromium";

// Starts the app on `home` (by default a new one, which the app makes with
// the demo drive) and resolves when it printed the screen's address.
export function startApp({ home, port = 0 } = {}) {
  // A home made here goes when the app has stopped (VELUNE_KEEP_HOMES=1
  // keeps it, with the app's log, for a look after a failure); one given is kept.
  const madeHere = home ? null : fs.mkdtempSync(path.join(os.tmpdir(), "velune-home-"));
  home = home || path.join(madeHere, "home");
  const removeHome = () => {
    if (madeHere && !process.env.VELUNE_KEEP_HOMES) fs.rmSync(madeHere, { recursive: true, force: true });
  };
  const child = spawn(appBinary, ["--home", home, "--port", String(port), "--system-log", "file"], {
    stdio: ["ignore", "pipe", "pipe"],
    env: { ...process.env, ASAN_OPTIONS: process.env.ASAN_OPTIONS || "detect_leaks=0" },
  });
  let stderr = "";
  child.stderr.on("data", (d) => { stderr = (stderr + d).slice(-20000); });
  return new Promise((resolve, reject) => {
    const timer = setTimeout(() => reject(new Error("the app printed no address:\n" + stderr)), 60000);
    const lines = readline.createInterface({ input: child.stdout });
    lines.on("line", (line) => {
      const match = line.match(/^Velune Drive screen: (http:\/\/127\.0\.0\.1:(\d+)\/\?token=([0-9a-f]+))$/);
      if (match) {
        clearTimeout(timer);
        resolve({
          home, url: match[1], port: Number(match[2]), token: match[3], process: child,
          stderr: () => stderr,
          stop: () => new Promise((done) => {
            const finish = (code) => { removeHome(); done(code); };
            if (child.exitCode !== null) return finish(child.exitCode);
            child.once("exit", (code) => finish(code));
            child.kill("SIGINT");
          }),
        });
      }
    });
    child.once("exit", (code) => { clearTimeout(timer); reject(new Error("the app ended (" + code + "):\n" + stderr)); });
  });
}

export async function startBrowser() {
  const profile = fs.mkdtempSync(path.join(os.tmpdir(), "velune-chromium-"));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: chromiumPath,
    headless: true,
    viewport: { width: 1280, height: 960 },
    args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
           "--disable-component-update", "--disable-sync"],
  });
  const page = context.pages()[0] || (await context.newPage());
  const problems = [];
  page.on("pageerror", (error) => problems.push(error.message));
  return {
    context, page, problems,
    close: async () => { await context.close(); fs.rmSync(profile, { recursive: true, force: true }); },
  };
}

// A browser showing the screen of `app`, logged in, once the first frame is drawn.
export async function openScreen(app) {
  const browser = await startBrowser();
  await browser.page.goto(app.url);
  await waitForFrame(browser.page);
  return { browser, page: browser.page };
}

// Closes the browser, then ends the app with Ctrl-C: it must end cleanly
// (under the sanitizers, with nothing leaked).
export async function closeCleanly(app, browser) {
  if (browser) await browser.close();
  if (app) {
    const code = await app.stop();
    assert.equal(code, 0, "the app ends cleanly on Ctrl-C:\n" + app.stderr());
  }
}

// Waits until the screen has drawn a frame newer than `after`.
export async function waitForFrame(page, after = 0) {
  await page.waitForFunction((n) => window.veluneScreen && window.veluneScreen.paints > 0 &&
    Number(document.body.dataset.sequence || 0) > n, after, { timeout: 15000 });
  return page.evaluate(() => window.veluneScreen.sequence);
}

// Waits until every image the screen draws has loaded (before a screenshot).
export async function imagesLoaded(page) {
  await page.waitForFunction(() => [...document.querySelectorAll("#screen img")]
    .every((img) => !img.getAttribute("src") || (img.complete && img.naturalWidth > 0)));
}

export async function phoneState(page) {
  return page.evaluate(async () => (await fetch("/api/phone")).json());
}
