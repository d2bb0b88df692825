// The key stands in the address that the command printed. It moves into the tab's memory, so that the address
// can be shown or copied without it, and a reload still works.
function takeKey() {
  const given = new URLSearchParams(location.hash.slice(1)).get("key");
  if (given) {
    sessionStorage.setItem("key", given);
    history.replaceState(null, "", location.pathname);
  }
  return sessionStorage.getItem("key") ?? "";
}

const headers = { "X-Vellora-Key": takeKey() };

export class Refused extends Error {}

// What was asked cannot be answered: too long an address, or a name that none can have.
export class Unanswerable extends Error {}

async function call(path, items, method) {
  const query = Object.entries(items).map(([name, value]) => `${name}=${value}`).join("&");
  const answer = await fetch(`/api/${path}${query && "?"}${query}`, { method, headers });
  if (answer.status === 401) throw new Refused(await answer.text());
  if (answer.status >= 400 && answer.status < 500) throw new Unanswerable(await answer.text());
  if (!answer.ok) throw new Error(await answer.text());
  return answer;
}

export async function get(path, items = {}) {
  return (await call(path, items, "GET")).json();
}

export async function post(path, items = {}) {
  await call(path, items, "POST");
}

export function nameList(names) {
  return names.map(encodeURIComponent).join(",");
}

export function iconAddress(id) {
  return `/api/icon?id=${encodeURIComponent(id)}`;
}
