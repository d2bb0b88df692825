// The key stands in the address that the command printed. Once it was accepted it moves into the storage of this
// origin, which belongs to this very port: so the address can be shown or copied without it, and works in a second
// tab and after a reload. A cookie would go to every port of this machine.
const place = "vellora-key";

const headers = { "X-Vellora-Key": "" };

function stored() {
  try {
    return localStorage.getItem(place);
  } catch {
    return null; // the browser stores nothing for this page
  }
}

function store(key) {
  if (key === stored()) return;
  try {
    if (key === null) localStorage.removeItem(place);
    else localStorage.setItem(place, key);
  } catch {
    // the tab goes on with the key that it has
  }
}

// Takes the key out of the address, if there is one; tells whether there was.
function takeKeyFromAddress() {
  const given = new URLSearchParams(location.hash.slice(1)).get("key");
  if (!given) return false;
  headers["X-Vellora-Key"] = given;
  history.replaceState(null, "", location.pathname);
  return true;
}

// Uses the key of a text that somebody typed: the address that the command printed, or its end.
export function useKeyIn(text) {
  headers["X-Vellora-Key"] = /([0-9a-f]+)\s*$/i.exec(text)?.[1] ?? "";
}

// Calls `callback` when another key has come: with an address in this tab, or from another tab.
export function onNewKey(callback) {
  addEventListener("hashchange", () => takeKeyFromAddress() && callback());
  addEventListener("storage", ({ key, newValue }) => {
    if (key !== place || !newValue) return;
    headers["X-Vellora-Key"] = newValue;
    callback();
  });
}

if (!takeKeyFromAddress()) headers["X-Vellora-Key"] = stored() ?? "";

export class Refused extends Error {}

// What was asked cannot be answered: too long an address, or a name that none can have.
export class Unanswerable extends Error {}

async function call(path, items, method) {
  const key = headers["X-Vellora-Key"];
  const query = Object.entries(items).map(([name, value]) => `${name}=${value}`).join("&");
  const answer = await fetch(`/api/${path}${query && "?"}${query}`, { method, headers });
  if (answer.status === 401) {
    if (key === stored()) store(null);
    throw new Refused(await answer.text());
  }
  store(key);
  if (answer.status >= 400 && answer.status < 500) throw new Unanswerable(await answer.text());
  if (!answer.ok) throw new Error(await answer.text());
  return answer;
}

export async function get(path, items = {}) {
  return (await call(path, items, "GET")).json();
}

// The document that the answer brings, if it brings one.
export async function post(path, items = {}) {
  const answer = await call(path, items, "POST");
  return answer.status === 204 ? undefined : answer.json();
}

export function nameList(names) {
  return names.map(encodeURIComponent).join(",");
}

export function iconAddress(id) {
  return `/api/icon?id=${encodeURIComponent(id)}`;
}
