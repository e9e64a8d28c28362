// The control panel of the simulated phone: each control posts to
// /api/phone/..., the phone changes as another process would change it, and
// the app (and so the screen) follows. The panel shows the phone's state
// (GET /api/phone) and the log records as they come (/api/log/stream).
"use strict";

(() => {
  const message = document.getElementById("panel-message");
  const lamp = document.getElementById("panel-activity");

  function say(text, isError) {
    message.textContent = text;
    message.classList.toggle("error", !!isError);
  }

  async function post(path, body) {
    try {
      const response = await fetch("/api/phone/" + path, {
        method: "POST",
        headers: { "Content-Type": "application/json" },
        body: JSON.stringify(body),
        credentials: "same-origin",
      });
      const answer = await response.json().catch(() => ({}));
      if (!response.ok) {
        say(answer.error || "The phone refused: " + response.status, true);
        return false;
      }
      say("");
      setTimeout(refresh, 150);
      return answer;
    } catch (error) {
      say("The app does not answer.", true);
      return false;
    }
  }

  function select(group, value) {
    for (const b of group.querySelectorAll("button")) {
      b.setAttribute("aria-checked", String(b.dataset.value === value));
      b.tabIndex = b.dataset.value === value ? 0 : -1;
    }
  }

  const routes = {
    network: (v) => post("network", { network: v }),
    account: (v) => post("account", { account: v }),
    "app-state": (v) => post("app-state", { state: v }),
    idiom: (v) => post("device", { idiom: v }),
    orientation: (v) => post("device", { orientation: v }),
  };
  for (const group of document.querySelectorAll(".segmented")) {
    const control = group.dataset.control;
    group.addEventListener("click", (e) => {
      const b = e.target.closest("button");
      if (!b) return;
      select(group, b.dataset.value);
      routes[control](b.dataset.value);
    });
    group.addEventListener("keydown", (e) => {
      if (e.key !== "ArrowLeft" && e.key !== "ArrowRight") return;
      const buttons = [...group.querySelectorAll("button")];
      const i = buttons.indexOf(document.activeElement);
      const next = buttons[(i + (e.key === "ArrowRight" ? 1 : buttons.length - 1)) % buttons.length];
      next.focus();
      next.click();
    });
  }

  document.getElementById("bandwidth").addEventListener("change", (e) =>
    post("bandwidth", { bytesPerSecond: Number(e.target.value) }));

  const source = document.getElementById("launch-source");
  document.getElementById("launch-form").addEventListener("submit", (e) => {
    e.preventDefault();
    post("launch-url", { url: document.getElementById("launch-url").value, source: source.value }).then((answer) => {
      if (answer) say((answer.handled ? "Opened, sent by " : "Refused by the app, sent by ") + source.value + ".");
    });
  });

  const cloudForm = document.getElementById("cloud-form");
  const op = document.getElementById("cloud-op");
  function showCloudFields() {
    cloudForm.classList.toggle("op-move", op.value === "move");
    cloudForm.classList.toggle("op-text", op.value === "add" || op.value === "modify");
  }
  op.addEventListener("change", showCloudFields);
  showCloudFields();
  cloudForm.addEventListener("submit", (e) => {
    e.preventDefault();
    const body = { op: op.value === "add-folder" ? "add" : op.value, path: document.getElementById("cloud-path").value.trim() };
    if (op.value === "add-folder") body.folder = true;
    if (op.value === "move") body.to = document.getElementById("cloud-to").value.trim();
    if (op.value === "add" || op.value === "modify") body.text = document.getElementById("cloud-text").value;
    post("cloud", body).then((ok) => { if (ok) say("Changed on the cloud side."); });
  });

  // --- The tag dictionary (as another device keeps it) ---
  const kColourNames = ["None", "Grey", "Green", "Purple", "Blue", "Yellow", "Red", "Orange"];
  const tagsList = document.getElementById("tags-list");
  const tagsVersion = document.getElementById("tags-version");
  const tagsProblem = document.getElementById("tags-problem");
  // While the person edits, refreshes do not overwrite the rows.
  let tagsEdited = false;
  let tagsShown = "";

  function tagRow(name, colour) {
    const li = document.createElement("li");
    const swatch = document.createElement("span");
    swatch.className = "swatch c" + colour;
    swatch.setAttribute("aria-hidden", "true");
    const input = document.createElement("input");
    input.type = "text";
    input.value = name;
    input.maxLength = 255;
    input.spellcheck = false;
    input.setAttribute("aria-label", "Tag name");
    const picker = document.createElement("select");
    picker.setAttribute("aria-label", "Colour of " + (name || "the new tag"));
    kColourNames.forEach((label, i) => picker.add(new Option(i + " " + label, String(i))));
    picker.value = String(colour);
    picker.addEventListener("change", () => { swatch.className = "swatch c" + picker.value; });
    input.addEventListener("input", () => picker.setAttribute("aria-label", "Colour of " + (input.value || "the new tag")));
    const remove = document.createElement("button");
    remove.type = "button";
    remove.textContent = "Remove";
    remove.setAttribute("aria-label", "Remove " + (name || "the new tag"));
    remove.addEventListener("click", () => { tagsEdited = true; li.remove(); });
    li.append(swatch, input, picker, remove);
    return li;
  }

  function showTags(dictionary) {
    const text = JSON.stringify(dictionary || {});
    if (tagsEdited || text === tagsShown) return;
    tagsShown = text;
    tagsList.textContent = "";
    tagsProblem.textContent = dictionary && dictionary.problem ? "The store cannot be read: " + dictionary.problem : "";
    for (const tag of (dictionary && dictionary.tags) || []) {
      tagsList.appendChild(tagRow(tag.name, Math.min(7, Math.max(0, Number(tag.colour) || 0))));
    }
    tagsVersion.value = String(dictionary && dictionary.version !== undefined ? dictionary.version : 2);
  }

  const tagsForm = document.getElementById("tags-form");
  tagsForm.addEventListener("input", () => { tagsEdited = true; });
  tagsForm.addEventListener("change", () => { tagsEdited = true; });
  document.getElementById("tags-add").addEventListener("click", () => {
    tagsEdited = true;
    const row = tagRow("", 0);
    tagsList.appendChild(row);
    row.querySelector("input").focus();
  });
  tagsForm.addEventListener("submit", (e) => {
    e.preventDefault();
    const tags = [...tagsList.querySelectorAll("li")]
      .map((li) => ({ name: li.querySelector("input").value.trim(), colour: Number(li.querySelector("select").value) }))
      .filter((tag) => tag.name !== "");
    post("tags", { version: Number(tagsVersion.value), tags }).then((ok) => {
      if (ok) {
        tagsEdited = false;
        tagsShown = "";
        say("Saved the tag dictionary on another device.");
      }
    });
  });

  let filledDefaults = false;
  async function refresh() {
    try {
      const response = await fetch("/api/phone", { credentials: "same-origin" });
      if (!response.ok) return;
      const phone = await response.json();
      select(document.querySelector('[data-control="network"]'), phone.network);
      select(document.querySelector('[data-control="account"]'), phone.account);
      select(document.querySelector('[data-control="app-state"]'), phone.applicationState);
      select(document.querySelector('[data-control="idiom"]'), phone.idiom);
      select(document.querySelector('[data-control="orientation"]'), phone.orientation);
      document.getElementById("account-token").textContent =
        phone.identityToken ? "Identity token " + phone.identityToken : "No account on the phone";
      const bandwidth = document.getElementById("bandwidth");
      if (![...bandwidth.options].some((o) => Number(o.value) === phone.bytesPerSecond)) {
        bandwidth.add(new Option(Math.round(phone.bytesPerSecond / 1000) + " KB/s", phone.bytesPerSecond));
      }
      bandwidth.value = String(phone.bytesPerSecond);
      showTags(phone.tagDictionary);
      lamp.classList.toggle("on", !!phone.networkActivity);
      lamp.setAttribute("aria-label", phone.networkActivity ? "Network activity on" : "Network activity off");
      if (!filledDefaults) {
        filledDefaults = true;
        // Installed applications first; the last one is not installed, and
        // the app hears its URL from an unknown source.
        for (const app of phone.sources || []) {
          const label = app.installed ? app.name + " (" + app.identifier + ")" : app.name + ": " + app.identifier;
          source.add(new Option(label, app.identifier));
        }
        document.getElementById("launch-url").value = "velunedriveapp://" +
          encodeURI(phone.drivePath + "/" + phone.driveRoot + "/Welcome.txt") + "?mode=details";
        document.getElementById("cloud-path").value = phone.driveRoot + "/From another device.txt";
        document.getElementById("cloud-to").value = phone.driveRoot + "/Moved on another device.txt";
      }
    } catch (error) { /* the app is not running: the screen says so */ }
  }
  refresh();
  setInterval(refresh, 2000);
  // The activity lamp also follows the screen's frames (it is in every snapshot).
  setInterval(() => {
    const s = window.veluneScreen && window.veluneScreen.snapshot;
    if (s) lamp.classList.toggle("on", !!s.networkActivity);
  }, 250);

  // --- The log ---
  const list = document.getElementById("log");
  const levelSelect = document.getElementById("log-level");
  let stream = null;
  const kMaxRows = 400;

  function addRecords(records) {
    const atBottom = list.scrollTop + list.clientHeight >= list.scrollHeight - 4;
    for (const record of records) {
      const li = document.createElement("li");
      li.className = "l" + record.level;
      li.dataset.sequence = String(record.sequence);
      const lvl = document.createElement("span");
      lvl.className = "lvl";
      lvl.textContent = String(record.level);
      const text = document.createElement("span");
      text.textContent = record.message;
      const src = document.createElement("span");
      src.className = "src";
      src.textContent = record.function ? "  " + record.function : "";
      if (record.source) src.title = record.source + ":" + record.line;
      li.append(lvl, text, src);
      list.appendChild(li);
    }
    while (list.childElementCount > kMaxRows) list.firstElementChild.remove();
    if (atBottom) list.scrollTop = list.scrollHeight;
  }

  function follow() {
    if (stream) stream.close();
    list.textContent = "";
    stream = new EventSource("/api/log/stream?level=" + levelSelect.value);
    stream.addEventListener("records", (e) => {
      addRecords(JSON.parse(e.data));
      // How far the log has been read, shown records or not.
      list.dataset.through = e.lastEventId;
    });
  }
  levelSelect.addEventListener("change", follow);
  follow();
})();
