// The keys that lead over a grid of `count` items in `columns` columns, of which `page` rows are seen at a time.

// Where a key leads from the item `at`: the number of an item, "out" for a step above the first row, or undefined for a
// key that leads nowhere.
export function target(key, at, { count, columns, page }) {
  const last = count - 1;
  const steps = {
    ArrowLeft: columns > 1 ? -1 : 0,
    ArrowRight: columns > 1 ? 1 : 0,
    ArrowUp: -columns,
    ArrowDown: columns,
    PageUp: -columns * page,
    PageDown: columns * page,
    Home: -at,
    End: last - at,
  };
  if (!Object.hasOwn(steps, key)) return undefined;
  if (key === "ArrowUp" && at < columns) return "out";
  return Math.max(0, Math.min(last, at + steps[key]));
}
