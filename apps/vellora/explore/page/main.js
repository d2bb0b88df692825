import { showActivity } from "./activity.js";
import { get, post, Refused } from "./api.js";
import { close, currentName, open } from "./detail.js";
import { byId, foreign, make } from "./dom.js";
import { filter, linkOf, markCurrent, showIconsAgain, showTypes, visibleLinks } from "./tiles.js";

const search = byId("search");
const reachable = byId("reachable");
const notice = byId("notice");
const pollMilliseconds = 700;
let lastEntry = 0;
let fetchedAt; // when the object list that is shown was fetched, in seconds
let failedToReach = false;
let wasReachable = true;
let shownPrefetch = "";

const prefetchTexts = { isLoading: "Loading", loaded: "Loaded", failed: "Failed" };

function age(cache) {
  if (cache.ageSeconds === undefined) return "never fetched";
  const seconds = Math.max(0, cache.ageSeconds);
  const text = seconds < 90 ? `${Math.round(seconds / 5) * 5} s` : seconds < 5400 ? `${Math.round(seconds / 60)} min` : `${Math.round(seconds / 3600)} h`;
  return `${text} old, ${cache.fresh ? "fresh" : "expired"}`;
}

function showPrefetch(state) {
  const facts = `Types ${age(state.sObjects)} · themes ${age(state.themes)}`;
  const text = JSON.stringify([state.prefetch, state.error, facts]);
  if (text === shownPrefetch) return; // a live region speaks whenever it is written to
  shownPrefetch = text;
  byId("prefetch").replaceChildren(
    make("span", { class: `pill ${state.prefetch}` }, prefetchTexts[state.prefetch] ?? state.prefetch),
    make("span", { class: "quiet" }, state.error === undefined ? facts : foreign(`${state.error} ${facts}`)),
  );
}

function showNotice(text, isBad = false) {
  if (notice.textContent !== text) notice.textContent = text;
  notice.classList.toggle("bad", isBad);
  notice.hidden = text === "";
}

function showCount() {
  const { shown, all } = filter(search.value);
  const text = search.value.trim() ? `${shown} of ${all}` : `${all}`;
  byId("count").textContent = all === 0 ? "None yet" : shown === 0 ? "Nothing matches" : text;
}

async function showList(state) {
  const { ageSeconds } = state.sObjects;
  if (ageSeconds === undefined) return showCount();
  const fetched = Date.now() / 1000 - ageSeconds;
  if (fetchedAt !== undefined && Math.abs(fetched - fetchedAt) < 1) return undefined;
  fetchedAt = fetched;
  const types = await get("types");
  if (types.length === 0) fetchedAt = undefined; // the time is written after the list, but read before it
  showTypes(types);
  showCount();
  if (currentName() === null) openFromAddress(false);
  else markCurrent(currentName());
  return undefined;
}

async function poll() {
  const state = await get("state", { after: lastEntry });
  lastEntry = state.entries.at(-1)?.number ?? lastEntry;
  byId("server").replaceChildren(foreign(state.server), ` · theme `, foreign(state.theme));
  if (reachable !== document.activeElement || reachable.checked === state.reachable) reachable.checked = state.reachable;
  showPrefetch(state);
  showNotice(state.reachable ? "" : "The server has been taken away: what you see now is what the cache holds.");
  if (state.reachable && !wasReachable) showIconsAgain();
  wasReachable = state.reachable;
  showActivity(state);
  await showList(state);
}

async function live() {
  try {
    if (!document.hidden) await poll();
    failedToReach = false;
  } catch (error) {
    if (error instanceof Refused) return showNotice(error.message, true);
    // A single failure may be chance.
    if (failedToReach) showNotice("vellora does not answer any more: it has ended, or is busy.", true);
    failedToReach = true;
  }
  setTimeout(live, pollMilliseconds);
  return undefined;
}

function openFromAddress(movesFocus = true) {
  const name = /^#\/(.+)$/.exec(location.hash)?.[1];
  if (name === undefined) return;
  let decoded;
  try {
    decoded = decodeURIComponent(name);
  } catch {
    return;
  }
  open(decoded);
  markCurrent(decoded);
  if (movesFocus) byId("detail-heading").focus();
}

search.addEventListener("input", showCount);

search.addEventListener("keydown", (event) => {
  const [first] = visibleLinks();
  if (event.key === "ArrowDown" && first) {
    event.preventDefault();
    first.focus();
  }
  if (event.key === "Enter") first?.click();
});

document.addEventListener("keydown", (event) => {
  const isTyping = event.target instanceof HTMLInputElement && event.target.type === "search";
  if (event.key === "/" && !isTyping && !event.ctrlKey && !event.metaKey && !event.altKey) {
    event.preventDefault();
    search.focus();
    search.select();
  }
  if (event.key === "Escape" && byId("detail").contains(document.activeElement)) linkOf(currentName())?.focus();
});

addEventListener("hashchange", () => openFromAddress());

reachable.addEventListener("change", async () => {
  await post("server", { reachable: reachable.checked });
  await poll();
});

byId("again").addEventListener("click", async () => {
  await post("prefetch");
  await poll();
});

close();
live();
