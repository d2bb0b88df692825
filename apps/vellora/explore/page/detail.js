import { get, nameList } from "./api.js";
import { paint } from "./colour.js";
import { byId, foreign, make } from "./dom.js";
import { bestIcon, iconImage, loadIcon } from "./icons.js";
import { sample, sampleCount } from "./samples.js";
import { typeOf } from "./types.js";

const panel = byId("detail");
let current = null; // API name
let turn = 0;

const sourceTexts = { cache: "from the cache", network: "from the network", nowhere: "not available" };

function badge(source) {
  return make("span", { class: `badge ${source}` }, sourceTexts[source] ?? source);
}

function makeHeader(label, name) {
  return make(
    "div",
    { class: "head" },
    iconImage(undefined, 44, label),
    make(
      "div",
      {},
      foreign(label, "h2", { id: "detail-heading", tabindex: "-1" }),
      foreign(name, "p", { class: "name" }),
    ),
  );
}

// The heading stays the same element: it may have the focus.
function completeHeader(header, presentation) {
  const { label, color } = presentation.info;
  paint(header, color);
  header.firstChild.replaceWith(iconImage(bestIcon(presentation), 44, label));
  header.querySelector("h2").textContent = label;
}

function row(term, ...values) {
  return make("div", {}, make("dt", {}, term), make("dd", {}, ...values));
}

function iconRow(term, address, id, colour) {
  if (address === undefined) return row(term, make("span", { class: "quiet" }, "none"));
  const swatch = make("span", { class: "thumb" });
  paint(swatch, colour);
  if (id !== undefined) {
    const image = make("img", { alt: "", width: 20, height: 20 });
    image.addEventListener("error", () => image.remove());
    loadIcon(image, id, true);
    swatch.append(image);
  }
  return row(
    term,
    id === undefined ? make("span", { class: "quiet" }, "not loaded, not this server's: ") : swatch,
    foreign(address, "code", {}),
  );
}

function presentationFacts(type, presentation) {
  const { info, svgIcon, smallIcon, largeIcon } = presentation;
  const swatch = make("span", { class: "thumb" });
  paint(swatch, info.color);
  return make(
    "dl",
    { class: "facts" },
    row("Label", foreign(info.label ?? "")),
    row("Plural", foreign(info.labelPlural ?? "")),
    row("Key prefix", type?.keyPrefix ? make("code", {}, type.keyPrefix) : make("span", { class: "quiet" }, "none")),
    row("Records", info.createable ? "can be created" : "cannot be created"),
    info.color === undefined
      ? row("Colour", make("span", { class: "quiet" }, "none"))
      : row("Colour", swatch, foreign(info.color, "code", {})),
    iconRow("Vector icon", info.svgIconUrl, svgIcon, info.color),
    iconRow("Small icon", info.smallIconUrl, smallIcon, info.color),
    iconRow("Large icon", info.largeIconUrl, largeIcon, info.color),
  );
}

function searchTable(layout) {
  if (layout.searchColumns.length === 0) return make("p", { class: "quiet" }, "It has no columns.");
  const heads = layout.searchColumns.map((column) =>
    make("th", { scope: "col", title: column.field }, foreign(column.label), foreign(column.field, "code", {})),
  );
  const rows = Array.from({ length: sampleCount }, (_, index) =>
    make(
      "tr",
      { "aria-hidden": "true" },
      ...layout.searchColumns.map((column, at) => make("td", {}, sample(column.format ?? "string", index, at))),
    ),
  );
  return make(
    "div",
    { class: "scroll", tabindex: "0", role: "region", "aria-label": "Search columns" },
    make("table", {}, make("thead", {}, make("tr", {}, ...heads)), make("tbody", {}, ...rows)),
  );
}

function headlineField(field, at) {
  const parts = (field.layoutFields ?? []).map((part) => part.label).join(", ");
  return make(
    "div",
    {},
    make("dt", {}, foreign(field.label)),
    make(
      "dd",
      {},
      make("span", { class: "sample", "aria-hidden": "true" }, sample(field.fieldType, 0, at)),
      foreign(parts ? `${field.apiName}: ${parts}` : field.apiName, "code", {}),
    ),
  );
}

function headlineCard(layout) {
  if (layout.layoutFields.length === 0) return make("p", { class: "quiet" }, "It has no fields.");
  return make("dl", { class: "headline" }, ...layout.layoutFields.map(headlineField));
}

function part(title) {
  const content = make("div", { "aria-busy": "true" }, make("p", { class: "quiet" }, "Looking up …"));
  const heading = make("h3", {}, title);
  return { element: make("section", { class: "part" }, make("div", { class: "row" }, heading), content), heading, content };
}

async function fill({ heading, content }, myTurn, lookUp, render) {
  let shown = [];
  try {
    const answer = await lookUp();
    if (myTurn !== turn) return;
    heading.after(badge(answer.source));
    const rendered = render(answer);
    if (answer.failure) shown.push(make("p", { class: "failure" }, foreign(answer.failure)));
    shown.push(rendered ?? make("p", { class: "quiet" }, answer.failure ? "Nothing is cached." : "The server has none."));
  } catch (error) {
    shown = [make("p", { class: "failure" }, error.message)];
  }
  if (myTurn !== turn) return;
  content.replaceChildren(...shown);
  content.removeAttribute("aria-busy");
}

export function close() {
  ++turn;
  current = null;
  panel.replaceChildren(
    make("h2", { id: "detail-heading" }, "Nothing chosen yet"),
    make("p", { class: "quiet" }, "Choose an object type to see what an app would show of it. The key / leads to the search."),
  );
}

export function currentName() {
  return current;
}

export function open(name) {
  const myTurn = ++turn;
  current = name;
  const type = typeOf(name);
  const header = makeHeader(type?.label ?? name, name);
  const again = make("button", { type: "button", class: "small" }, "Look up again");
  again.addEventListener("click", () => {
    open(name);
    byId("detail-heading").focus();
  });
  const [presentation, search, compact] = [
    part("Presentation"),
    part("Search result"),
    part("Record headline"),
  ];
  panel.replaceChildren(header, compact.element, search.element, presentation.element, again);
  const items = { names: nameList([name]) };
  fill(presentation, myTurn, () => get("presentations", items), (answer) => {
    const found = answer.presentations[name];
    if (!found) return undefined;
    completeHeader(header, found);
    return presentationFacts(type, found);
  });
  fill(search, myTurn, () => get("search-layout", items), (answer) => answer.layout && searchTable(answer.layout));
  fill(compact, myTurn, () => get("compact-layout", items), (answer) => answer.layout && headlineCard(answer.layout));
}
