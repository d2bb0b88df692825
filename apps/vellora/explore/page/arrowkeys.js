function columnsOf(links) {
  const tops = links.map((link) => link.parentElement.offsetTop);
  const second = tops.findIndex((top) => top !== tops[0]);
  return second < 0 ? links.length : second;
}

// Arrow keys walk over a list's links as they lie; Home and End lead to the first and the last. `links` gives
// the links, `leave` is called for a step above the first line.
export function walkWithArrowKeys(list, links, leave) {
  list.addEventListener("keydown", (event) => {
    const all = links();
    const at = all.indexOf(document.activeElement);
    if (at < 0 || event.altKey || event.ctrlKey || event.metaKey) return;
    const columns = columnsOf(all);
    const target = {
      ArrowLeft: at - 1,
      ArrowRight: at + 1,
      ArrowUp: at - columns,
      ArrowDown: at + columns,
      Home: 0,
      End: all.length - 1,
    }[event.key];
    if (target === undefined) return;
    event.preventDefault();
    if (event.key === "ArrowUp" && target < 0) leave();
    else all[Math.max(0, Math.min(all.length - 1, target))].focus();
  });
}
