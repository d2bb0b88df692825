"""Scripts that measure the page in the browser."""

# Begins to count what the page changes in its list and the open type, and how often it has the browser lay out what it has
# changed: by asking where something is, or by scrolling.
COUNT_CHANGES = """
  const counted = (window.counted = { changes: 0, layouts: 0 });
  const count = (records) => {
    for (const { addedNodes, removedNodes } of records) counted.changes += 1 + addedNodes.length + removedNodes.length;
    return records.length > 0;
  };
  const observer = new MutationObserver(count);
  observer.observe(document.querySelector("main"), { subtree: true, childList: true, attributes: true, characterData: true });
  window.note = () => count(observer.takeRecords());
  const asksForLayout = (property) => function (...values) {
    if (note()) ++counted.layouts;
    return property.apply(this, values);
  };
  for (const [type, names] of [[Element, ["clientHeight", "clientWidth", "scrollTop", "scrollHeight", "getBoundingClientRect"]],
                               [HTMLElement, ["offsetHeight", "offsetWidth", "offsetTop"]]]) {
    for (const name of names) {
      const property = Object.getOwnPropertyDescriptor(type.prototype, name);
      for (const part of ["get", "set", "value"]) if (property[part]) property[part] = asksForLayout(property[part]);
      Object.defineProperty(type.prototype, name, property);
    }
  }
"""

# What typing these texts changes, and how long each takes with the layout that it causes, in milliseconds.
TYPE = """
  const search = document.querySelector("#search");
  const rows = document.querySelector("#rows");
  rows.getBoundingClientRect();
  note();
  Object.assign(counted, { changes: 0, layouts: 0 });
  const times = arguments[0].map((text) => {
    const start = performance.now();
    search.value = text;
    search.dispatchEvent(new Event("input"));
    const { layouts } = counted;
    rows.getBoundingClientRect();
    counted.layouts = layouts;
    return performance.now() - start;
  });
  return { ...counted, times };
"""

# Opens a type; what that changes until all of it is shown, and how long it takes, in milliseconds.
OPEN = """
  const [name, done] = arguments;
  note();
  Object.assign(counted, { changes: 0, layouts: 0 });
  const start = performance.now();
  const whole = () => document.querySelector("#detail .name")?.textContent === name && !document.querySelector("#detail [aria-busy]")
    && document.querySelectorAll("#detail .theme").length === 2;
  const look = new MutationObserver(() => {
    if (!whole()) return;
    look.disconnect();
    note();
    done({ ...counted, times: [performance.now() - start] });
  });
  look.observe(document.querySelector("#detail"), { subtree: true, childList: true, attributes: true });
  location.hash = `#/${name}`;
"""

# The contrast of each icon's strongest point with its ground, as the browser draws it.
ICON_CONTRASTS = """
  const luminance = (colour) => colour.map((part) => part / 255)
    .map((share) => share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4)
    .reduce((sum, share, i) => sum + share * [0.2126, 0.7152, 0.0722][i], 0);
  const canvas = new OffscreenCanvas(24, 24).getContext("2d", { willReadFrequently: true });
  return [...document.querySelectorAll(arguments[0])].map((image) => {
    const ground = getComputedStyle(image.closest(".swatch, .head, .thumb, .look")).backgroundColor.match(/\\d+/g).map(Number);
    canvas.clearRect(0, 0, 24, 24);
    canvas.filter = getComputedStyle(image).filter;
    canvas.drawImage(image, 0, 0, 24, 24);
    const { data } = canvas.getImageData(0, 0, 24, 24);
    let most = 0;
    for (let at = 0; at < data.length; at += 4) {
      if (data[at + 3] < 250) continue;
      const [dark, light] = [luminance([...data.slice(at, at + 3)]), luminance(ground)].sort((a, b) => a - b);
      most = Math.max(most, (light + 0.05) / (dark + 0.05));
    }
    return most;
  });
"""

# How many words there are, and those that stand on two lines although one would have held them. A chance to break,
# <wbr>, ends a word.
BROKEN_WORDS = """
  const broken = [];
  let measured = 0;
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    if (!node.parentElement.checkVisibility({ visibilityProperty: true }) || node.parentElement.closest("noscript")) continue;
    let block = node.parentElement;
    while (getComputedStyle(block).display.startsWith("inline")) block = block.parentElement;
    for (const { 0: word, index } of node.data.matchAll(/[^\\s/-]+/g)) {
      ++measured;
      const range = document.createRange();
      range.setStart(node, index);
      range.setEnd(node, index + word.length);
      const boxes = [...range.getClientRects()].filter(({ width }) => width > 0);
      const width = boxes.reduce((sum, box) => sum + box.width, 0);
      if (new Set(boxes.map(({ top }) => Math.round(top))).size > 1 && width <= block.clientWidth) broken.push(word);
    }
  }
  return [measured, broken];
"""

# How many rings there are around what can have the focus, and the texts that such a ring covers.
COVERED_TEXTS = """
  const clipped = (box, element) => {
    for (let at = element; at && at !== document.body; at = at.parentElement) {
      if (getComputedStyle(at).overflow === "visible") continue;
      const { left, right, top, bottom } = at.getBoundingClientRect();
      box = { left: Math.max(box.left, left), right: Math.min(box.right, right), top: Math.max(box.top, top), bottom: Math.min(box.bottom, bottom) };
    }
    return box;
  };
  const texts = [];
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    if (!node.data.trim() || !node.parentElement.checkVisibility({ visibilityProperty: true })) continue;
    const range = document.createRange();
    range.selectNodeContents(node);
    const size = parseFloat(getComputedStyle(node.parentElement).fontSize);
    for (const box of range.getClientRects()) {
      const middle = (box.top + box.bottom) / 2; // of the letters, which are lower than their line
      const letters = { left: box.left, right: box.right, top: middle - size * 0.45, bottom: middle + size * 0.45 };
      texts.push({ text: node.data.trim().slice(0, 40), ...clipped(letters, node.parentElement) });
    }
  }
  const meets = (one, other) => one.left < other.right - 1 && one.right > other.left + 1 && one.top < other.bottom - 1 && one.bottom > other.top + 1;
  const lies = (text, box) => text.left >= box.left - 1 && text.right <= box.right + 1 && text.top >= box.top - 1 && text.bottom <= box.bottom + 1;
  const around = ({ left, right, top, bottom }, away) => ({ left: left - away, right: right + away, top: top - away, bottom: bottom + away });
  const covered = new Set();
  let rings = 0;
  for (const element of document.querySelectorAll("a:not(.skip), button, input, select, summary, [tabindex]")) {
    if (!element.checkVisibility({ visibilityProperty: true })) continue;
    element.focus({ focusVisible: true, preventScroll: true });
    const style = getComputedStyle(element);
    if (document.activeElement !== element || style.outlineStyle === "none") continue;
    ++rings;
    const inner = around(element.getBoundingClientRect(), parseFloat(style.outlineOffset));
    const outer = clipped(around(inner, parseFloat(style.outlineWidth)), element.parentElement);
    for (const text of texts) {
      const isSeen = text.right > text.left && text.bottom > text.top;
      if (isSeen && meets(text, outer) && !lies(text, inner)) covered.add(`${element.id || element.className || element.tagName}: ${text.text}`);
    }
  }
  document.activeElement.blur();
  return [rings, [...covered]];
"""
