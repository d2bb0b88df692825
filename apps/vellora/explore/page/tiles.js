// The grid of object types: tiles, or a list. It is one tab stop; keys lead from type to type.
import { cellsOf, forgetAllCells, forgetCells, linkOf, setAsList, showFailure, showPresentation } from "./cells.js";
import { byId } from "./dom.js";
import { target } from "./gridkeys.js";
import { lookUpAgain, wantOnly } from "./presentations.js";
import { Rows } from "./rows.js";

const scroller = byId("list");
const grid = byId("tiles");
const body = byId("rows");
const head = byId("list-head");
const probe = byId("probe"); // as wide as the narrowest column and as high as a row
const contents = new WeakMap(); // what a row's element holds
const rows = new Rows(scroller, body, fill);
let shown = []; // entries in their order
let columns = 1;
let active; // API name of the type that Tab leads to
let current = null; // API name of the open type
let noteFirst = () => {};

function isList() {
  return grid.dataset.view === "list";
}

function fill(row, number) {
  const entries = shown.slice(number * columns, (number + 1) * columns);
  const before = contents.get(row);
  if (before?.length === entries.length && entries.every((entry, at) => entry === before[at])) return;
  contents.set(row, entries);
  row.replaceChildren(...entries.flatMap(({ type }) => cellsOf(type)));
  for (const { type } of entries) dress(type.name);
}

// Which link Tab leads to, and which type is open.
function dress(name) {
  const link = linkOf(name);
  if (!link) return;
  link.tabIndex = name === active ? 0 : -1;
  if (name === current) link.setAttribute("aria-current", "true");
  else link.removeAttribute("aria-current");
}

// The number of a type in `shown`; undefined where it isn't listed.
function positionOf(name) {
  for (let at = 0; at < shown.length; ++at) {
    if (shown[at].type.name === name) return at;
  }
  return undefined;
}

function rowOf(name) {
  return Math.floor((positionOf(name) ?? 0) / columns);
}

function activate(name) {
  const before = active;
  active = name;
  rows.pin(rowOf(name));
  rows.render();
  dress(before);
  dress(name);
}

function seen() {
  rows.render();
  noteSeen();
}

function noteSeen() {
  forgetCells();
  wantOnly([...body.querySelectorAll("[data-name]")].map(({ dataset }) => dataset.name), showPresentation, showFailure);
  noteFirst(rows.first * columns);
}

// Reads all that it has to know of the page before it writes: each reading after a writing costs a layout.
function layOut() {
  rows.measure();
  const { width, height } = probe.getBoundingClientRect();
  columns = isList() ? 1 : Math.max(1, Math.floor(body.clientWidth / width));
  grid.style.setProperty("--columns", columns);
  grid.setAttribute("aria-colcount", isList() ? head.childElementCount : columns);
  const count = Math.ceil(shown.length / columns);
  grid.setAttribute("aria-rowcount", count + (isList() ? 1 : 0));
  rows.pin(rowOf(active));
  rows.set(count, height, isList() ? 1 : 0);
  noteSeen();
}

// After a change of size or view: what was seen first stays so.
function layOutAgain() {
  rows.measure();
  const first = shown[rows.first * columns]?.type.name;
  layOut();
  if (first !== undefined && scroller.scrollTop > 0) rows.scrollTo(rowOf(first));
}

// Lists these entries. Where the focus was on a type, it is afterwards.
export function show(entries) {
  const hadFocus = body.contains(document.activeElement);
  shown = entries;
  if (entries.length === 0 && !body.hasChildNodes()) return; // while the page starts there is nothing to lay out
  if (positionOf(active) === undefined) active = positionOf(current) === undefined ? entries[0]?.type.name : current;
  layOut();
  dress(active);
  if (hadFocus && !body.contains(document.activeElement)) linkOf(active)?.focus({ preventScroll: true });
}

// Makes all cells anew: what they show may have changed.
function forgetContents() {
  forgetAllCells();
  for (const row of body.children) contents.delete(row);
}

// After a change of the types, which are looked up again.
export function forgetTypes() {
  lookUpAgain();
  forgetContents();
}

export function showView(view) {
  if (grid.dataset.view === view) return;
  const wasAtTop = shown.length === 0 || scroller.scrollTop === 0;
  const first = shown[rows.first * columns]?.type.name;
  grid.dataset.view = view;
  head.hidden = view !== "list";
  setAsList(view === "list");
  forgetContents();
  if (shown.length === 0) return;
  layOut();
  if (first !== undefined && !wasAtTop) rows.scrollTo(rowOf(first));
}

// Once the server is back: what it could not send may be there now.
export function showIconsAgain() {
  forgetTypes();
  show(shown);
}

export function markCurrent(name) {
  const before = current;
  current = name;
  dress(before);
  dress(name);
  if (positionOf(name) !== undefined) activate(name);
}

function focusAt(at) {
  const name = shown[at].type.name;
  activate(name);
  rows.reveal(rowOf(name));
  linkOf(name).focus({ preventScroll: true });
}

// The type's link gets the focus, or the one that Tab leads to where this type isn't listed.
export function focusType(name) {
  const at = positionOf(name) ?? positionOf(active);
  if (at !== undefined) focusAt(at);
}

export function focusFirst() {
  if (shown.length > 0) focusAt(0);
}

export function openFirst() {
  if (shown.length === 0) return;
  activate(shown[0].type.name);
  linkOf(active).click();
}

export function toTop() {
  scroller.scrollTop = 0;
}

// Shows the entry of that number as the first one, and has Tab lead there.
export function leadTo(at) {
  activate(shown[at].type.name);
  rows.scrollTo(Math.floor(at / columns));
}

// Calls `note` with the number of the entry that is seen first, after each scrolling.
export function onScroll(note) {
  noteFirst = note;
}

grid.addEventListener("keydown", (event) => {
  const name = event.target.closest("[data-name]")?.dataset.name;
  if (name === undefined || event.altKey || event.ctrlKey || event.metaKey || event.shiftKey) return;
  const to = target(event.key, positionOf(name), { count: shown.length, columns, page: rows.page });
  if (to === undefined) return;
  event.preventDefault();
  if (to === "out") byId("search").focus();
  else focusAt(to);
});

grid.addEventListener("focusin", ({ target: focused }) => {
  const name = focused.closest("[data-name]")?.dataset.name;
  if (name !== undefined && name !== active) activate(name);
});

// The whole line of a list leads where its link leads.
body.addEventListener("click", ({ target: clicked }) => {
  if (!clicked.closest("a") && isList()) clicked.closest(".row-of-types")?.querySelector("a")?.click();
});

scroller.addEventListener("scroll", seen, { passive: true });
new ResizeObserver(layOutAgain).observe(scroller);
new ResizeObserver(layOutAgain).observe(probe);
