// The object types that the page lists, and their orders.

const types = new Map(); // by API name
const lists = new Map(); // by order: entries of all types, made when they are first asked for

const unseen = /^[\p{White_Space}\p{Cc}\p{Cf}]*$/u;
const leadingSigns = /^[^\p{L}\p{N}]+/u;
let collator; // made for the first list, while the page waits for nothing

// What stands for a type in a list; a label that nobody can see does not.
export function shownLabel(label, name) {
  return [label, name].find((text) => !unseen.test(text ?? "")) ?? "No name";
}

// What each order compares. Signs before the letters of a label don't count.
const orders = {
  label: ({ label, name }) => shownLabel(label, name).replace(leadingSigns, ""),
  name: ({ name }) => name,
  prefix: ({ keyPrefix }) => keyPrefix ?? "",
};

// Scripts of so many letters that each would stand for few types.
const ofManyLetters = /[\p{Script=Han}\p{Script=Hangul}\p{Script=Hiragana}\p{Script=Katakana}]/u;

function letterOf(text) {
  const [first] = text.normalize("NFD").replace(leadingSigns, "");
  if (first === undefined || ofManyLetters.test(first)) return "…";
  return /\p{N}/u.test(first) ? "#" : first.toUpperCase();
}

function makeEntry(type, text) {
  const searched = [type.label, type.labelPlural, type.name].join("\n").toLowerCase();
  return { type, text, searched, letter: letterOf(text) };
}

// Types without a text to compare come last.
function compare(left, right) {
  collator ??= new Intl.Collator();
  if ((left.text === "") !== (right.text === "")) return left.text === "" ? 1 : -1;
  return collator.compare(left.text, right.text) || collator.compare(left.type.name, right.type.name);
}

// All types in an order of "label", "name" and "prefix", as entries of `type` and `letter`.
export function sorted(order) {
  if (!lists.has(order)) {
    const entries = [...types.values()].map((type) => makeEntry(type, orders[order](type)));
    lists.set(order, entries.sort(compare));
  }
  return lists.get(order);
}

// Lists these types instead of those before.
export function setTypes(listed) {
  types.clear();
  lists.clear();
  for (const type of listed) types.set(type.name, type);
}

export function typeOf(name) {
  return types.get(name);
}

export function countTypes() {
  return types.size;
}

// What tells whether what a user typed means a type; undefined where nothing is typed.
function test(query) {
  if (!query) return undefined;
  const lower = query.toLowerCase();
  // A record's id, whole or begun: it begins with its type's prefix.
  const id = /^[0-9a-z]{3,}$/i.test(query) ? query : "";
  return ({ searched, type }) => searched.includes(lower) || (type.keyPrefix && id.startsWith(type.keyPrefix));
}

// The entries that match what was typed and that each of `filters(type)` wants, in their order.
export function select({ text, order, descending, filters }) {
  let found = sorted(order);
  const matches = test(text.trim());
  if (matches) found = found.filter(matches);
  for (const keeps of filters) found = found.filter(({ type }) => keeps(type));
  return descending ? [...found].reverse() : found;
}
