// The details page on the screen, in a real browser, on the demo drive: from
// a row's Info button for every document of the drive's root, from launch
// URLs with mode=details and mode=info, renaming by tapping the name, tag
// colours that change while the page is shown (from the control panel and
// from vdtool), and the page turned to landscape and shown on a tablet.
//
// VELUNE_DETAILS_SHOTS=DIR also writes a screenshot of every step to DIR;
// VELUNE_UPDATE_SCREENSHOTS=1 the details page of docs/.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import fs from "node:fs";
import path from "node:path";
import { after, before, describe, test } from "node:test";
import { closeCleanly, imagesLoaded, openScreen, projectRoot, startApp } from "./support.mjs";

const appBinary = process.env.VELUNE_APP || path.join(projectRoot, "build/debug/programs/velunedriveapp");
const vdtool = path.join(path.dirname(appBinary), "vdtool");

describe("the details page", () => {
  let app;
  let browser;
  let page;
  const shots = process.env.VELUNE_DETAILS_SHOTS;
  const shot = async (name) => {
    if (shots) {
      await imagesLoaded(page);
      await page.screenshot({ path: path.join(shots, name + ".png") });
    }
  };
  const screen = () => page.locator("#screen");
  const row = (name) => screen().getByRole("button", { name, exact: true });
  const details = () => screen().locator('[data-id^="PreviewDetailsViewController"][data-id$=".details"]');
  const nameLabel = () => screen().locator('[data-id^="PreviewDetailsViewController"][data-id$=".filenameTextField"]');
  const rowValue = (key) => screen().locator(`[data-id$=".info.${key}.value"]`);
  const tagDots = () => screen().locator('[data-id$=".info.tags.value"] img');
  const back = async (to) => {
    await page.locator(".navbar .back").click();
    await row(to).waitFor();
  };
  // The details page of the row `name` of the listing shown.
  // A reference's row shows the page of the document it names.
  const openInfo = async (name, shown = name) => {
    await row(name).getByRole("button", { name: "Info", exact: true }).click();
    await nameLabel().filter({ hasText: shown }).waitFor();
  };
  const launch = async (url, source) => {
    await page.locator("#launch-url").fill(url);
    await page.locator("#launch-source").selectOption(source);
    await page.getByRole("button", { name: "Open in Velune Drive" }).click();
  };
  const box = (locator) => locator.boundingBox();
  const setDevice = async (control, value, check) => {
    await page.getByRole("radio", { name: control }).click();
    await page.waitForFunction(check, value, { timeout: 15000 });
  };

  before(async () => {
    app = await startApp();
    ({ browser, page } = await openScreen(app));
    await row("Budget.csv").waitFor();
  });
  after(() => closeCleanly(app, browser));

  test("every document of the drive's root shows its rows, dates and tag dots from its Info button", async () => {
    const names = await page.evaluate(() => [...document.querySelectorAll("#screen [role=button][aria-label]")]
      .filter((el) => el.querySelector('[aria-label="Info"]'))
      .map((el) => el.getAttribute("aria-label")));
    const documents = names.filter((name) => /\.[A-Za-z0-9]+$/.test(name));
    assert.ok(documents.length >= 8, "the root lists the demo's documents: " + documents.join(", "));
    const targets = { "Annual Report (link).vdref": "Annual Report.pdf" };
    for (const name of documents) {
      await openInfo(name, targets[name]);
      // Kind and Where always; a size and a modification date for every document.
      for (const key of ["kind", "where", "modified"]) {
        assert.notEqual((await rowValue(key).textContent()).trim(), "", name + ": " + key);
      }
      assert.match(await rowValue("where").textContent(), /Velune Drive/);
      assert.match(await rowValue("modified").textContent(), /\d/, name + ": a date");
      const tagged = { "Annual Report.pdf": 1, "Annual Report (link).vdref": 1, "Chime.wav": 2, "Budget.csv": 1 }[name] || 0;
      assert.equal(await tagDots().count(), tagged, name + ": one dot a tag");
      await back(name);
    }
    assert.deepEqual(browser.problems, []);
  });

  test("launch URLs with mode=details and mode=info end their stack with the details page", async () => {
    const docs = (container) => encodeURI(path.join(app.home, "Mobile Documents", container, "Documents"));
    await launch(`velunedriveapp://${docs("com.vorlan.Drillrun")}/Drills/Advanced/Sprint.drill?mode=info`,
      "com.vorlan.Drillrun");
    await nameLabel().filter({ hasText: "Sprint.drill" }).waitFor();
    assert.match(await rowValue("where").textContent(), /Advanced/);
    // On a phone the open-in button is on the navigation bar.
    await page.locator(".navbar").getByRole("button", { name: "Open in “Drillrun”" }).waitFor();
    await shot("details-launch-info");

    await launch(`velunedriveapp://${docs("com.vorlan.lumiboard")}/Sketches/Idea.png?mode=details`,
      "com.vorlan.lumiboard");
    await nameLabel().filter({ hasText: "Idea.png" }).waitFor();
    assert.equal(await rowValue("kind").count(), 1);
    // The stack ends with the page: back goes to the document's folder.
    await back("Idea.png");
    await back("Sketches");
    await page.locator(".navbar .back").click();
    await row("Budget.csv").waitFor();
  });

  test("tapping the name renames the document", async () => {
    await openInfo("Page.html");
    await nameLabel().click();
    const field = screen().locator("input");
    await field.waitFor();
    assert.equal(await field.inputValue(), "Page.html");
    await field.fill("Web Page.html");
    await screen().getByRole("button", { name: "Done", exact: true }).click();
    await nameLabel().filter({ hasText: "Web Page.html" }).waitFor();
    const drive = path.join(app.home, "Mobile Documents/com.vorlan.drive/Documents");
    assert.ok(fs.existsSync(path.join(drive, "Web Page.html")));
    assert.ok(!fs.existsSync(path.join(drive, "Page.html")));
    await back("Budget.csv");
  });

  test("tag colours change on the shown page when another device changes the dictionary", async () => {
    await row("Projects").click();
    await openInfo("Brochure.pdf");
    // Nine tags: the seven colours, Work without colour, Draft unknown.
    assert.equal(await tagDots().count(), 9);
    // The dots as drawn: the colour at the middle of each image, read back from a canvas.
    const readDots = async () => {
      const imgs = [...document.querySelectorAll('#screen [data-id$=".info.tags.value"] img')];
      return Promise.all(imgs.map(async (img) => {
        const bitmap = await createImageBitmap(await (await fetch(img.getAttribute("src"))).blob());
        const canvas = new OffscreenCanvas(bitmap.width, bitmap.height);
        const context = canvas.getContext("2d");
        context.drawImage(bitmap, 0, 0);
        // The dot sits in the lower part of its image, raised to the cap height.
        const y = Math.floor(bitmap.height * 0.6);
        let best = [0, 0, 0, 0];
        for (let x = 0; x < bitmap.width; ++x) {
          const p = context.getImageData(x, y, 1, 1).data;
          if (p[3] > best[3]) best = [p[0], p[1], p[2], p[3]];
        }
        return best.join(",");
      }));
    };
    await page.evaluate(`window.veluneTestDots = ${readDots}`);
    const dots = () => page.evaluate(() => window.veluneTestDots());
    // Waits until the row is drawn again (its dots get new image names), and answers the dots then.
    const firstSource = () => page.locator('#screen [data-id$=".info.tags.value"] img').first().getAttribute("src");
    const redrawn = async (old) => {
      await page.waitForFunction((source) => {
        const img = document.querySelector('#screen [data-id$=".info.tags.value"] img');
        return img && img.getAttribute("src") !== source;
      }, old, { timeout: 15000 });
      return dots();
    };
    const before = await dots();
    const beforeSource = await firstSource();
    if (process.env.VELUNE_UPDATE_SCREENSHOTS) {
      await page.evaluate(() => window.scrollTo(0, 0));
      await imagesLoaded(page);
      await page.screenshot({ path: path.join(projectRoot, "docs/screen-details.png") });
    }
    assert.equal(new Set(before.slice(0, 7)).size, 7, "seven colours, seven different dots");

    // The control panel: Red becomes blue, the colour of the fifth dot (Blue).
    await page.getByLabel("Colour of Red").selectOption("4");
    await page.getByRole("button", { name: "Save" }).click();
    const afterPanel = await redrawn(beforeSource);
    assert.equal(afterPanel[0], before[4], "Red is drawn as Blue is");
    assert.deepEqual(afterPanel.slice(1), before.slice(1), "only Red's dot changed");
    await nameLabel().filter({ hasText: "Brochure.pdf" }).waitFor();

    const panelSource = await firstSource();
    // vdtool, as another device: Orange (the second dot) has no colour any more, like Work (the eighth).
    execFileSync(vdtool, ["--home", app.home, "cloud", "set-tags", "Red=blue", "Orange=none", "Yellow=yellow",
      "Green=green", "Blue=blue", "Purple=purple", "Grey=grey", "Work=none", "Home=blue"]);
    const afterTool = await redrawn(panelSource);
    assert.equal(afterTool[1], before[7], "Orange is drawn as Work is");
    await shot("details-tags");
    assert.deepEqual(browser.problems, []);
  });

  test("landscape puts the thumbnail beside the details; a tablet shows the open-in button in the page", async () => {
    // Still on Brochure.pdf. Portrait: the thumbnail above the details.
    const thumbnail = () => screen().locator('[data-id^="PreviewDetailsViewController"][data-id$=".thumbnail"]');
    let t = await box(thumbnail());
    let d = await box(details());
    assert.ok(t.y + t.height <= d.y + 1, "portrait: above");

    await setDevice("Landscape", "landscape", (v) => window.veluneScreen.snapshot.screen.orientation === v);
    await page.waitForFunction(() => {
      const q = (s) => document.querySelector(`#screen [data-id^="PreviewDetailsViewController"][data-id$="${s}"]`);
      const a = q(".thumbnail").getBoundingClientRect();
      const b = q(".details").getBoundingClientRect();
      return a.right <= b.left + 1 && Math.abs(a.width - b.width) < 1;
    }, null, { timeout: 15000 });
    await shot("details-phone-landscape");

    await setDevice("Tablet", "tablet", (v) => window.veluneScreen.snapshot.screen.idiom === v);
    await back("Brochure.pdf");
    await back("Budget.csv");
    await row("Drillrun").click();
    await openInfo("Warmup.drill");
    // In the page, below the rows, and not on the navigation bar.
    const openIn = details().getByRole("button", { name: "Open in “Drillrun”" });
    await openIn.waitFor();
    assert.equal(await page.locator(".navbar").getByRole("button", { name: /^Open in/ }).count(), 0);
    t = await box(thumbnail());
    d = await box(details());
    assert.ok(t.x + t.width <= d.x + 1, "tablet landscape: side by side");
    await shot("details-tablet-landscape");

    await setDevice("Portrait", "portrait", (v) => window.veluneScreen.snapshot.screen.orientation === v);
    await page.waitForFunction(() => {
      const q = (s) => document.querySelector(`#screen [data-id^="PreviewDetailsViewController"][data-id$="${s}"]`);
      return q(".thumbnail").getBoundingClientRect().bottom <= q(".details").getBoundingClientRect().top + 1;
    }, null, { timeout: 15000 });
    await shot("details-tablet-portrait");
    await setDevice("Phone", "phone", (v) => window.veluneScreen.snapshot.screen.idiom === v);
    assert.deepEqual(browser.problems, []);
  });
});
