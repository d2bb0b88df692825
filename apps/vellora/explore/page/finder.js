// What of the types is shown, in which order and how: search, filters, sort and view.
import { byId } from "./dom.js";
import { markLetter, onLetter, showLetters } from "./letters.js";
import { countFailed, Survey } from "./survey.js";
import * as grid from "./tiles.js";
import { countTypes, select, sorted } from "./types.js";

const search = byId("search");
const order = byId("order");
const direction = byId("direction");
const chips = [...document.querySelectorAll("[data-filter]")];
const views = [...document.querySelectorAll("[data-view-button]")];
const looking = byId("looking");
const surveys = { icon: new Survey("icon", update), layout: new Survey("layout", update) };
const keeping = {
  createable: ({ createable }) => createable,
  fixed: ({ createable }) => !createable,
  icon: ({ name }) => surveys.icon.lacks(name),
  layout: ({ name }) => surveys.layout.lacks(name),
};
const excluding = { createable: "fixed", fixed: "createable" };
let shown = [];

function isPressed(button) {
  return button.getAttribute("aria-pressed") === "true";
}

function press(button, isDown) {
  button.setAttribute("aria-pressed", String(isDown));
}

function pressed() {
  return chips.filter(isPressed).map(({ dataset }) => dataset.filter);
}

function selectBy(filters) {
  return select({
    text: search.value,
    order: order.value,
    descending: isPressed(direction),
    filters: filters.map((filter) => keeping[filter]),
  });
}

function number(count) {
  return count < 1000 ? String(count) : count.toLocaleString("en"); // what formats numbers takes long to load
}

function showCount(filters) {
  const all = countTypes();
  const isNarrowed = search.value.trim() !== "" || filters.length > 0;
  const text = isNarrowed ? `${number(shown.length)} of ${number(all)}` : number(all);
  const asked = filters.some((filter) => filter in surveys);
  const failed = asked ? countFailed(candidates(filters).map(({ type }) => type.name)) : 0;
  const parts = [all === 0 ? "None yet" : shown.length === 0 ? "Nothing matches" : text];
  if (failed > 0) parts.push(`${number(failed)} could not be looked up`);
  if (byId("count").textContent !== parts.join(" · ")) byId("count").textContent = parts.join(" · ");
}

// What the filters would keep if nothing lacked anything.
function candidates(filters) {
  return selectBy(filters.filter((filter) => !(filter in surveys)));
}

function showOrder() {
  for (const head of document.querySelectorAll("#list-head [data-order]")) {
    const isChosen = head.dataset.order === order.value;
    const sort = isChosen ? (isPressed(direction) ? "descending" : "ascending") : "none";
    head.parentElement.setAttribute("aria-sort", sort);
  }
}

function showProgress(filters) {
  const running = filters.map((filter) => surveys[filter]?.progress).find((progress) => progress && progress.done < progress.all);
  looking.hidden = !running;
  if (!running) return;
  looking.max = running.all;
  looking.value = running.done;
}

function update() {
  const filters = pressed();
  shown = selectBy(filters);
  byId("nothing").hidden = countTypes() === 0 || shown.length > 0;
  grid.show(shown);
  showLetters(sorted(order.value), isPressed(direction), shown);
  showCount(filters);
  showProgress(filters);
}

function wantSurveys() {
  const filters = pressed();
  for (const [kind, survey] of Object.entries(surveys)) {
    survey.want(filters.includes(kind) ? candidates(filters).map(({ type }) => type.name) : []);
  }
}

function remember() {
  const view = views.find(isPressed).dataset.viewButton;
  localStorage.setItem("list", JSON.stringify({ view, order: order.value, descending: isPressed(direction) }));
}

// As the user left it, in this browser.
function recall() {
  try {
    const kept = JSON.parse(localStorage.getItem("list"));
    if ([...order.options].some(({ value }) => value === kept.order)) order.value = kept.order;
    press(direction, kept.descending === true);
    chooseView(kept.view === "list" ? "list" : "tiles");
  } catch {
    chooseView("tiles"); // nothing is kept, or what another program has kept
  }
}

function chooseView(view) {
  for (const button of views) press(button, button.dataset.viewButton === view);
  grid.showView(view);
}

// After a choice of the user's.
function chosen() {
  grid.toTop(); // before anything is changed: what is scrolled has to be laid out
  wantSurveys();
  update();
}

// After a change of the types.
export function showAll() {
  wantSurveys();
  update();
}

for (const chip of chips) {
  chip.addEventListener("click", () => {
    press(chip, !isPressed(chip));
    const other = chips.find(({ dataset }) => dataset.filter === excluding[chip.dataset.filter]);
    if (other && isPressed(chip)) press(other, false);
    chosen();
  });
}

for (const button of views) {
  button.addEventListener("click", () => {
    chooseView(button.dataset.viewButton);
    remember();
  });
}

function sortBy(key, descending) {
  order.value = key;
  press(direction, descending);
  remember();
  showOrder();
  chosen();
}

// A head sorts by its column; the second time the other way round.
byId("list-head").addEventListener("click", ({ target }) => {
  const key = target.closest("[data-order]")?.dataset.order;
  if (key) sortBy(key, key === order.value && !isPressed(direction));
});
order.addEventListener("change", () => sortBy(order.value, isPressed(direction)));
direction.addEventListener("click", () => sortBy(order.value, !isPressed(direction)));

search.addEventListener("input", chosen);
search.addEventListener("keydown", (event) => {
  if (event.key === "ArrowDown") {
    event.preventDefault();
    grid.focusFirst();
  }
  if (event.key === "Enter") grid.openFirst();
});

byId("show-all").addEventListener("click", () => {
  search.value = "";
  chips.forEach((chip) => press(chip, false));
  chosen();
  search.focus();
});

onLetter(grid.leadTo);
grid.onScroll((at) => markLetter(shown[at]?.letter));
recall();
showOrder();
update();
