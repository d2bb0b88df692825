// The open type stands in the address, so that it can be linked to, and the way back leads out of it.

// How many steps back in the tab's history the list lies; null when it isn't there.
let steps = null;

// The API name of the type in the address; undefined when there is none, or none that can be read.
export function nameInAddress() {
  const name = /^#\/(.+)$/.exec(location.hash)?.[1];
  try {
    return name === undefined ? undefined : decodeURIComponent(name);
  } catch {
    return undefined;
  }
}

// Call it once for each change of the address.
export function noteStep() {
  if (nameInAddress() === undefined) {
    steps = 0;
  } else if (history.state?.steps === undefined) {
    if (steps !== null) ++steps;
    history.replaceState({ steps }, "");
  } else {
    ({ steps } = history.state);
  }
}

// Leaves the open type, as if nobody had opened it. The address changes, now or soon.
export function leave() {
  if (steps > 0) {
    history.go(-steps);
  } else {
    history.replaceState(null, "", location.pathname);
    dispatchEvent(new HashChangeEvent("hashchange"));
  }
}
