// The screen in a real browser: the printed address logs in, the page draws
// the UI model and follows it, the control panel changes the phone, the log
// view follows the log, and a restarted app asks for its new address.
//
// VELUNE_UPDATE_SCREENSHOTS=1 also writes the screenshots of docs/.
import assert from "node:assert/strict";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import { after, before, describe, test } from "node:test";
import { closeCleanly, imagesLoaded, phoneState, projectRoot, startApp, startBrowser, waitForFrame } from "./support.mjs";

describe("screen", () => {
  let app;
  let browser;
  let page;

  before(async () => {
    app = await startApp();
    browser = await startBrowser();
    page = browser.page;
  });
  after(() => closeCleanly(app, browser));

  test("the printed address logs in and the page draws the screen", async () => {
    const response = await page.goto(app.url);
    assert.equal(new URL(page.url()).search, "", "the token leaves the address bar");
    assert.equal(response.status(), 200);
    await waitForFrame(page);
    const size = await page.evaluate(() => window.veluneScreen.snapshot.screen);
    assert.equal(size.width, 390);
    assert.equal(size.height, 844);
    assert.equal(size.idiom, "phone");
    const box = await page.locator("#screen").boundingBox();
    assert.ok(box.width > 300, "the screen is drawn phone-sized");
    await page.locator("#connection", { hasText: "Connected" }).waitFor();
    assert.deepEqual(browser.problems, []);
    if (process.env.VELUNE_UPDATE_SCREENSHOTS) {
      await page.locator('#screen [aria-label="Budget.csv"]').waitFor();
      await imagesLoaded(page);
      await page.screenshot({ path: path.join(projectRoot, "docs/screen-phone.png") });
    }
  });

  test("the control panel changes the phone and the screen follows it", async () => {
    await page.getByRole("radio", { name: "Offline" }).click();
    await page.waitForFunction(async () => (await (await fetch("/api/phone")).json()).network === "offline");
    await page.getByRole("radio", { name: "Wi-Fi" }).click();
    await page.waitForFunction(async () => (await (await fetch("/api/phone")).json()).network === "wifi");

    await page.getByRole("radio", { name: "Tablet" }).click();
    await page.waitForFunction(() => window.veluneScreen.snapshot.screen.idiom === "tablet", null, { timeout: 15000 });
    await page.getByRole("radio", { name: "Landscape" }).click();
    await page.waitForFunction(() => window.veluneScreen.snapshot.screen.orientation === "landscape", null, { timeout: 15000 });
    const tablet = await page.evaluate(() => window.veluneScreen.snapshot.screen);
    assert.equal(tablet.width, 1180);
    assert.equal(tablet.height, 820);
    assert.ok(await page.locator("#device.tablet.landscape").isVisible());
    if (process.env.VELUNE_UPDATE_SCREENSHOTS) {
      await waitForFrame(page, await page.evaluate(() => window.veluneScreen.snapshot.sequence) - 1);
      await imagesLoaded(page);
      await page.screenshot({ path: path.join(projectRoot, "docs/screen-tablet.png") });
    }
    await page.getByRole("radio", { name: "Phone" }).click();
    await page.getByRole("radio", { name: "Portrait" }).click();
    await page.waitForFunction(() => {
      const s = window.veluneScreen.snapshot.screen;
      return s.idiom === "phone" && s.orientation === "portrait";
    }, null, { timeout: 15000 });

    await page.getByLabel("Download speed").selectOption("1000000");
    await page.waitForFunction(async () => (await (await fetch("/api/phone")).json()).bytesPerSecond === 1000000);

    await page.getByRole("radio", { name: "Background" }).click();
    await page.waitForFunction(async () => (await (await fetch("/api/phone")).json()).applicationState === "background");
    await page.getByRole("radio", { name: "Active" }).click();
    await page.waitForFunction(async () => (await (await fetch("/api/phone")).json()).applicationState === "active");
    assert.equal((await phoneState(page)).applicationState, "active");
  });

  test("the control panel refuses what the phone cannot do and says why", async () => {
    await page.getByLabel("Change", { exact: true }).selectOption("move");
    await page.getByLabel("Path", { exact: true }).fill("com.vorlan.drive/Documents/../../secret.txt");
    await page.getByRole("button", { name: "Apply" }).click();
    await page.locator("#panel-message.error").waitFor();
    assert.match(await page.locator("#panel-message").textContent(), /path/);
  });

  test("a change from another device reaches the drive", async () => {
    await page.getByLabel("Change", { exact: true }).selectOption("add");
    await page.getByLabel("Path", { exact: true }).fill("com.vorlan.drive/Documents/From the browser test.txt");
    await page.getByRole("button", { name: "Apply" }).click();
    await page.getByText("Changed on the cloud side.").waitFor();
    const placeholder = path.join(app.home, "Mobile Documents/com.vorlan.drive/Documents/.From the browser test.txt.placeholder");
    const document = path.join(app.home, "Mobile Documents/com.vorlan.drive/Documents/From the browser test.txt");
    assert.ok(fs.existsSync(placeholder) || fs.existsSync(document), "the new document is on the phone's drive");
  });

  test("the log view follows the records and filters by level", async () => {
    await page.getByRole("radio", { name: "Cellular" }).click();
    await page.locator("#log li", { hasText: "Control panel: network cellular" }).first().waitFor();
    await page.getByLabel("Show up to").selectOption("3");
    await page.getByRole("radio", { name: "Wi-Fi" }).click();
    // Once the view has read past the record, it must not be shown.
    const sequence = await page.waitForFunction(async () => {
      const log = await (await fetch("/api/log?level=7")).json();
      const record = log.records.find((r) => r.message === "Control panel: network wifi");
      return record && record.sequence;
    }).then((handle) => handle.jsonValue());
    await page.waitForFunction((n) => Number(document.getElementById("log").dataset.through || 0) >= n, sequence);
    const shown = await page.locator("#log li").allTextContents();
    assert.ok(shown.every((line) => !line.includes("Control panel: network wifi")), "level 6 records are hidden at level 3");
    await page.getByLabel("Show up to").selectOption("7");
  });

  test("a launch URL counts its source only when installed, and the app opens it only from one it trusts", async () => {
    const logged = (text) => page.waitForFunction(async (t) => {
      const log = await (await fetch("/api/log?level=7")).json();
      return log.records.some((r) => r.message.includes(t));
    }, text, { timeout: 15000 });
    const send = async (source) => {
      await page.getByLabel("Sent by").selectOption(source);
      await page.getByRole("button", { name: "Open in Velune Drive" }).click();
      await page.locator("#panel-message", { hasText: "sent by " + source }).waitFor();
      return page.locator("#panel-message").textContent();
    };
    assert.match(await page.getByLabel("URL", { exact: true }).inputValue(), /^velunedriveapp:\/\/\/.*Welcome\.txt\?mode=details$/);

    assert.match(await send("com.example.notinstalled"), /^Refused/);
    await logged("claiming com.example.notinstalled, reported as an unknown source");
    assert.match(await send("com.vorlan.Jotter"), /^Refused/, "installed, but not trusted by the app");
    await logged("claiming com.vorlan.Jotter, reported as com.vorlan.Jotter");
    assert.match(await send("com.vorlan.Drillrun"), /^Opened/);
    await logged("claiming com.vorlan.Drillrun, reported as com.vorlan.Drillrun");
  });
});

describe("restart", () => {
  test("a page open across a restart asks for the new address and then works again", async () => {
    // The test's own home, so that it outlives the first run of the app.
    const scratch = fs.mkdtempSync(path.join(os.tmpdir(), "velune-home-"));
    const home = path.join(scratch, "home");
    let app = await startApp({ home });
    const browser = await startBrowser();
    try {
      await browser.page.goto(app.url);
      await waitForFrame(browser.page);
      const { port } = app;
      assert.equal(await app.stop(), 0);
      app = await startApp({ home, port });
      await browser.page.getByLabel("Address printed by the app").waitFor({ timeout: 20000 });
      await browser.page.getByLabel("Address printed by the app").fill(app.url);
      await browser.page.getByRole("button", { name: "Open", exact: true }).click();
      await browser.page.locator("#connection", { hasText: "Connected" }).waitFor({ timeout: 20000 });
      await waitForFrame(browser.page);
    } finally {
      await browser.close();
      await app.stop();
      fs.rmSync(scratch, { recursive: true, force: true });
    }
  });
});
