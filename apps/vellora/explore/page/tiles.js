import { walkWithArrowKeys } from "./arrowkeys.js";
import { paint } from "./colour.js";
import { byId, foreign, make } from "./dom.js";
import { bestIcon, iconImage } from "./icons.js";
import { knownPresentations, wantNoPresentations, wantPresentations } from "./presentations.js";
import { matches, setTypes } from "./types.js";

const list = byId("tiles");
const tiles = new Map(); // by API name

// A tile gets its presentation when it comes into view.
const watcher = new IntersectionObserver(
  (entries) => {
    const seen = entries
      .filter(({ isIntersecting, target }) => isIntersecting && tiles.has(target.dataset.name))
      .map(({ target }) => target);
    seen.forEach((tile) => watcher.unobserve(tile));
    wantPresentations(seen.map((tile) => tile.dataset.name), show, showFailure);
  },
  { rootMargin: "400px" },
);

function show(name, presentation) {
  const tile = tiles.get(name);
  if (!tile) return;
  const swatch = tile.querySelector(".swatch");
  paint(swatch, presentation.info.color);
  swatch.replaceChildren(iconImage(bestIcon(presentation), 30, presentation.info.label));
  tile.querySelector(".failure")?.remove();
}

// A tile that cannot be filled says why.
function showFailure(name, reason) {
  const link = linkOf(name);
  if (!link || link.querySelector(".failure")) return;
  link.append(foreign(`Not looked up: ${reason}`, "span", { class: "failure" }));
}

// Once the server is back: what it could not send may be there now.
export function showIconsAgain() {
  for (const [name, presentation] of knownPresentations()) show(name, presentation);
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

export function showTypes(listed) {
  watcher.disconnect();
  wantNoPresentations();
  tiles.clear();
  for (const type of setTypes(listed)) tiles.set(type.name, makeTile(type));
  list.replaceChildren(...tiles.values());
  for (const [name, tile] of tiles) {
    const known = knownPresentations().get(name);
    if (known) show(name, known);
    watcher.observe(tile);
  }
}

// Shows the tiles that match and says how many of how many.
export function filter(query) {
  let shown = 0;
  for (const [name, tile] of tiles) {
    tile.hidden = !matches(name, query.trim());
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

export function markCurrent(name) {
  list.querySelector("[aria-current]")?.removeAttribute("aria-current");
  linkOf(name)?.setAttribute("aria-current", "true");
}

walkWithArrowKeys(list, visibleLinks, () => byId("search").focus());
