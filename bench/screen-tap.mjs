// Tap to painted page, measured in the browser: a tap on a folder's row of the
// root listing until the page has painted the folder's listing with its item
// count, for folders of 100 and of 10,000 documents. Runs the app of
// VELUNE_APP (default build/debug; use an optimised build for figures) on a
// new demo home in Debian's chromium:
//
//   node bench/screen-tap.mjs [repetitions]
import fs from "node:fs";
import path from "node:path";
import { startApp, startBrowser, waitForFrame } from "../tests/browser/support.mjs";

const repetitions = Number(process.argv[2] || 5);
const app = await startApp();
const browser = await startBrowser();
const page = browser.page;
try {
  await page.goto(app.url);
  await waitForFrame(page);
  const documents = path.join(app.home, "Mobile Documents/com.vorlan.drive/Documents");
  const folders = [["Bench 100", 100], ["Bench 10000", 10000]];
  for (const [name, count] of folders) {
    fs.mkdirSync(path.join(documents, name));
    for (let i = 0; i < count; ++i) fs.writeFileSync(path.join(documents, name, `Document ${i}.txt`), "");
  }
  for (const [name] of folders) await page.locator(`#screen [aria-label="${name}"]`).waitFor({ timeout: 60000 });

  for (const [name, count] of folders) {
    const times = [];
    let bytes = 0;
    for (let run = 0; run < repetitions; ++run) {
      const ms = await page.evaluate(({ name, count }) => new Promise((resolve) => {
        const shown = () => {
          const title = document.querySelector('#screen [role="heading"]');
          const status = document.querySelector('#screen [data-id$=".status"]');
          const items = status && /^([\d,.\u202f\u00a0 ]+) items?/.exec(status.textContent);
          return title && title.textContent === name && items && Number(items[1].replace(/\D/g, "")) === count;
        };
        const start = performance.now();
        const observer = new MutationObserver(() => {
          if (shown()) {
            observer.disconnect();
            resolve(performance.now() - start);
          }
        });
        // The page sets data-sequence once a frame is painted.
        observer.observe(document.body, { attributes: true, attributeFilter: ["data-sequence"] });
        document.querySelector(`#screen [aria-label="${name}"]`).click();
      }), { name, count });
      times.push(ms);
      if (run === repetitions - 1) {
        bytes = await page.evaluate(async () => (await (await fetch("/api/screen")).text()).length);
      }
      await page.locator("#screen").getByRole("button", { name: "Back to Velune Drive" }).click();
      await page.locator(`#screen [aria-label="${name}"]`).waitFor();
    }
    times.sort((a, b) => a - b);
    console.log(`${name}: tap to painted, median ${times[Math.floor(times.length / 2)].toFixed(1)} ms ` +
                `(min ${times[0].toFixed(1)}, max ${times[times.length - 1].toFixed(1)}, ${repetitions} runs); ` +
                `the folder's screen ${(bytes / 1000).toFixed(1)} KB`);
  }
} finally {
  await browser.close();
  await app.stop();
}
