// The object types that the page lists.

const types = new Map(); // by API name

// By their letters: signs that stand before them don't count.
function byLabel(left, right) {
  const letters = ({ label }) => label.replace(/^[^\p{L}\p{N}]+/u, "");
  return letters(left).localeCompare(letters(right));
}

// Lists these types instead of those before; returns them in their order.
export function setTypes(listed) {
  const sorted = [...listed].sort(byLabel);
  types.clear();
  for (const type of sorted) types.set(type.name, type);
  return sorted;
}

export function typeOf(name) {
  return types.get(name);
}

export function matches(name, query) {
  if (!query) return true;
  const { label, labelPlural, keyPrefix } = types.get(name);
  if ([label, labelPlural, name].some((text) => text.toLowerCase().includes(query.toLowerCase()))) return true;
  // A record's id, whole or begun: its first three characters tell its type.
  return query.length >= 3 && /^[0-9a-z]+$/i.test(query) && query.startsWith(keyPrefix ?? " ");
}
