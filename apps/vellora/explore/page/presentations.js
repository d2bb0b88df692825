// What an app shows of object types, looked up in batches as it is wanted.
import { get, nameList, Unanswerable } from "./api.js";

const presentations = new Map(); // by API name
const wanted = new Set(); // names that are to be looked up
let asking = false;

const batchSize = 60;
// In characters of an address. The whole head of a request may have 32,768.
const longestList = 8000;
const longestName = 20000;

export function knownPresentations() {
  return presentations;
}

// The first of the wanted names: one, and more as long as they fit into one address.
function nextBatch() {
  const batch = [];
  for (const name of wanted) {
    if (batch.length === batchSize) break;
    if (batch.length > 0 && nameList([...batch, name]).length > longestList) break;
    batch.push(name);
  }
  return batch;
}

async function ask(batch, show, fail) {
  try {
    const answer = await get("presentations", { names: nameList(batch) });
    for (const name of batch) {
      if (Object.hasOwn(answer.presentations, name)) {
        const presentation = answer.presentations[name];
        presentations.set(name, presentation);
        show(name, presentation);
      } else if (Object.hasOwn(answer.missing ?? {}, name)) {
        fail(name, answer.missing[name]);
      }
    }
  } catch (error) {
    // One name must not take the others with it.
    if (error instanceof Unanswerable && batch.length > 1) {
      for (const name of batch) await ask([name], show, fail);
    } else {
      for (const name of batch) fail(name, error.message);
    }
  }
}

// Looks names up, one batch after the other, and calls `show(name, presentation)` for each that is found, and
// `fail(name, reason)` for each that could not be looked up.
export async function wantPresentations(names, show, fail) {
  for (const name of names) {
    if (name === "") fail(name, "it has no name.");
    else if (nameList([name]).length > longestName) fail(name, "its name is too long.");
    else wanted.add(name);
  }
  if (asking || wanted.size === 0) return;
  asking = true;
  const batch = nextBatch();
  batch.forEach((name) => wanted.delete(name));
  await ask(batch, show, fail);
  asking = false;
  wantPresentations([], show, fail);
}

export function wantNoPresentations() {
  wanted.clear();
}

// What is known is of an older list.
export function forgetPresentations() {
  presentations.clear();
}
