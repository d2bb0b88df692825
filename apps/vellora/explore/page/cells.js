// The cells that show object types. Those made lately are kept, so that their icons need not be loaded again.
import { paint } from "./colour.js";
import { foreign, make } from "./dom.js";
import { bestIcon, iconImage, resumeIcon } from "./icons.js";
import { knownPresentations } from "./presentations.js";
import { shownLabel } from "./types.js";

const mostKept = 600; // types
const made = new Map(); // cells by API name, the latest last
let asList = false;

function link({ name, label, keyPrefix }) {
  const shown = shownLabel(label, name);
  return make(
    "a",
    { class: "tile", href: `#/${encodeURIComponent(name)}`, tabindex: "-1" },
    make("span", { class: "swatch", "aria-hidden": "true" }),
    foreign(shown, "span", { class: "label", title: shown }),
    make("span", { class: "names" }, foreign(name, "span", { class: "name", title: name }), make("code", {}, keyPrefix ?? "")),
  );
}

function cell(properties, ...children) {
  return make("div", { role: "gridcell", ...properties }, ...children);
}

function listCells(type) {
  const line = link(type);
  line.lastChild.remove();
  return [
    cell({ class: "cell", "data-name": type.name }, line),
    cell({ class: "cell" }, foreign(type.name, "span", { class: "name", title: type.name })),
    cell({ class: "cell prefix" }, make("code", {}, type.keyPrefix ?? "")),
    cell({ class: "cell createable" }, type.createable ? "Yes" : make("span", { class: "quiet" }, "No")),
  ];
}

function makeCells(type) {
  const cells = asList ? listCells(type) : [cell({ class: "cell", "data-name": type.name }, link(type))];
  made.set(type.name, cells);
  const known = knownPresentations().get(type.name);
  if (known) showPresentation(type.name, known);
  return cells;
}

// The cells of a type, which go into its row.
export function cellsOf(type) {
  const cells = made.get(type.name) ?? makeCells(type);
  made.delete(type.name);
  made.set(type.name, cells);
  resumeIcon(cells[0].querySelector("img"));
  return cells;
}

// The link of a type whose cells are in the page.
export function linkOf(name) {
  const link = made.get(name)?.[0].firstElementChild;
  return link?.isConnected ? link : undefined;
}

export function showPresentation(name, presentation) {
  const [cell] = made.get(name) ?? [];
  if (!cell) return;
  const swatch = cell.querySelector(".swatch");
  paint(swatch, presentation.info.color);
  swatch.replaceChildren(iconImage(bestIcon(presentation), asList ? 18 : 30, shownLabel(presentation.info.label, name)));
  cell.querySelector(".failure")?.remove();
}

// A type that could not be looked up says why.
export function showFailure(name, reason) {
  const [cell] = made.get(name) ?? [];
  if (!cell || cell.querySelector(".failure")) return;
  const text = `Not looked up: ${reason}`;
  (cell.querySelector(".names") ?? cell.firstElementChild).append(foreign(text, "span", { class: "failure", title: text }));
}

// Lets go of cells that are not in the page, the oldest first.
export function forgetCells() {
  for (const [name, [cell]] of made) {
    if (made.size <= mostKept) return;
    if (!cell.isConnected) made.delete(name);
  }
}

export function forgetAllCells() {
  made.clear();
}

// Whether cells that are made from now on are those of a list's line, and no tiles.
export function setAsList(value) {
  asList = value;
}
