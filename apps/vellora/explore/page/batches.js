// Names that are to be looked up, a request's worth at a time.
import { nameList } from "./api.js";

const batchSize = 60;
// In characters of an address. The whole head of a request may have 32,768.
const longestList = 8000;
const longestName = 20000;

// Why a name cannot be looked up; undefined when it can.
export function refusal(name) {
  if (name === "") return "it has no name.";
  return nameList([name]).length > longestName ? "its name is too long." : undefined;
}

// Takes the first of the wanted names: one, and more as long as they fit into one address.
export function takeBatch(wanted) {
  const batch = [];
  let length = 0;
  for (const name of wanted) {
    length += nameList([name]).length + 1;
    if (batch.length === batchSize || (batch.length > 0 && length > longestList)) break;
    batch.push(name);
    wanted.delete(name);
  }
  return batch;
}
