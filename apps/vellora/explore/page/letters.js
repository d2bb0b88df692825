// The first letters of the types: each leads to the first type of its letter. They are one tab stop.
import { byId, make } from "./dom.js";

const strip = byId("letters");
const known = new WeakMap(); // letters of lists of entries
let firsts = new Map(); // numbers of the entries that are the first of their letters
let lead = () => {};

function buttons() {
  return [...strip.children];
}

function makeButton(letter) {
  return make("button", { type: "button", tabindex: "-1", "data-letter": letter }, letter);
}

function stopAt(button) {
  for (const other of buttons()) other.tabIndex = other === button ? 0 : -1;
}

function lettersOf(all) {
  if (!known.has(all)) known.set(all, [...new Set(all.map(({ letter }) => letter))]);
  return known.get(all);
}

function firstsOf(entries) {
  const found = new Map();
  let before;
  for (let at = 0; at < entries.length; ++at) {
    const { letter } = entries[at];
    if (letter !== before && !found.has(letter)) found.set(letter, at);
    before = letter;
  }
  return found;
}

// Shows the letters of all entries; those that no shown entry begins with lead nowhere.
export function showLetters(all, descending, shown) {
  const letters = descending ? [...lettersOf(all)].reverse() : lettersOf(all);
  if (letters.join() !== buttons().map(({ dataset }) => dataset.letter).join()) {
    strip.replaceChildren(...letters.map(makeButton));
    stopAt(strip.firstElementChild);
  }
  firsts = firstsOf(shown);
  for (const button of buttons()) {
    const leadsNowhere = String(!firsts.has(button.dataset.letter));
    if (button.getAttribute("aria-disabled") !== leadsNowhere) button.setAttribute("aria-disabled", leadsNowhere);
  }
  strip.hidden = letters.length < 2;
}

// Marks the letter of the entry that is seen first.
export function markLetter(letter) {
  const marked = strip.querySelector("[aria-current]");
  if (marked?.dataset.letter === letter) return;
  marked?.removeAttribute("aria-current");
  buttons().find(({ dataset }) => dataset.letter === letter)?.setAttribute("aria-current", "true");
}

// Calls `leadTo` with the number of the entry that a letter leads to.
export function onLetter(leadTo) {
  lead = leadTo;
}

strip.addEventListener("click", ({ target }) => {
  const button = target.closest("[data-letter]");
  if (!button) return;
  stopAt(button);
  if (firsts.has(button.dataset.letter)) lead(firsts.get(button.dataset.letter));
});

strip.addEventListener("keydown", (event) => {
  const all = buttons();
  const at = all.indexOf(document.activeElement);
  const to = { ArrowLeft: at - 1, ArrowRight: at + 1, Home: 0, End: all.length - 1 }[event.key];
  if (at < 0 || to === undefined || !all[to]) return;
  event.preventDefault();
  stopAt(all[to]);
  all[to].focus();
});
