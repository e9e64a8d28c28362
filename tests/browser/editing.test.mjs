// Editing on the screen: edit mode with its toolbar (disabled buttons drawn
// disabled), a new folder, a move through the folder picker, a delete after
// the confirmation, and renaming from a row's action menu.
// VELUNE_UPDATE_SCREENSHOTS=1 also writes the edit mode of docs/.
import assert from "node:assert/strict";
import path from "node:path";
import { after, before, describe, test } from "node:test";
import { imagesLoaded, projectRoot, startApp, startBrowser, waitForFrame } from "./support.mjs";

describe("editing", () => {
  let app;
  let browser;
  let page;

  before(async () => {
    app = await startApp();
    browser = await startBrowser();
    page = browser.page;
    await page.goto(app.url);
    await waitForFrame(page);
  });
  after(async () => {
    if (browser) await browser.close();
    if (app) await app.stop();
  });

  const screen = () => page.locator("#screen");
  const row = (name) => screen().getByRole("button", { name, exact: true });
  const title = () => screen().getByRole("heading", { level: 1 });
  const tool = (name) => screen().getByRole("toolbar").locator("..").getByRole("button", { name, exact: true });
  const toolbarButton = (name) => screen().locator("button.v.button", { hasText: new RegExp("^" + name + "$") });
  const dialogAction = (name) => page.locator(".alert-action", { hasText: new RegExp("^" + name + "$") });

  test("Select shows the edit toolbar; Move and Delete are drawn disabled until something is selected", async () => {
    await row("Budget.csv").waitFor();
    await screen().getByRole("button", { name: "Select", exact: true }).click();
    await title().filter({ hasText: "Select Items" }).waitFor();
    for (const name of ["New Folder", "Move", "Delete"]) await toolbarButton(name).waitFor();
    // The top level belongs to no container: no new folder there either.
    assert.ok(await toolbarButton("Move").isDisabled());
    assert.ok(await toolbarButton("Delete").isDisabled());
    assert.ok(await toolbarButton("New Folder").isDisabled());
    await row("Budget.csv").click();
    await title().filter({ hasText: "1 Item Selected" }).waitFor();
    await page.waitForFunction(() => {
      const move = [...document.querySelectorAll("#screen button.v.button")].find((b) => b.textContent === "Move");
      return move && !move.disabled;
    });
    assert.ok(await toolbarButton("Delete").isEnabled());
    await row("Chime.wav").click();
    await title().filter({ hasText: "2 Items Selected" }).waitFor();
    if (process.env.VELUNE_UPDATE_SCREENSHOTS) {
      await imagesLoaded(page);
      await page.screenshot({ path: path.join(projectRoot, "docs/screen-editing.png") });
    }
    await screen().getByRole("button", { name: "Cancel", exact: true }).click();
    await title().filter({ hasText: "Velune Drive" }).waitFor();
    assert.equal(await toolbarButton("Move").count(), 0);
    assert.deepEqual(browser.problems, []);
  });

  test("New Folder in a folder asks for a name, checks it as it is typed, and makes the folder", async () => {
    await row("Photos").click();
    await title().filter({ hasText: "Photos" }).waitFor();
    await screen().getByRole("button", { name: "Select", exact: true }).click();
    await title().filter({ hasText: "Select Items" }).waitFor();
    await page.waitForFunction(() => {
      const b = [...document.querySelectorAll("#screen button.v.button")].find((x) => x.textContent === "New Folder");
      return b && !b.disabled;
    });
    await toolbarButton("New Folder").click();
    const field = page.getByRole("textbox", { name: "Folder Name" });
    await field.waitFor();
    assert.ok(await dialogAction("Create").isDisabled());
    await field.fill("a/b");
    await page.getByText("Character not allowed in filename", { exact: true }).waitFor();
    await field.fill("Trips");
    await page.waitForFunction(() => {
      const b = [...document.querySelectorAll(".alert-action")].find((x) => x.textContent === "Create");
      return b && !b.disabled;
    });
    await dialogAction("Create").click();
    await field.waitFor({ state: "detached" });
    await screen().getByRole("button", { name: "Cancel", exact: true }).click();
    await row("Trips").waitFor();
  });

  test("Move takes the selection to the folder chosen in the picker", async () => {
    await screen().getByRole("button", { name: "Select", exact: true }).click();
    await title().filter({ hasText: "Select Items" }).waitFor();
    await row("Sunset.png").click();
    await title().filter({ hasText: "1 Item Selected" }).waitFor();
    await toolbarButton("Move").click();
    // Edit mode ends as the picker comes up.
    const picker = screen().locator('[data-id^="MoveTargetPicker"][data-id$=".folders"]');
    await picker.waitFor();
    await picker.getByText("Trips", { exact: true }).click();
    await picker.waitFor({ state: "detached" });
    await row("Sunset.png").waitFor({ state: "detached" });
    await row("Trips").click();
    await title().filter({ hasText: "Trips" }).waitFor();
    await row("Sunset.png").waitFor();
    await screen().getByRole("button", { name: "Back to Photos" }).click();
    await screen().getByRole("button", { name: "Back to Velune Drive" }).click();
    await title().filter({ hasText: "Velune Drive" }).waitFor();
  });

  test("Delete asks first; Cancel keeps the item, the destructive choice removes it", async () => {
    await screen().getByRole("button", { name: "Select", exact: true }).click();
    await row("Chime.wav").click();
    await title().filter({ hasText: "1 Item Selected" }).waitFor();
    await toolbarButton("Delete").click();
    await page.getByText(/^"Chime\.wav" will be permanently deleted/).waitFor();
    await dialogAction("Cancel").click();
    await title().filter({ hasText: "1 Item Selected" }).waitFor();
    await toolbarButton("Delete").click();
    await dialogAction("Delete from Velune Drive").click();
    await title().filter({ hasText: "Velune Drive" }).waitFor();
    await row("Chime.wav").waitFor({ state: "detached" });
  });

  test("a row's action menu renames the document; a name another item has is refused in the prompt", async () => {
    await row("Budget.csv").getByRole("button", { name: "More" }).click();
    for (const name of ["Rename Item…", "Share Item…", "Move to Folder…", "Cancel"]) await dialogAction(name).waitFor();
    await dialogAction("Rename Item…").click();
    const field = page.locator(".alert-box input");
    await field.waitFor();
    assert.equal(await field.inputValue(), "Budget.csv");
    await field.fill("Costs.csv");
    await dialogAction("Done").click();
    await field.waitFor({ state: "detached" });
    await row("Costs.csv").waitFor();
    // A shared document the user only takes part in cannot be renamed.
    await row("Team Plan.md").getByRole("button", { name: "More" }).click();
    await dialogAction("Rename Item…").waitFor();
    assert.ok(await dialogAction("Rename Item…").isDisabled());
    await dialogAction("Cancel").click();
    await dialogAction("Cancel").waitFor({ state: "detached" });
    assert.deepEqual(browser.problems, []);
  });
});
