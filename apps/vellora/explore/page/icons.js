import { iconAddress } from "./api.js";
import { make } from "./dom.js";

function initials(text) {
  const letters = [...String(text).replace(/[^\p{L}\p{N}]/gu, "")];
  return letters.slice(0, 2).join("") || "?";
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
  image.src = iconAddress(id);
  place.append(image);
  return place;
}

export function bestIcon(presentation) {
  return presentation.svgIcon ?? presentation.largeIcon ?? presentation.smallIcon;
}
