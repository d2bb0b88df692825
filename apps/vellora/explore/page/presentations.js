// What an app shows of object types, looked up in batches as it is wanted.
import { get, nameList } from "./api.js";

const presentations = new Map(); // by API name
const wanted = new Set(); // names that are to be looked up
let asking = false;

const batchSize = 60;

export function knownPresentations() {
  return presentations;
}

// Looks names up, one batch after the other, and calls `show(name, presentation)` for each that is found.
export async function wantPresentations(names, show) {
  names.forEach((name) => wanted.add(name));
  if (asking || wanted.size === 0) return;
  asking = true;
  const batch = [...wanted].slice(0, batchSize);
  batch.forEach((name) => wanted.delete(name));
  try {
    const answer = await get("presentations", { names: nameList(batch) });
    for (const [name, presentation] of Object.entries(answer.presentations)) {
      presentations.set(name, presentation);
      show(name, presentation);
    }
  } catch {
    // The page's state says why; the tiles stay plain.
  }
  asking = false;
  wantPresentations([], show);
}

export function wantNoPresentations() {
  wanted.clear();
}
