// What has changed of the object types since they were fetched the time before.
import { get } from "./api.js";
import { byId, foreign, make } from "./dom.js";
import { shownLabel, typeOf } from "./types.js";

const section = byId("changes");
const mostNamed = 24;
let shownNumber = 0;

function named(name, change) {
  const label = shownLabel(typeOf(name)?.label, name);
  const text = change === "removed" ? foreign(name) : make("a", { href: `#/${encodeURIComponent(name)}` }, foreign(label));
  return make("li", { class: change }, text, ` ${change}`);
}

function sentence({ by, since }, entries) {
  const moment = new Intl.DateTimeFormat(undefined, { dateStyle: "medium", timeStyle: "short" });
  const before = `since ${moment.format(new Date(since * 1000))}`;
  const beginning = by === "refresh" ? "Refreshed from the server" : "The list was fetched anew";
  if (entries.length === 0) return `${beginning}: nothing has changed ${before}.`;
  const count = (wanted) => entries.filter(([, change]) => change === wanted).length;
  const counts = ["added", "removed", "changed"].map((word) => [count(word), word]).filter(([number]) => number > 0);
  return `${beginning}: ${counts.map((pair) => pair.join(" ")).join(", ")} ${before}.`;
}

function render(changes) {
  const entries = Object.entries(changes.types);
  const hide = make("button", { type: "button", class: "small" }, "Hide");
  hide.addEventListener("click", () => (section.hidden = true));
  const more = entries.length - mostNamed;
  section.replaceChildren(
    make("p", { role: "status" }, sentence(changes, entries)),
    make("ul", {}, ...entries.slice(0, mostNamed).map(([name, change]) => named(name, change)), more > 0 ? make("li", {}, `and ${more} more`) : undefined),
    hide,
  );
  section.hidden = false;
}

// Shows the changes of that number, unless they are shown already, or nothing has changed at a start.
export async function showChanges(number) {
  if (number === shownNumber) return;
  shownNumber = number;
  const changes = await get("changes");
  if (changes.by === "refresh" || Object.keys(changes.types).length > 0) render(changes);
}
