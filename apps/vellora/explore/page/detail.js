import { get, nameList } from "./api.js";
import { paint } from "./colour.js";
import { copyButtons } from "./copying.js";
import { byId, foreign, make } from "./dom.js";
import { presentationFacts, showThemes } from "./facts.js";
import { failureNote } from "./failure.js";
import { bestIcon, iconImage } from "./icons.js";
import { headlineCard, searchTable } from "./layouts.js";
import { shownLabel, typeOf } from "./types.js";

const panel = byId("detail");
let current = null; // API name
let turn = 0;
let showsTypes = false; // of fields, in the samples' place

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
function completeHeader(header, name, presentation) {
  const { color } = presentation.info;
  const label = shownLabel(presentation.info.label, name);
  paint(header, color);
  header.firstChild.replaceWith(iconImage(bestIcon(presentation), 44, label));
  header.querySelector("h2").textContent = label;
}

function skeleton() {
  return make(
    "div",
    { class: "skeleton" },
    make("p", { class: "unseen" }, "Looking up …"),
    ...Array.from({ length: 3 }, () => make("span", { class: "bone" })),
  );
}

// A part of the panel. `subject` is what its badge speaks of: where a layout came from says nothing of samples.
function part(title, subject) {
  const content = make("div", { "aria-busy": "true" }, skeleton());
  const origin = make("p", { class: "origin quiet" }, subject, " ");
  const element = make("section", { class: "part" }, make("div", { class: "row" }, make("h3", {}, title), origin), content);
  return { element, origin, content };
}

// Fills a part with what a lookup brings, and gives the answer to `render`, which makes its content.
async function fill({ origin, content }, myTurn, lookUp, render) {
  let shown = [];
  try {
    const answer = await lookUp();
    if (myTurn !== turn) return;
    origin.append(badge(answer.source));
    const rendered = render(answer);
    if (answer.failure) shown.push(failureNote(answer.trouble, answer.failure));
    shown.push(rendered ?? make("p", { class: "quiet" }, answer.failure ? "Nothing is cached." : "The server has none."));
  } catch (error) {
    shown = [make("p", { class: "failure" }, error.message)];
  }
  if (myTurn !== turn) return;
  content.replaceChildren(...shown);
  content.removeAttribute("aria-busy");
}

// A layout's place, which is drawn again when the switch is turned, or when the other layout tells more.
function drawnLayout(draw) {
  const place = make("div", {});
  const redraw = () => place.replaceChildren(draw());
  redraw();
  return { place, redraw };
}

function typesSwitch(redraw) {
  const input = make("input", { id: "field-types", type: "checkbox", checked: showsTypes });
  input.addEventListener("change", () => {
    showsTypes = input.checked;
    redraw();
  });
  return make("label", { class: "check" }, input, "Field types instead of samples");
}

function againButton(name) {
  const again = make("button", { type: "button", class: "small", id: "look-up-again" }, "Look up again");
  again.addEventListener("click", () => {
    open(name);
    byId("detail-heading").focus();
  });
  return again;
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

// Looks both layouts up and draws them; what they are is left in `known`.
function fillLayouts(search, compact, myTurn, items, known) {
  const drawn = [];
  const redraw = () => drawn.forEach((layout) => layout.redraw());
  const add = (draw) => {
    drawn.push(drawnLayout(draw));
    return drawn.at(-1).place;
  };
  fill(search, myTurn, () => get("search-layout", items), ({ layout }) => {
    known.search = layout;
    return layout && add(() => searchTable(layout, known.compact, showsTypes));
  });
  fill(compact, myTurn, () => get("compact-layout", items), ({ layout }) => {
    known.compact = layout;
    redraw();
    return layout && add(() => headlineCard(layout, showsTypes));
  });
  return redraw;
}

function fillPresentation(presentation, myTurn, { name, type, header, items, known }) {
  fill(presentation, myTurn, () => get("presentations", items), (answer) => {
    const found = answer.presentations[name];
    if (!found) return undefined;
    known.presentation = found;
    completeHeader(header, name, found);
    const place = make("div", {}, presentationFacts(type, found));
    showThemes(place, name).catch(() => {}); // without them the rest is there
    return place;
  });
}

export function open(name) {
  const myTurn = ++turn;
  current = name;
  const type = typeOf(name);
  const header = makeHeader(shownLabel(type?.label, name), name);
  const [presentation, search, compact] = [
    part("Presentation", "Labels, colours, icons"),
    part("Search result", "Layout"),
    part("Record headline", "Layout"),
  ];
  const known = {};
  const items = { names: nameList([name]) };
  let redraw = () => {};
  const tools = make("div", { class: "tools" }, typesSwitch(() => redraw()), copyButtons(name, () => known));
  panel.replaceChildren(header, tools, compact.element, search.element, presentation.element, againButton(name));
  fillPresentation(presentation, myTurn, { name, type, header, items, known });
  redraw = fillLayouts(search, compact, myTurn, items, known);
}
