// Opening documents on the screen, in a real browser, on the demo drive: a
// cloud-only document's download page with the round progress moving, then
// the document in the browser's own viewer; a document on the phone opened
// at once; a picture downloaded by itself; back to the listing each time.
//
// VELUNE_PREVIEW_SHOTS=DIR also writes a screenshot of every page to DIR;
// VELUNE_UPDATE_SCREENSHOTS=1 the downloading document of docs/.
import assert from "node:assert/strict";
import fs from "node:fs";
import path from "node:path";
import { after, before, describe, test } from "node:test";
import { closeCleanly, openScreen, projectRoot, startApp } from "./support.mjs";

// The pie of the round progress: its filled slice, as the page draws it.
function pieSlice(page) {
  return page.evaluate(() => {
    const slice = document.querySelector(".k-DownloadView svg.layers path:not([fill='none'])");
    return slice ? slice.getAttribute("d") : null;
  });
}

describe("opening documents", () => {
  let app;
  let browser;
  let page;
  const shots = process.env.VELUNE_PREVIEW_SHOTS;
  const shot = async (name) => {
    if (shots) await page.screenshot({ path: path.join(shots, name + ".png") });
  };
  const row = (name) => page.getByRole("button", { name, exact: true });
  const back = async () => {
    await page.locator(".navbar .back").click();
    await row("Budget.csv").waitFor();
  };

  before(async () => {
    // A home that does not exist yet gets the demo drive.
    app = await startApp();
    ({ browser, page } = await openScreen(app));
    await row("Annual Report.pdf").waitFor();
  });
  after(() => closeCleanly(app, browser));

  test("a cloud-only document downloads on its page with the progress moving, then shows in the viewer", async () => {
    // 7 MB at 1 MB/s: long enough to watch, and over the size that starts by itself.
    await page.getByLabel("Download speed").selectOption("1000000");
    const report = path.join(app.home, "Mobile Documents/com.vorlan.drive/Documents/Annual Report.pdf");
    assert.ok(!fs.existsSync(report), "the demo's report is only in the cloud");
    await row("Annual Report.pdf").click();

    const start = page.getByRole("button", { name: "Download to View" });
    await start.waitFor();
    await page.getByText("7 MB", { exact: true }).waitFor();
    await shot("preview-download");
    await start.click();

    // Downloading: Cancel instead of the download button, the bytes counting up, the pie filling.
    await page.getByRole("button", { name: "Cancel" }).waitFor();
    assert.equal(await start.isVisible(), false, "the download button is gone while downloading");
    await page.getByText(/^[1-9][\d.]* MB of 7 MB$/).waitFor({ timeout: 15000 });
    const early = await pieSlice(page);
    await page.waitForFunction((before) => {
      const slice = document.querySelector(".k-DownloadView svg.layers path:not([fill='none'])");
      return slice && slice.getAttribute("d") !== before;
    }, early, { timeout: 15000 });
    await shot("preview-progress");
    if (process.env.VELUNE_UPDATE_SCREENSHOTS) {
      await page.screenshot({ path: path.join(projectRoot, "docs/screen-download.png") });
    }

    // The document in the browser's PDF viewer, in place of the download page.
    const viewer = page.locator("iframe.document-viewer.viewer-pdf");
    await viewer.waitFor({ timeout: 30000 });
    assert.match(await viewer.getAttribute("src"), /Annual%20Report\.pdf/);
    assert.equal(fs.statSync(report).size > 6_000_000, true, "the whole document is on the phone");
    await page.locator(".navbar .title", { hasText: "Annual Report.pdf" }).waitFor();
    assert.equal(await page.locator(".navbar .back-title").textContent(), "Back", "the listing's name would meet the title");
    await shot("preview-document");
    await back();
    assert.deepEqual(browser.problems, []);
  });

  test("a document on the phone opens at once, and a small cloud-only picture downloads by itself", async () => {
    await row("Caf\u00E9 Menu.txt").click();
    const text = page.locator("iframe.document-viewer.viewer-text");
    await text.waitFor();
    const body = await page.frameLocator("iframe.document-viewer.viewer-text").locator("body").textContent();
    assert.match(body, /Espresso 2\.50/);
    // The back button names the listing, or says "Back" where the name would
    // run into the title; it never covers the title nor shrinks to a letter.
    const bar = await page.evaluate(() => {
      const back = document.querySelector(".navbar .back");
      const title = document.querySelector(".navbar .title span");
      return {
        text: back.querySelector(".back-title").textContent,
        clipped: back.querySelector(".back-title").scrollWidth > back.querySelector(".back-title").clientWidth,
        backRight: back.getBoundingClientRect().right,
        titleLeft: title.getBoundingClientRect().left,
      };
    });
    assert.ok(["Velune Drive", "Back"].includes(bar.text), bar.text);
    assert.equal(bar.clipped, false);
    assert.ok(bar.backRight <= bar.titleLeft, JSON.stringify(bar));
    await shot("preview-text");
    await back();

    await page.getByLabel("Download speed").selectOption("20000000");
    await row("Photos").click();
    await row("Harbour.png").click();
    const picture = page.locator("img.document-viewer.viewer-image");
    await picture.waitFor({ timeout: 30000 });
    await page.waitForFunction(() => {
      const img = document.querySelector("img.document-viewer.viewer-image");
      return img && img.complete && img.naturalWidth === 1400;
    });
    await shot("preview-picture");
    await page.locator(".navbar .back").click();
    await row("Harbour.png").waitFor();
    await back();
    assert.deepEqual(browser.problems, []);
  });
});
