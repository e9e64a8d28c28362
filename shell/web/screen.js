// The screen: draws the UI model's snapshot (GET /api/screen, then the
// server-sent updates of /api/updates) and sends a person's input back
// (POST /api/event). Elements are reused by their stable identifier from one
// frame to the next, so focus and typing survive updates.
"use strict";

(() => {
  const screenEl = document.getElementById("screen");
  const deviceEl = document.getElementById("device");
  const windowEl = document.getElementById("window");
  const overlayEl = document.getElementById("overlay");
  const connectionEl = document.getElementById("connection");
  const activityEl = document.getElementById("sb-activity");

  // What the tests and the benchmark read.
  const state = {
    sequence: 0,
    launch: null,
    snapshot: null,
    lastEventSent: 0,
    lastEventToPaint: null,
    paints: 0,
  };
  window.veluneScreen = state;

  let elements = new Map();  // identifier -> DOM element of the last frame
  let pending = null;        // a frame waiting for the next animation frame

  // --- Sending input ---
  // One event at a time, each after the app has applied the one before: sent
  // side by side, text typed into a prompt could reach the app after the tap
  // on its Done button (the server's threads race to the main queue).
  let sending = Promise.resolve();
  // Text typed into a field goes shortly after the last keystroke; any other
  // input sends it first, so a tap on Done acts on what was typed.
  const typing = new Map();  // field identifier -> { timer, field }
  function typed(field) {
    const waiting = typing.get(field.dataset.id);
    if (waiting) clearTimeout(waiting.timer);
    typing.set(field.dataset.id, {
      field,
      timer: setTimeout(() => {
        typing.delete(field.dataset.id);
        send({ type: "type", target: field.dataset.id, text: field.value });
      }, 60),
    });
  }
  function sendTyping() {
    for (const [id, waiting] of typing) {
      clearTimeout(waiting.timer);
      typing.delete(id);
      enqueue({ type: "type", target: id, text: waiting.field.value });
    }
  }
  function send(event) {
    if (event.type !== "type") sendTyping();
    return enqueue(event);
  }
  function enqueue(event) {
    const sent = sending.then(() => post(event));
    sending = sent.catch(() => false);
    return sent;
  }

  async function post(event) {
    state.lastEventSent = performance.now();
    try {
      const response = await fetch("/api/event", {
        method: "POST",
        headers: { "Content-Type": "application/json" },
        body: JSON.stringify(event),
        credentials: "same-origin",
      });
      if (response.status === 401) {
        showLoggedOut();
      }
      return response.ok;
    } catch (error) {
      connectionEl.textContent = "The app does not answer.";
      return false;
    }
  }
  window.veluneSend = send;

  function has(node, action) { return Array.isArray(node.actions) && node.actions.includes(action); }

  // --- Icons of the system bar items ---
  const ICONS = {
    trash: '<path d="M5 7h14M10 7V5h4v2M7 7l1 13h8l1-13" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linecap="round" stroke-linejoin="round"/>',
    organize: '<path d="M3 7h7l2 2h9v10H3z" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linejoin="round"/>',
    action: '<path d="M12 15V3M8 7l4-4 4 4M6 11H5v10h14V11h-1" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linecap="round" stroke-linejoin="round"/>',
    add: '<path d="M12 5v14M5 12h14" stroke="currentColor" stroke-width="1.8" stroke-linecap="round"/>',
    compose: '<path d="M4 20h4L19 9l-4-4L4 16z" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linejoin="round"/>',
    search: '<circle cx="10" cy="10" r="6" fill="none" stroke="currentColor" stroke-width="1.8"/><path d="M15 15l5 5" stroke="currentColor" stroke-width="1.8" stroke-linecap="round"/>',
    refresh: '<path d="M19 12a7 7 0 1 1-2-5M19 4v4h-4" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linecap="round"/>',
    stop: '<path d="M6 6l12 12M18 6L6 18" stroke="currentColor" stroke-width="1.8" stroke-linecap="round"/>',
    bookmarks: '<path d="M6 3h12v18l-6-4-6 4z" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linejoin="round"/>',
    reply: '<path d="M10 6L4 12l6 6M4 12h10a6 6 0 0 1 6 6" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linecap="round"/>',
    camera: '<path d="M3 8h4l2-3h6l2 3h4v11H3z" fill="none" stroke="currentColor" stroke-width="1.6" stroke-linejoin="round"/><circle cx="12" cy="13" r="3.5" fill="none" stroke="currentColor" stroke-width="1.6"/>',
  };
  const WORDS = { done: "Done", cancel: "Cancel", edit: "Edit", save: "Save" };

  function barItemElement(item) {
    if (item.space) {
      return null;
    }
    const button = document.createElement("button");
    button.type = "button";
    button.className = "bar-item" + (item.done ? " done" : "");
    button.dataset.id = item.id;
    const icon = !item.title && ICONS[item.system];
    if (icon) {
      button.innerHTML = '<svg viewBox="0 0 24 24" aria-hidden="true">' + icon + "</svg>";
    } else {
      button.textContent = item.title || WORDS[item.system] || item.label || "";
    }
    button.setAttribute("aria-label", item.label || item.title || item.system || "");
    button.disabled = !has(item, "tap");
    button.addEventListener("click", () => send({ type: "tap", target: item.id }));
    return button;
  }

  // --- Drawing one element ---
  function place(el, frame) {
    el.style.left = frame[0] + "px";
    el.style.top = frame[1] + "px";
    el.style.width = frame[2] + "px";
    el.style.height = frame[3] + "px";
  }

  function fontOf(el, font) {
    if (!font) return;
    el.style.fontSize = font.size + "px";
    el.style.fontWeight = font.bold ? "700" : "400";
  }

  function tagFor(node) {
    if (node.kind === "TextField") return "input";
    if (node.kind === "Button") return "button";
    if (node.kind === "ImageView") return "img";
    return "div";
  }

  function elementFor(node) {
    let el = elements.get(node.id);
    const tag = tagFor(node);
    if (!el || el.tagName.toLowerCase() !== tag) {
      el = document.createElement(tag);
      el.dataset.id = node.id;
      if (tag === "input") {
        el.type = "text";
        el.spellcheck = false;
        el.autocomplete = "off";
        // The field's whole text, shortly after the last keystroke.
        el.addEventListener("input", () => typed(el));
        el.addEventListener("keydown", (e) => {
          if (e.key === "Enter") {
            e.preventDefault();
            send({ type: "return", target: el.dataset.id });  // after the text still waiting
          }
        });
        el.addEventListener("focus", () => send({ type: "tap", target: el.dataset.id }));
      } else if (tag === "button") {
        el.type = "button";
        el.addEventListener("click", (e) => {
          e.stopPropagation();
          send({ type: "tap", target: el.dataset.id });
        });
      } else {
        el.addEventListener("click", (e) => {
          if (el.classList.contains("tappable")) {
            e.stopPropagation();
            send({ type: "tap", target: el.dataset.id });
          }
        });
        el.addEventListener("keydown", (e) => {
          if ((e.key === "Enter" || e.key === " ") && el.classList.contains("tappable") && e.target === el) {
            e.preventDefault();
            send({ type: "tap", target: el.dataset.id });
          }
          if ((e.key === "ContextMenu" || (e.shiftKey && e.key === "F10") || e.key === "Delete") && el.dataset.swipe && e.target === el) {
            e.preventDefault();
            send({ type: "swipe", target: el.dataset.id });
          }
        });
        el.addEventListener("contextmenu", (e) => {
          if (el.dataset.swipe) {
            e.preventDefault();
            e.stopPropagation();
            send({ type: "swipe", target: el.dataset.id });
          }
        });
        attachSwipe(el);
        attachScroll(el);
      }
    }
    return el;
  }

  function attachSwipe(el) {
    let start = null;
    el.addEventListener("pointerdown", (e) => { if (el.dataset.swipe) start = { x: e.clientX, y: e.clientY }; });
    el.addEventListener("pointerup", (e) => {
      if (start && start.x - e.clientX > 40 && Math.abs(e.clientY - start.y) < 30) {
        send({ type: "swipe", target: el.dataset.id });
      }
      start = null;
    });
  }

  function attachScroll(el) {
    let wanted = null;
    el.addEventListener("wheel", (e) => {
      if (!el.dataset.scroll) return;
      e.preventDefault();
      const max = Math.max(0, Number(el.dataset.contentHeight) - el.clientHeight);
      const from = wanted ?? Number(el.dataset.scrollOffset);
      const next = Math.min(max, Math.max(0, from + e.deltaY));
      if (wanted === null) {
        requestAnimationFrame(() => {
          send({ type: "scroll", target: el.dataset.id, offset: wanted });
          wanted = null;
        });
      }
      wanted = next;
    }, { passive: false });
  }

  function svgOf(paths, size) {
    const ns = "http://www.w3.org/2000/svg";
    const svg = document.createElementNS(ns, "svg");
    svg.setAttribute("width", size[0]);
    svg.setAttribute("height", size[1]);
    svg.setAttribute("aria-hidden", "true");
    for (const p of paths) {
      if (p.path) {
        const path = document.createElementNS(ns, "path");
        path.setAttribute("d", p.path);
        path.setAttribute("fill", p.fill ? cssColor(p.fill) : "none");
        if (p.stroke) {
          path.setAttribute("stroke", cssColor(p.stroke));
          path.setAttribute("stroke-width", p.lineWidth || 1);
        }
        if (p.frame && (p.frame[0] || p.frame[1])) {
          path.setAttribute("transform", "translate(" + p.frame[0] + " " + p.frame[1] + ")");
        }
        if (p.alpha !== undefined) path.setAttribute("opacity", p.alpha);
        svg.appendChild(path);
      } else if (p.text !== undefined) {
        const text = document.createElementNS(ns, "text");
        text.setAttribute("x", p.rect[0]);
        text.setAttribute("y", p.rect[1] + p.rect[3] * 0.8);
        text.setAttribute("fill", cssColor(p.color));
        text.textContent = p.text;
        svg.appendChild(text);
      }
      if (p.layers) {
        for (const inner of svgOf(p.layers, size).childNodes) svg.appendChild(inner.cloneNode(true));
      }
    }
    return svg;
  }

  // "#RRGGBBAA" as CSS understands it.
  function cssColor(hex) { return hex || "transparent"; }

  function fillLabel(el, node) {
    el.className = "v label" + (node.lines !== 1 ? " wrap" : "");
    fontOf(el, node.font);
    el.style.color = cssColor(node.color);
    el.style.justifyContent = node.align === "center" ? "center" : node.align === "right" ? "flex-end" : "flex-start";
    el.style.textAlign = node.align || "left";
    let span = el.firstElementChild;
    if (!span || span.tagName !== "SPAN") {
      el.textContent = "";
      span = document.createElement("span");
      el.appendChild(span);
    }
    if (node.lines > 1) span.style.webkitLineClamp = String(node.lines);
    if (node.runs) {
      span.textContent = "";
      for (const run of node.runs) {
        if (run.image) {
          const img = document.createElement("img");
          img.src = run.image.src;
          img.width = run.image.width;
          img.height = run.image.height;
          img.alt = "";
          if (run.bounds) img.style.verticalAlign = run.bounds[1] + "px";
          span.appendChild(img);
        } else {
          const part = document.createElement("span");
          part.textContent = run.text;
          if (run.color) part.style.color = cssColor(run.color);
          if (run.font) fontOf(part, run.font);
          if (run.baseline) part.style.verticalAlign = run.baseline + "px";
          span.appendChild(part);
        }
      }
    } else if (span.textContent !== node.text) {
      span.textContent = node.text;
    }
  }

  function fillNavigationBar(el, node) {
    el.className = "v navbar";
    el.textContent = "";
    const left = document.createElement("div");
    left.className = "side left";
    if (node.back) {
      const back = document.createElement("button");
      back.type = "button";
      back.className = "back";
      back.dataset.id = node.id + ".back";
      back.setAttribute("aria-label", "Back to " + node.back.title);
      back.innerHTML = '<span class="chevron" aria-hidden="true">‹</span>';
      const title = document.createElement("span");
      title.className = "back-title";
      title.textContent = node.back.title;
      back.appendChild(title);
      back.addEventListener("click", () => send({ type: "back", target: node.id }));
      left.appendChild(back);
    }
    for (const item of node.left || []) {
      const b = barItemElement(item);
      if (b) left.appendChild(b);
    }
    el.appendChild(left);
    if (node.title) {
      const title = document.createElement("div");
      title.className = "title";
      title.setAttribute("role", "heading");
      title.setAttribute("aria-level", "1");
      const span = document.createElement("span");
      span.textContent = node.title;
      title.appendChild(span);
      el.appendChild(title);
    }
    const right = document.createElement("div");
    right.className = "side right";
    for (const item of [...(node.right || [])].reverse()) {
      if (item.view) continue;  // a custom view is drawn as a child, where the model put it
      const b = barItemElement(item);
      if (b) right.appendChild(b);
    }
    el.appendChild(right);
  }

  // A back title that would run into the bar's title becomes "Back", and
  // where even that does not fit only the chevron stays.
  function fitBackTitles() {
    for (const bar of windowEl.querySelectorAll(".navbar")) {
      const back = bar.querySelector(".back");
      const title = bar.querySelector(".title span");
      if (!back || !title || !title.textContent) continue;
      const text = back.querySelector(".back-title");
      const limit = () => title.getBoundingClientRect().left - 6;
      if (back.getBoundingClientRect().right <= limit() && text.scrollWidth <= text.clientWidth) continue;
      text.textContent = "Back";
      if (back.getBoundingClientRect().right > limit()) text.hidden = true;
    }
  }

  function fillToolbar(el, node) {
    el.className = "v toolbar";
    el.textContent = "";
    el.setAttribute("role", "toolbar");
    for (const item of node.items || []) {
      if (item.view || item.space) continue;
      const b = barItemElement(item);
      if (!b) continue;
      if (item.frame) {
        b.style.left = item.frame[0] + "px";
        b.style.width = item.frame[2] + "px";
      }
      el.appendChild(b);
    }
  }

  // A document preview: the document in the browser's own viewer, made again
  // only when the document or its revision changes (so media keep playing).
  function fillDocument(el, doc) {
    const path = doc.path || "";
    const key = [doc.viewer || "none", path, doc.revision || 0].join("#");
    if (el.dataset.document === key) return;
    el.dataset.document = key;
    el.textContent = "";
    const src = "/api/file/" + path.split("/").map(encodeURIComponent).join("/") + "?r=" + (doc.revision || 0);
    let viewer;
    if (!path || doc.viewer === "none" || !doc.viewer) {
      viewer = document.createElement("p");
      viewer.className = "no-preview";
      viewer.textContent = doc.name ? "No preview for “" + doc.name + "”" : "";
    } else if (doc.viewer === "image") {
      viewer = document.createElement("img");
      viewer.alt = doc.name || "";
      viewer.src = src;
    } else if (doc.viewer === "audio" || doc.viewer === "video") {
      viewer = document.createElement(doc.viewer);
      viewer.controls = true;
      viewer.preload = "metadata";
      viewer.src = src;
      viewer.setAttribute("aria-label", doc.name || "");
    } else {
      viewer = document.createElement("iframe");
      viewer.title = doc.name || "";
      viewer.src = src;
    }
    viewer.classList.add("document-viewer", "viewer-" + (doc.viewer || "none"));
    el.appendChild(viewer);
  }

  // Another application was handed a document: said once, for a moment.
  let lastOpened = null;
  let sawFrame = false;
  function showOpened(opened) {
    const first = !sawFrame;
    sawFrame = true;
    if (!opened || (lastOpened !== null && opened.sequence <= lastOpened)) return;
    lastOpened = opened.sequence;
    if (first) return;  // an opening from before this page loaded
    const toast = document.getElementById("opened");
    toast.textContent = "Opened “" + opened.name + "” in " + opened.app;
    toast.hidden = false;
    clearTimeout(showOpened.timer);
    showOpened.timer = setTimeout(() => { toast.hidden = true; }, 4000);
  }

  function render(node, seen, depth) {
    const el = elementFor(node);
    seen.set(node.id, el);
    place(el, node.frame);
    el.hidden = !!node.hidden;
    if (node.hidden) {
      return el;
    }
    el.style.opacity = node.alpha !== undefined ? node.alpha : "";
    el.style.background = node.bg ? cssColor(node.bg) : "";
    el.style.borderRadius = node.radius ? node.radius + "px" : "";
    el.style.zIndex = "";

    const tappable = has(node, "tap") && node.kind !== "Button" && node.kind !== "TextField";
    const kindClass = node.kind === "NavigationBar" ? null : node.kind === "Toolbar" ? null : node.kind;
    if (node.kind === "Label") {
      fillLabel(el, node);
    } else if (node.kind === "Button") {
      el.className = "v button";
      fontOf(el, node.font);
      el.style.color = cssColor(node.color);
      el.disabled = node.enabled === false || !has(node, "tap");
      el.textContent = "";
      if (node.image) {
        const img = document.createElement("img");
        img.src = node.image.src;
        img.alt = "";
        img.width = node.image.width;
        img.height = node.image.height;
        el.appendChild(img);
      }
      if (node.title) el.appendChild(document.createTextNode(node.title));
    } else if (node.kind === "ImageView") {
      el.className = "v image";
      if (node.image) {
        if (el.getAttribute("src") !== node.image.src) el.src = node.image.src;
      } else {
        el.removeAttribute("src");
      }
      el.style.objectFit = node.contentMode || "fill";
      el.alt = node.label || "";
    } else if (node.kind === "TextField") {
      el.className = "v field";
      fontOf(el, node.font);
      if (document.activeElement !== el && !typing.has(node.id) && el.value !== node.text) el.value = node.text;
      el.placeholder = node.placeholder || "";
      el.disabled = node.enabled === false;
      el.enterKeyHint = "done";
    } else if (node.kind === "NavigationBar") {
      fillNavigationBar(el, node);
    } else if (node.kind === "Toolbar") {
      fillToolbar(el, node);
    } else if (node.kind === "DocumentPreviewView") {
      el.className = "v k-DocumentPreviewView";
      fillDocument(el, node.document || {});
    } else {
      el.className = "v" + (kindClass ? " k-" + kindClass : "");
      if (!node.children) el.textContent = "";
    }
    if (node.clips) el.classList.add("clips");
    if (node.presentation) el.style.zIndex = "15";
    el.classList.toggle("tappable", tappable);
    if (tappable) {
      el.tabIndex = 0;
      el.setAttribute("role", "button");
    } else if (el.tagName === "DIV") {
      el.removeAttribute("tabindex");
      if (el.getAttribute("role") === "button") el.removeAttribute("role");
    }
    // A label whose text is a symbol (the cloud mark) is named by its accessibility label.
    const namedSymbol = node.kind === "Label" && !tappable && node.label && node.text && node.label !== node.text;
    if (node.label && (tappable || node.kind === "ImageView" || node.kind === "Button" || namedSymbol)) {
      el.setAttribute("aria-label", node.label);
    } else if (node.kind !== "Button") {
      el.removeAttribute("aria-label");
    }
    if (namedSymbol) {
      el.setAttribute("role", "img");
    } else if (el.getAttribute("role") === "img") {
      el.removeAttribute("role");
    }
    if (has(node, "swipe")) el.dataset.swipe = "1"; else delete el.dataset.swipe;
    if (has(node, "scroll")) {
      el.dataset.scroll = "1";
      el.dataset.scrollOffset = node.scrollOffset || 0;
      el.dataset.contentHeight = node.contentHeight || 0;
      el.setAttribute("role", "list");
      el.setAttribute("aria-rowcount", node.rowCount || 0);
    } else {
      delete el.dataset.scroll;
    }

    // Drawn content and shape layers, under the children.
    if (node.drawing || node.layers) {
      const svg = svgOf([...(node.drawing || []), ...(node.layers || [])], [node.frame[2], node.frame[3]]);
      svg.classList.add("layers");
      el.appendChild(svg);
    }

    if (node.presentation && node.presentation.alert) {
      // Alerts and sheets are drawn as the platform draws them (see overlay).
      el.textContent = "";
      return el;
    }
    if (node.children && depth < 120) {
      const keep = new Set();
      let index = 0;
      const staticCount = node.kind === "NavigationBar" || node.kind === "Toolbar" ? el.childNodes.length : 0;
      for (const child of node.children) {
        const childEl = render(child, seen, depth + 1);
        keep.add(childEl);
        const at = el.childNodes[staticCount + index];
        if (at !== childEl) el.insertBefore(childEl, at || null);
        index++;
      }
      for (const stale of [...el.children]) {
        if (stale.dataset && stale.dataset.id && !keep.has(stale) && !stale.classList.contains("bar-item") &&
            !stale.classList.contains("side") && !stale.classList.contains("title")) {
          stale.remove();
        }
      }
    }
    return el;
  }

  // --- Alerts, action sheets and popovers ---
  function findNode(node, id) {
    if (!node) return null;
    if (node.id === id) return node;
    for (const child of node.children || []) {
      const found = findNode(child, id);
      if (found) return found;
    }
    return null;
  }

  function collectPresentations(node, out) {
    if (!node || node.hidden) return out;
    if (node.presentation && node.presentation.alert) out.push(node);
    for (const child of node.children || []) collectPresentations(child, out);
    return out;
  }

  function actionButton(action) {
    const b = document.createElement("button");
    b.type = "button";
    b.className = "alert-action " + action.style;
    b.textContent = action.title;
    b.dataset.id = action.button;
    b.dataset.action = action.id;
    b.disabled = action.enabled === false;
    b.addEventListener("click", () => send({ type: "choose", target: action.id }));
    return b;
  }

  function texts(alert, headingTag) {
    const box = document.createElement("div");
    box.className = "texts";
    if (alert.title) {
      const h = document.createElement(headingTag);
      h.textContent = alert.title;
      box.appendChild(h);
    }
    if (alert.message) {
      const p = document.createElement("p");
      p.textContent = alert.message;
      box.appendChild(p);
    }
    return box;
  }

  function drawPresentation(node, snapshot) {
    const p = node.presentation;
    const alert = p.alert;
    const dim = document.createElement("div");
    dim.className = "dim";
    overlayEl.appendChild(dim);
    const tablet = snapshot.screen.idiom === "tablet";
    if (alert.style === "alert") {
      const box = document.createElement("div");
      box.className = "alert-box";
      box.setAttribute("role", "alertdialog");
      box.setAttribute("aria-modal", "true");
      box.dataset.id = node.id;
      const t = texts(alert, "h2");
      box.appendChild(t);
      if (alert.title) box.setAttribute("aria-label", alert.title);
      for (const fieldId of alert.fields || []) {
        const fieldNode = findNode(node, fieldId) || { id: fieldId, kind: "TextField", text: "", frame: [0, 0, 0, 0] };
        const input = elementFor(fieldNode);
        state.seen.set(fieldId, input);
        input.className = "";
        input.style.cssText = "";
        // Text typed and not yet sent is newer than the model's.
        if (document.activeElement !== input && !typing.has(fieldId) && input.value !== fieldNode.text) {
          input.value = fieldNode.text || "";
        }
        input.placeholder = fieldNode.placeholder || "";
        input.setAttribute("aria-label", fieldNode.placeholder || alert.title || "Name");
        t.appendChild(input);
      }
      if (alert.content) {
        const contentNode = findNode(node, alert.content);
        if (contentNode) {
          const holder = document.createElement("div");
          holder.className = "content";
          holder.style.width = contentNode.frame[2] + "px";
          holder.style.height = contentNode.frame[3] + "px";
          const el = render(Object.assign({}, contentNode, { frame: [0, 0, contentNode.frame[2], contentNode.frame[3]] }), state.seen, 0);
          holder.appendChild(el);
          t.appendChild(holder);
        }
      }
      const actions = document.createElement("div");
      actions.className = "actions" + (alert.actions.length === 2 ? "" : " stacked");
      for (const action of alert.actions) actions.appendChild(actionButton(action));
      box.appendChild(actions);
      overlayEl.appendChild(box);
      return;
    }
    // An action sheet: a popover at its anchor on a tablet, a sheet along the bottom on a phone.
    dim.addEventListener("click", () => send({ type: "dismiss", target: node.id }));
    const anchor = p.anchor && p.anchor.rect;
    if (tablet && anchor) {
      dim.style.background = "rgba(0,0,0,0.12)";
      const pop = document.createElement("div");
      pop.className = "popover";
      pop.setAttribute("role", "dialog");
      pop.setAttribute("aria-modal", "true");
      pop.dataset.id = node.id;
      if (alert.title || alert.message) pop.appendChild(texts(alert, "h2"));
      for (const action of alert.actions) {
        if (action.style !== "cancel") pop.appendChild(actionButton(action));
      }
      overlayEl.appendChild(pop);
      const width = 300;
      const height = pop.offsetHeight;
      const W = snapshot.screen.width;
      const H = snapshot.screen.height;
      let left = Math.min(Math.max(8, anchor[0] + anchor[2] / 2 - width / 2), W - width - 8);
      let top = anchor[1] + anchor[3] + 12;
      const arrow = document.createElement("div");
      arrow.className = "popover-arrow";
      if (top + height > H - 8) {
        top = Math.max(28, anchor[1] - height - 12);
        arrow.style.top = (top + height - 9) + "px";
      } else {
        arrow.style.top = (top - 9) + "px";
      }
      arrow.style.left = (anchor[0] + anchor[2] / 2 - 9) + "px";
      pop.style.left = left + "px";
      pop.style.top = top + "px";
      overlayEl.appendChild(arrow);
      return;
    }
    const sheet = document.createElement("div");
    sheet.className = "sheet";
    sheet.setAttribute("role", "dialog");
    sheet.setAttribute("aria-modal", "true");
    sheet.dataset.id = node.id;
    const group = document.createElement("div");
    group.className = "group";
    if (alert.title || alert.message) group.appendChild(texts(alert, "h2"));
    for (const action of alert.actions) {
      if (action.style !== "cancel") group.appendChild(actionButton(action));
    }
    sheet.appendChild(group);
    for (const action of alert.actions) {
      if (action.style === "cancel") sheet.appendChild(actionButton(action));
    }
    overlayEl.appendChild(sheet);
  }

  // --- A frame ---
  function applyFrame(snapshot) {
    state.snapshot = snapshot;
    state.sequence = snapshot.sequence;
    if (state.launch && state.launch !== snapshot.launch) {
      elements = new Map();
      windowEl.textContent = "";
    }
    state.launch = snapshot.launch;
    const s = snapshot.screen;
    screenEl.style.width = s.width + "px";
    screenEl.style.height = s.height + "px";
    deviceEl.classList.toggle("tablet", s.idiom === "tablet");
    deviceEl.classList.toggle("phone", s.idiom !== "tablet");
    deviceEl.classList.toggle("landscape", s.orientation === "landscape");
    deviceEl.classList.toggle("portrait", s.orientation !== "landscape");
    fitDevice(s);
    document.getElementById("status-bar").hidden = !(s.statusBar && s.statusBar[3] > 0);
    activityEl.hidden = !snapshot.networkActivity;
    showOpened(snapshot.opened);

    const active = document.activeElement;
    const focusedId = active && active.dataset ? active.dataset.id : null;
    const seen = new Map();
    state.seen = seen;
    overlayEl.textContent = "";
    if (snapshot.window) {
      const root = render(snapshot.window, seen, 0);
      if (root.parentNode !== windowEl) {
        windowEl.textContent = "";
        windowEl.appendChild(root);
      }
      const presentations = collectPresentations(snapshot.window, []);
      overlayEl.hidden = presentations.length === 0;
      for (const node of presentations) drawPresentation(node, snapshot);
      const modal = overlayEl.querySelector("[aria-modal]");
      windowEl.inert = presentations.length > 0;
      if (modal && !modal.contains(document.activeElement)) {
        const first = modal.querySelector("input, button:not(:disabled)");
        if (first) first.focus({ preventScroll: true });
      }
    } else {
      windowEl.textContent = "";
      overlayEl.hidden = true;
    }
    elements = seen;
    if (focusedId && seen.get(focusedId) && document.activeElement !== seen.get(focusedId)) {
      seen.get(focusedId).focus({ preventScroll: true });
    }
    fitBackTitles();
    // Painted: the frame after this one has been drawn.
    requestAnimationFrame(() => {
      state.paints++;
      if (state.lastEventSent) {
        state.lastEventToPaint = performance.now() - state.lastEventSent;
      }
      document.body.dataset.sequence = String(snapshot.sequence);
    });
  }

  function fitDevice(s) {
    // The whole device fits beside the panel (or above it on a narrow window).
    const bezel = deviceEl.classList.contains("tablet") ? 44 : 28;
    const narrow = window.innerWidth <= 900;
    const availableHeight = window.innerHeight - 80;
    const availableWidth = window.innerWidth - (narrow ? 48 : 380 + 32 + 48);
    const scale = Math.min(1, availableHeight / (s.height + bezel), availableWidth / (s.width + bezel));
    screenEl.style.transform = scale < 1 ? "scale(" + scale + ")" : "";
    screenEl.parentElement.style.width = (s.width * scale + (deviceEl.classList.contains("tablet") ? 44 : 28)) + "px";
    screenEl.parentElement.style.height = (s.height * scale + (deviceEl.classList.contains("tablet") ? 44 : 28)) + "px";
  }
  window.addEventListener("resize", () => { if (state.snapshot) fitDevice(state.snapshot.screen); });

  function schedule(snapshot) {
    if (snapshot.sequence <= state.sequence && snapshot.launch === state.launch) return;
    pending = snapshot;
    // One drawing per animation frame: a burst of frames draws the newest.
    if (!schedule.waiting) {
      schedule.waiting = true;
      requestAnimationFrame(() => {
        schedule.waiting = false;
        const next = pending;
        pending = null;
        if (next) applyFrame(next);
      });
    }
  }

  // --- Keyboard: Escape closes what is presented, or goes back ---
  document.addEventListener("keydown", (e) => {
    if (e.target.closest && e.target.closest(".panel")) return;
    if (e.key === "Escape") {
      const modal = overlayEl.querySelector("[aria-modal]");
      if (modal) {
        const cancel = modal.querySelector(".alert-action.cancel") || overlayEl.querySelector(".alert-action.cancel");
        if (cancel) cancel.click(); else send({ type: "dismiss", target: modal.dataset.id });
      } else {
        send({ type: "back" });
      }
    } else if (e.altKey && e.key === "ArrowLeft") {
      send({ type: "back" });
    }
  });

  // --- Connection: the first frame, then the stream; after a restart the
  // stream comes back by itself, and a new secret means logging in again ---
  function showLoggedOut() {
    if (document.getElementById("relogin")) return;
    connectionEl.textContent = "The app restarted with a new secret. Paste the address it printed:";
    const form = document.createElement("form");
    form.id = "relogin";
    form.className = "relogin";
    const input = document.createElement("input");
    input.type = "text";
    input.setAttribute("aria-label", "Address printed by the app");
    input.placeholder = "http://127.0.0.1:…/?token=…";
    const go = document.createElement("button");
    go.type = "submit";
    go.className = "primary";
    go.textContent = "Open";
    form.append(input, go);
    form.addEventListener("submit", (e) => {
      e.preventDefault();
      const text = input.value.trim();
      const match = text.match(/token=([0-9a-f]{16,128})/i) || text.match(/^([0-9a-f]{16,128})$/i);
      if (match) location.assign("/?token=" + match[1]);
    });
    connectionEl.after(form);
  }

  async function fetchScreen() {
    try {
      const response = await fetch("/api/screen", { credentials: "same-origin" });
      if (response.status === 401) {
        showLoggedOut();
        return false;
      }
      if (response.ok) {
        schedule(await response.json());
        return true;
      }
    } catch (error) { /* the app is not running */ }
    return false;
  }

  function connect() {
    const source = new EventSource("/api/updates");
    source.addEventListener("screen", (e) => {
      connectionEl.textContent = "Connected";
      schedule(JSON.parse(e.data));
    });
    source.onopen = () => { connectionEl.textContent = "Connected"; };
    source.onerror = async () => {
      connectionEl.textContent = "Reconnecting to the app…";
      if (source.readyState === EventSource.CLOSED) {
        const ok = await fetchScreen();
        setTimeout(connect, ok ? 0 : 1000);
      } else if (!(await fetchScreen())) {
        // A 401 (new secret) closes nothing by itself: stop and say so.
        const probe = await fetch("/api/screen").catch(() => null);
        if (probe && probe.status === 401) source.close();
      }
    };
  }

  fetchScreen().then(connect);
})();
