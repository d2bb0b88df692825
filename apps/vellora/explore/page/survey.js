// Finds out which types lack an icon or a layout. That is known of a type once it has been looked up.
import { get, nameList } from "./api.js";
import { refusal, takeBatch } from "./batches.js";
import { showFailure, showPresentation } from "./cells.js";
import { knownPresentations, lookUpSome } from "./presentations.js";

const layouts = new Map(); // whether a type of this API name lacks one
const failed = new Set(); // API names that could not be looked up

function lacksIcon(name) {
  const info = knownPresentations().get(name)?.info;
  return info && [info.svgIconUrl, info.smallIconUrl, info.largeIconUrl].every((address) => address === undefined);
}

function lookUpIcons(names) {
  return lookUpSome(names, showPresentation, (name, reason) => {
    failed.add(name);
    showFailure(name, reason);
  });
}

async function askForLayouts(batch) {
  const { searchColumns, headlines, unanswered } = await get("lacking-layouts", { names: nameList(batch) });
  const lacking = new Set([...searchColumns, ...headlines]);
  for (const name of batch) {
    if (Object.hasOwn(unanswered, name)) failed.add(name);
    else layouts.set(name, lacking.has(name));
  }
}

async function lookUpLayouts(names) {
  const batch = takeBatch(names);
  const good = batch.filter((name) => refusal(name) === undefined);
  try {
    if (good.length > 0) await askForLayouts(good);
  } finally {
    for (const name of batch) if (!layouts.has(name)) failed.add(name);
  }
}

const kinds = {
  icon: { lacks: lacksIcon, lookUp: lookUpIcons },
  layout: { lacks: (name) => layouts.get(name), lookUp: lookUpLayouts },
};

// One kind at a time, for the names that are wanted.
export class Survey {
  #kind;
  #names = new Set();
  #all = 0;
  #done = 0;
  #runs = false;
  #note;

  // Calls `note()` when more is known, and when all is.
  constructor(kind, note) {
    this.#kind = kinds[kind];
    this.#note = note;
  }

  // Whether a type is known to lack it.
  lacks(name) {
    return this.#kind.lacks(name) === true;
  }

  // How many of how many have been looked up; all of them once it is done.
  get progress() {
    return { done: this.#done, all: this.#all };
  }

  // Looks these names up, as far as nothing is known of them, and no longer those that were wanted before.
  async want(names) {
    this.#names = new Set(names.filter((name) => this.#kind.lacks(name) === undefined && !failed.has(name)));
    [this.#all, this.#done] = [this.#names.size, 0];
    if (this.#runs) return;
    this.#runs = true;
    while (this.#names.size > 0) {
      await this.#kind.lookUp(this.#names).catch(() => {}); // the names that failed are known
      this.#done = this.#all - this.#names.size;
      this.#note();
    }
    this.#runs = false;
  }
}

// How many of these names could not be looked up.
export function countFailed(names) {
  return names.filter((name) => failed.has(name)).length;
}

export function forgetFailed() {
  failed.clear();
}

export function forgetLayouts() {
  layouts.clear();
  failed.clear();
}
