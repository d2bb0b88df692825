import { iconAddress } from "./api.js";
import { make } from "./dom.js";
import { makeVisible } from "./ink.js";

function initials(text) {
  const letters = [...String(text).replace(/[^\p{L}\p{N}]/gu, "")];
  return letters.slice(0, 2).join("") || "?";
}

// A browser opens six connections to one server at most. Icons take four of them, so that icons that stall leave
// two to everything else.
const mostLoading = 4;
const waiting = []; // images and the addresses of their icons, the next one first
const left = new WeakMap(); // addresses for images that had left the page when it was their turn
let loading = 0;

function ended() {
  --loading;
  loadNext();
}

function loadNext() {
  while (loading < mostLoading && waiting.length > 0) {
    const { image, address } = waiting.shift();
    if (!image.isConnected) {
      left.set(image, address);
      continue;
    }
    ++loading;
    delete image.dataset.waiting;
    image.addEventListener("load", ended, { once: true });
    image.addEventListener("error", ended, { once: true });
    image.src = address;
  }
}

// Loads an icon into the image, which has to be in the page by the end of the caller's turn. Those of the open type
// come before those of the tiles.
export function loadIcon(image, id, isUrgent = false) {
  image.dataset.waiting = "";
  image.addEventListener("load", () => image.isConnected && makeVisible(image), { once: true });
  const wanted = { image, address: iconAddress(id) };
  if (isUrgent) waiting.unshift(wanted);
  else waiting.push(wanted);
  queueMicrotask(loadNext);
}

// Call it when an image comes into the page again.
export function resumeIcon(image) {
  if (!left.has(image)) return;
  waiting.push({ image, address: left.get(image) });
  left.delete(image);
  queueMicrotask(loadNext);
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
