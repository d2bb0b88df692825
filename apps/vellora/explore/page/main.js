import { showActivity } from "./activity.js";
import { leave, nameInAddress, noteStep } from "./address.js";
import { get, onNewKey, post, Refused, useKeyIn } from "./api.js";
import { showChanges } from "./changes.js";
import { close, currentName, open } from "./detail.js";
import { byId, foreign, make } from "./dom.js";
import { reason } from "./failure.js";
import { closeFailurePage, isFailurePageOpen, isAttempting, openFailurePage, openWayIn, showAttempt } from "./failurepage.js";
import { showAll } from "./finder.js";
import { server } from "./server.js";
import { isSheet, showSheet } from "./sheet.js";
import { forgetFailed, forgetLayouts } from "./survey.js";
import { focusType, forgetTypes, markCurrent, showIconsAgain } from "./tiles.js";
import { countTypes, setTypes } from "./types.js";

const search = byId("search");
const reachable = byId("reachable");
const notice = byId("notice");
const pollMilliseconds = 700;
const shortestPollMilliseconds = 60; // of a load that has just begun; a longer one is asked for less and less often
let pause = shortestPollMilliseconds;
let lastEntry = 0;
let fetchedAt; // when the object list that is shown was fetched, in seconds
let changesAt = 0; // the number of the changes that this list shows
let failedToReach = false;
let wasReachable = true;
let hasLoaded = false; // a load has gone well since the page was opened
let hasFailed = false; // the last load has failed
let polling; // the next poll's timer
let shownPrefetch = "";
let early; // the list that is asked for together with the first state

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
    make("span", { class: "quiet", title: [state.error, facts].filter(Boolean).join(" ") }, state.error === undefined ? facts : foreign(`${state.error} ${facts}`)),
  );
}

function showNotice(text, isBad = false, ...more) {
  if (notice.firstChild?.data !== text) notice.replaceChildren(text, ...more);
  notice.classList.toggle("bad", isBad);
  notice.hidden = text === "";
}

// The types as they are listed now; what is known of the others is looked up again.
function list(types) {
  byId("skeleton").hidden = true;
  setTypes(types);
  forgetLayouts();
  forgetTypes();
  showAll();
}

function askEarly() {
  early = { asked: performance.now(), types: get("types").catch(() => undefined) };
}

// What was asked for early is good if it was fetched before that.
async function typesOf(age, asked) {
  const isGood = asked && age * 1000 > performance.now() - asked.asked;
  return (isGood && (await asked.types)) || get("types");
}

async function showList(state) {
  const { ageSeconds } = state.sObjects;
  const asked = early;
  early = undefined;
  if (ageSeconds === undefined) return undefined;
  const fetched = Date.now() / 1000 - ageSeconds;
  if (fetchedAt !== undefined && Math.abs(fetched - fetchedAt) < 1 && changesAt === state.changes) return undefined;
  [fetchedAt, changesAt] = [fetched, state.changes];
  const types = await typesOf(ageSeconds, asked);
  if (types.length === 0) fetchedAt = undefined; // the time is written after the list, but read before it
  list(types);
  if (currentName() === null) openFromAddress(false);
  else markCurrent(currentName());
  return undefined;
}

function cachedInWords({ sObjects }, count) {
  return count === 0 ? "" : `The cache has ${count} object types, ${age(sObjects)}.`;
}

async function again() {
  showAttempt();
  await post("prefetch");
  await poll();
}

async function setReachable(isReachable) {
  await post("server", { reachable: isReachable });
  await poll();
}

// Without a list to work with a failure takes its place. Where there is one, a line above it leads there.
function showFailure(state, asksForIt = false) {
  const count = countTypes();
  const isOffline = !state.reachable && count > 0;
  if (state.prefetch === "loaded" || (isOffline && !asksForIt)) return closeFailurePage();
  if (state.prefetch !== "failed" || (isFailurePageOpen() && !isAttempting())) return undefined;
  if (count > 0 && (hasLoaded || currentName() !== null) && !asksForIt) return undefined;
  byId("skeleton").hidden = true;
  return openFailurePage({
    trouble: state.trouble ?? { kind: "other", text: state.error ?? "" },
    server: state.server,
    cached: cachedInWords(state, count),
    retry: again,
    workOffline: () => setReachable(false),
  });
}

function showState(state) {
  if (!state.reachable) return showNotice("The server has been taken away: what you see now is what the cache holds.");
  if (state.prefetch !== "failed" || isFailurePageOpen()) return showNotice("");
  const more = make("button", { type: "button" }, "What can be done");
  more.addEventListener("click", () => showFailure(state, true));
  return showNotice(reason(state.trouble ?? { kind: "other", text: state.error ?? "" }), true, more);
}

async function poll() {
  const state = await get("state", { after: lastEntry });
  lastEntry = state.entries.at(-1)?.number ?? lastEntry;
  [server.address, server.theme] = [state.server, state.theme];
  byId("server").title = state.server;
  byId("server").replaceChildren(foreign(state.server), ` · theme `, foreign(state.theme));
  if (reachable !== document.activeElement || reachable.checked === state.reachable) reachable.checked = state.reachable;
  showPrefetch(state);
  if (state.reachable && !wasReachable) {
    forgetFailed();
    showIconsAgain();
  }
  wasReachable = state.reachable;
  hasLoaded ||= state.prefetch === "loaded";
  hasFailed = state.prefetch === "failed";
  showActivity(state);
  await showList(state);
  if (state.prefetch === "loaded") byId("skeleton").hidden = true;
  showFailure(state);
  showState(state);
  await showChanges(state.changes);
  return state.prefetch === "isLoading";
}

async function live() {
  clearTimeout(polling);
  let isLoading = false;
  try {
    if (!document.hidden) isLoading = await poll();
    failedToReach = false;
  } catch (error) {
    if (error instanceof Refused) return openWayIn(enter);
    // A single failure may be chance.
    if (failedToReach) showNotice("vellora does not answer any more: it has ended, or is busy.", true);
    failedToReach = true;
  }
  clearTimeout(polling);
  polling = setTimeout(live, isLoading ? pause : pollMilliseconds);
  pause = isLoading ? Math.min(pause * 1.25, pollMilliseconds) : shortestPollMilliseconds;
  return undefined;
}

// With another key another run of vellora may answer, whose numbers begin anew.
function enterAgain() {
  lastEntry = 0;
  fetchedAt = undefined;
  closeFailurePage();
  live();
}

function enter(text) {
  useKeyIn(text);
  enterAgain();
}

function openFromAddress(movesFocus = true) {
  noteStep();
  const name = nameInAddress();
  if (name === undefined) return closeOpen();
  open(name);
  markCurrent(name);
  showSheet(true);
  if (movesFocus || isSheet()) byId("detail-heading").focus();
  return undefined;
}

function closeOpen() {
  const name = currentName();
  if (name === null) return;
  close();
  markCurrent(null);
  showSheet(false);
  focusType(name);
}

document.addEventListener("keydown", (event) => {
  const isTyping = event.target instanceof HTMLInputElement && event.target.type === "search";
  if (event.key === "/" && !isTyping && !isSheet() && !event.ctrlKey && !event.metaKey && !event.altKey) {
    event.preventDefault();
    search.focus();
    search.select();
  }
  if (event.key !== "Escape") return;
  if (isSheet()) leave();
  else if (byId("sheet").contains(document.activeElement)) focusType(currentName());
});

addEventListener("hashchange", () => openFromAddress());

onNewKey(enterAgain);

reachable.addEventListener("change", async () => {
  await setReachable(reachable.checked);
  if (reachable.checked && hasFailed) await again();
});

byId("again").addEventListener("click", again);

byId("refresh").addEventListener("click", async ({ target }) => {
  if (target.ariaBusy === "true") return; // one at a time; a button that is disabled would lose the focus
  target.ariaBusy = "true";
  try {
    const { failure } = await post("refresh");
    await poll();
    if (currentName() !== null && failure === undefined) open(currentName());
  } finally {
    target.ariaBusy = "false";
  }
});

byId("skip").addEventListener("click", (event) => {
  event.preventDefault();
  focusType();
});

close();
live();
askEarly();
