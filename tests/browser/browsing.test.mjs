// Browsing the demo drive on the screen: the root listing with its icons and
// status line, a folder opened and left again, the search, edit mode, and the
// unavailable screen while the phone has no account.
import assert from "node:assert/strict";
import { after, before, describe, test } from "node:test";
import { closeCleanly, openScreen, startApp } from "./support.mjs";

describe("browsing", () => {
  let app;
  let browser;
  let page;

  before(async () => {
    app = await startApp();
    ({ browser, page } = await openScreen(app));
  });
  after(() => closeCleanly(app, browser));

  const screen = () => page.locator("#screen");
  const row = (name) => screen().getByRole("button", { name, exact: true });
  const title = () => screen().getByRole("heading", { level: 1 });
  const status = () => screen().locator('[data-id$=".status"]');

  test("the root listing shows its rows with icons and the status line with the free storage", async () => {
    await row("Budget.csv").waitFor();
    assert.equal(await title().textContent(), "Velune Drive");
    assert.match(await status().textContent(), /^\d+ items, [\d.]+ [KMGT]?B available$/);
    // Every visible row has the icon of its kind, drawn from the model's image.
    const icons = await page.evaluate(() => [...document.querySelectorAll('#screen [data-id$=".icon"]')]
      .filter((img) => !img.hidden).map((img) => ({ src: img.getAttribute("src"), loaded: img.complete && img.naturalWidth > 0 })));
    assert.ok(icons.length >= 8, "the rows show icons: " + icons.length);
    assert.ok(icons.every((icon) => icon.src && icon.loaded), JSON.stringify(icons));
    const folderIcon = await row("Drillrun").locator('[data-id$=".icon"]').getAttribute("src");
    const pdfIcon = await row("Annual Report.pdf").locator('[data-id$=".icon"]').getAttribute("src");
    assert.notEqual(folderIcon, pdfIcon, "a folder and a PDF have icons of their own kinds");
    assert.ok(await row("Annual Report.pdf").getByLabel("In the cloud").isVisible(), "a cloud-only document has its mark");
    assert.equal(await row("Budget.csv").getByLabel("In the cloud").count(), 0);
    assert.deepEqual(browser.problems, []);
  });

  test("a folder opens from the root listing and the back button returns to it", async () => {
    const before = await status().textContent();
    await row("Photos").click();
    await title().filter({ hasText: "Photos" }).waitFor();
    await screen().getByRole("button", { name: "Back to Velune Drive" }).waitFor();
    await page.waitForFunction((old) => {
      const line = document.querySelector('#screen [data-id$=".status"]');
      return line && / available$/.test(line.textContent) && line.textContent !== old;
    }, before);
    assert.notEqual(await status().textContent(), before, "the status line counts the folder's items");
    await screen().getByRole("button", { name: "Back to Velune Drive" }).click();
    await title().filter({ hasText: "Velune Drive" }).waitFor();
    await row("Budget.csv").waitFor();
    assert.equal(await status().textContent(), before);
  });

  test("the search finds a document by part of its name, and Cancel leaves it", async () => {
    await screen().getByRole("button", { name: "Search", exact: true }).click();
    const field = screen().locator('input[data-id$=".field"]');
    await field.waitFor();
    await field.fill("budg");
    const results = screen().locator('[data-id^="SearchOverlay"][data-id$=".rows"]');
    await results.getByRole("button", { name: "Budget.csv", exact: true }).waitFor();
    await screen().locator('[data-id$=".count"]', { hasText: "1 result" }).waitFor();
    assert.equal(await results.getByRole("button").filter({ hasText: "Annual Report" }).count(), 0);
    await screen().getByRole("button", { name: "Cancel", exact: true }).click();
    await results.waitFor({ state: "detached" });
  });

  // Buttons the model hid after showing them stayed on the page: a row's
  // Info and More remained in edit mode, over the shifted row.
  test("edit mode hides the row buttons, selects rows, and Cancel leaves it", async () => {
    assert.ok(await row("Budget.csv").getByRole("button", { name: "Info" }).isVisible());
    await screen().getByRole("button", { name: "Select", exact: true }).click();
    await title().filter({ hasText: "Select Items" }).waitFor();
    await row("Budget.csv").getByRole("button", { name: "Info" }).waitFor({ state: "hidden" });
    assert.ok(await row("Budget.csv").getByRole("button", { name: "More" }).isHidden());
    await row("Budget.csv").click();
    await page.waitForFunction(() => {
      const find = (n) => n && (n.label === "Budget.csv" && n.selected ? n : (n.children || []).map(find).find(Boolean));
      return find(window.veluneScreen.snapshot.window);
    });
    await screen().getByRole("button", { name: "Cancel", exact: true }).click();
    await title().filter({ hasText: "Velune Drive" }).waitFor();
    await row("Budget.csv").getByRole("button", { name: "Info" }).waitFor();
  });

  test("signing out in the control panel shows the unavailable screen, signing in the drive again", async () => {
    await page.getByRole("radio", { name: "Signed out" }).click();
    await screen().getByText("Velune Drive Is Unavailable", { exact: true }).first().waitFor();
    await screen().getByText(/^Sign in to your account/).waitFor();
    assert.equal(await row("Budget.csv").count(), 0, "no document shows while signed out");
    await page.getByRole("radio", { name: "Signed in" }).click();
    await row("Budget.csv").waitFor();
    assert.equal(await title().textContent(), "Velune Drive");
  });
});
