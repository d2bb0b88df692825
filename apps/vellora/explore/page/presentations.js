// What an app shows of object types, looked up in batches as it is wanted.
import { get, nameList, Unanswerable } from "./api.js";
import { refusal, takeBatch } from "./batches.js";

const presentations = new Map(); // by API name
const asked = new Set(); // names whose lookup is under way or has been answered since the types were listed
const reasons = new Map(); // why names could not be looked up
const wanted = new Set(); // names that are to be looked up
let asking = false;

export function knownPresentations() {
  return presentations;
}

function take(name, answer, show, fail) {
  if (Object.hasOwn(answer.presentations, name)) {
    const presentation = answer.presentations[name];
    presentations.set(name, presentation);
    show(name, presentation);
  } else if (Object.hasOwn(answer.missing ?? {}, name)) {
    fail(name, answer.missing[name]);
  }
}

async function ask(batch, show, fail) {
  try {
    const answer = await get("presentations", { names: nameList(batch) });
    for (const name of batch) take(name, answer, show, fail);
  } catch (error) {
    // One name must not take the others with it.
    if (error instanceof Unanswerable && batch.length > 1) {
      for (const name of batch) await ask([name], show, fail);
    } else {
      for (const name of batch) fail(name, error.message);
    }
  }
}

// Looks up a batch of the names, which it takes out of them. Calls `show(name, presentation)` for each that is found,
// and `fail(name, reason)` for each that could not be looked up.
export async function lookUpSome(names, show, fail) {
  const note = (name, reason) => {
    reasons.set(name, reason);
    fail(name, reason);
  };
  const batch = takeBatch(names);
  batch.forEach((name) => asked.add(name));
  const [refused, good] = [batch.filter(refusal), batch.filter((name) => !refusal(name))];
  refused.forEach((name) => note(name, refusal(name)));
  if (good.length > 0) await ask(good, show, note);
}

// Looks these names up, one batch after the other, and no longer those that were wanted before.
export async function wantOnly(names, show, fail) {
  wanted.clear();
  for (const name of names) {
    if (reasons.has(name)) fail(name, reasons.get(name));
    else if (!asked.has(name)) wanted.add(name);
  }
  if (asking) return;
  asking = true;
  while (wanted.size > 0) await lookUpSome(wanted, show, fail);
  asking = false;
}

// What is known is looked up again when it is wanted next.
export function lookUpAgain() {
  wanted.clear();
  asked.clear();
  reasons.clear();
}
