import { byId, foreign, make } from "./dom.js";

const list = byId("entries");
const totals = byId("totals");
const onlyNetwork = byId("network-only");
const log = byId("log"); // folded away until asked for
const mostLines = 120;
let groups = []; // newest first

let times; // made with the first line that is shown: it takes as long as the whole page's start

function timeOf({ at }) {
  times ??= new Intl.DateTimeFormat(undefined, { hour: "2-digit", minute: "2-digit", second: "2-digit", hour12: false });
  return times.format(new Date(at * 1000));
}

export function size(bytes) {
  if (bytes < 1000) return `${bytes} B`;
  return bytes < 1e6 ? `${(bytes / 1e3).toFixed(1)} kB` : `${(bytes / 1e6).toFixed(1)} MB`;
}

// Rows of one table that were treated alike make one line.
function keyOf(entry) {
  return entry.source === "cache" ? `${entry.what.split(":")[0]} ${entry.outcome}` : `entry ${entry.number}`;
}

function add(entry) {
  const key = keyOf(entry);
  const newest = groups[0];
  if (newest?.key === key) {
    newest.count += 1;
    newest.bytes += entry.bytes;
    newest.entry = entry;
  } else {
    groups.unshift({ key, entry, count: 1, bytes: entry.bytes });
  }
}

// Without percent-encoding, queries are easier to read.
function readable(what) {
  try {
    return decodeURIComponent(what);
  } catch {
    return what;
  }
}

function line({ entry, count, bytes }) {
  const numbers = [
    count > 1 ? `× ${count}` : "",
    bytes > 0 ? size(bytes) : "",
    entry.milliseconds === undefined ? "" : `${entry.milliseconds.toFixed(0)} ms`,
  ].filter(Boolean);
  return make(
    "li",
    { class: entry.source },
    make("time", {}, timeOf(entry)),
    make("span", { class: `badge ${entry.source}` }, entry.source),
    foreign(entry.outcome, "span", { class: "outcome" }),
    make("span", { class: "numbers" }, numbers.join(" · ")),
    foreign(entry.source === "prefetch" ? "" : readable(entry.what), "code", {}),
  );
}

function render() {
  if (!log.open) return;
  const shown = groups.filter(({ entry }) => !onlyNetwork.checked || entry.source === "network");
  list.replaceChildren(...shown.slice(0, mostLines).map(line));
}

function total(term, text) {
  return make("div", {}, make("dt", {}, term), make("dd", {}, text));
}

export function showActivity(state) {
  const { hits, misses, requests, answers, failures, bytesFromCache, bytesFromNetwork } = state.totals;
  const underWay = requests - answers - failures;
  totals.replaceChildren(
    total("Cache", `${hits} found · ${misses} not · ${size(bytesFromCache)}`),
    total("Network", `${answers} answered · ${failures} failed · ${size(bytesFromNetwork)}${underWay > 0 ? ` · ${underWay} under way` : ""}`),
  );
  if (state.entries.length === 0) return;
  state.entries.forEach(add);
  groups = groups.slice(0, 400);
  render();
}

onlyNetwork.addEventListener("change", render);
log.addEventListener("toggle", render);
