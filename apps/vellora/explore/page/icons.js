import { iconAddress } from "./api.js";
import { make } from "./dom.js";

function initials(text) {
  const letters = [...String(text).replace(/[^\p{L}\p{N}]/gu, "")];
  return letters.slice(0, 2).join("") || "?";
}

// A browser opens six connections to one server at most. Icons take four of them, so that icons that stall leave
// two to everything else.
const mostLoading = 4;
const waiting = []; // what begins to load an icon, the next one first
let loading = 0;

function loadNext() {
  while (loading < mostLoading && waiting.length > 0) {
    ++loading;
    waiting.shift()();
  }
}

// Loads an icon into the image when its turn comes: those of the open type before those of the tiles.
export function loadIcon(image, id, isUrgent = false) {
  const ended = () => {
    --loading;
    loadNext();
  };
  image.dataset.waiting = "";
  const begin = () => {
    delete image.dataset.waiting;
    image.addEventListener("load", ended, { once: true });
    image.addEventListener("error", ended, { once: true });
    image.src = iconAddress(id);
  };
  if (isUrgent) waiting.unshift(begin);
  else waiting.push(begin);
  loadNext();
}

// The icon, or in its place the initials. It is decoration: the label stands beside it.
export function iconImage(id, size, label) {
  const place = make("span", { class: "icon", "aria-hidden": "true" });
  const fallBack = () => place.replaceChildren(make("span", { class: "initials" }, initials(label)));
  if (id === undefined) {
    fallBack();
    return place;
  }
  const image = make("img", { alt: "", width: size, height: size });
  image.addEventListener("error", fallBack, { once: true });
  loadIcon(image, id);
  place.append(image);
  return place;
}

export function bestIcon(presentation) {
  return presentation.svgIcon ?? presentation.largeIcon ?? presentation.smallIcon;
}
