import { get, iconAddress, nameList } from "./api.js";
import { paint } from "./colour.js";
import { byId, foreign, make } from "./dom.js";

const list = byId("tiles");
const types = new Map(); // by API name, as are the next two
const tiles = new Map();
const presentations = new Map();
const wanted = new Set(); // names of tiles that came into view and have no presentation yet
let asking = false;

const batchSize = 60;

const watcher = new IntersectionObserver(
  (entries) => {
    for (const { isIntersecting, target } of entries) {
      if (!isIntersecting || !tiles.has(target.dataset.name)) continue;
      watcher.unobserve(target);
      wanted.add(target.dataset.name);
    }
    askForWanted();
  },
  { rootMargin: "400px" },
);

async function askForWanted() {
  if (asking || wanted.size === 0) return;
  asking = true;
  const names = [...wanted].slice(0, batchSize);
  names.forEach((name) => wanted.delete(name));
  try {
    const answer = await get("presentations", { names: nameList(names) });
    for (const [name, presentation] of Object.entries(answer.presentations)) {
      presentations.set(name, presentation);
      show(name, presentation);
    }
  } catch {
    // The page's state says why; the tiles stay plain.
  }
  asking = false;
  askForWanted();
}

export function initials(text) {
  const letters = [...String(text).replace(/[^\p{L}\p{N}]/gu, "")];
  return letters.slice(0, 2).join("") || "?";
}

// The icon, or in its place the initials. It is decoration: the label stands beside it.
export function iconImage(id, size, label) {
  const place = make("span", { class: "icon", "aria-hidden": "true" });
  const fallBack = () => place.replaceChildren(make("span", { class: "initials" }, initials(label)));
  if (id === undefined) {
    fallBack();
    return place;
  }
  const image = make("img", { alt: "", width: size, height: size });
  image.addEventListener("error", fallBack, { once: true });
  image.src = iconAddress(id);
  place.append(image);
  return place;
}

export function bestIcon(presentation) {
  return presentation.svgIcon ?? presentation.largeIcon ?? presentation.smallIcon;
}

function show(name, presentation) {
  const tile = tiles.get(name);
  if (!tile) return;
  const swatch = tile.querySelector(".swatch");
  paint(swatch, presentation.info.color);
  swatch.replaceChildren(iconImage(bestIcon(presentation), 30, presentation.info.label));
}

// Once the server is back: what it could not send may be there now.
export function showIconsAgain() {
  for (const [name, presentation] of presentations) show(name, presentation);
}

function makeTile(type) {
  const link = make(
    "a",
    { class: "tile", href: `#/${encodeURIComponent(type.name)}` },
    make("span", { class: "swatch", "aria-hidden": "true" }),
    foreign(type.label, "span", { class: "label" }),
    foreign(type.name, "span", { class: "name" }),
  );
  const item = make("li", {}, link);
  item.dataset.name = type.name;
  return item;
}

// By their letters, whatever signs stand before them.
function byLabel(left, right) {
  const letters = ({ label }) => label.replace(/^[^\p{L}\p{N}]+/u, "");
  return letters(left).localeCompare(letters(right));
}

export function showTypes(listed) {
  watcher.disconnect();
  wanted.clear();
  types.clear();
  tiles.clear();
  for (const type of [...listed].sort(byLabel)) {
    types.set(type.name, type);
    tiles.set(type.name, makeTile(type));
  }
  list.replaceChildren(...tiles.values());
  for (const [name, tile] of tiles) {
    const known = presentations.get(name);
    if (known) show(name, known);
    watcher.observe(tile);
  }
}

function matches(type, query) {
  if (!query) return true;
  if ([type.label, type.labelPlural, type.name].some((text) => text.toLowerCase().includes(query.toLowerCase())))
    return true;
  // A record's id, whole or begun: its first three characters tell its type.
  return query.length >= 3 && /^[0-9a-z]+$/i.test(query) && query.startsWith(type.keyPrefix ?? " ");
}

// Shows the tiles that match and says how many of how many.
export function filter(query) {
  let shown = 0;
  for (const [name, tile] of tiles) {
    tile.hidden = !matches(types.get(name), query.trim());
    if (!tile.hidden) ++shown;
  }
  return { shown, all: tiles.size };
}

export function visibleLinks() {
  return [...list.querySelectorAll("li:not([hidden]) > a")];
}

export function linkOf(name) {
  return tiles.get(name)?.firstElementChild;
}

export function typeOf(name) {
  return types.get(name);
}

export function markCurrent(name) {
  list.querySelector("[aria-current]")?.removeAttribute("aria-current");
  linkOf(name)?.setAttribute("aria-current", "true");
}

function columnsOf(links) {
  const tops = links.map((link) => link.parentElement.offsetTop);
  const second = tops.findIndex((top) => top !== tops[0]);
  return second < 0 ? links.length : second;
}

// Arrow keys walk over the tiles as they lie; Home and End lead to the first and the last.
list.addEventListener("keydown", (event) => {
  const links = visibleLinks();
  const at = links.indexOf(document.activeElement);
  if (at < 0 || event.altKey || event.ctrlKey || event.metaKey) return;
  const columns = columnsOf(links);
  const target = {
    ArrowLeft: at - 1,
    ArrowRight: at + 1,
    ArrowUp: at - columns,
    ArrowDown: at + columns,
    Home: 0,
    End: links.length - 1,
  }[event.key];
  if (target === undefined) return;
  event.preventDefault();
  if (event.key === "ArrowUp" && target < 0) byId("search").focus();
  else links[Math.max(0, Math.min(links.length - 1, target))].focus();
});
