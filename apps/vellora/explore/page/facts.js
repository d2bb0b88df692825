// What an app shows of a type: its labels, colour and icons, and how it looks in the light and in the dark.
import { get, nameList } from "./api.js";
import { paint } from "./colour.js";
import { foreign, make } from "./dom.js";
import { bestIcon, iconImage, loadIcon } from "./icons.js";
import { server } from "./server.js";
import { shownLabel } from "./types.js";

function row(term, ...values) {
  return make("div", {}, make("dt", {}, term), make("dd", {}, ...values));
}

function iconRow(term, address, id, colour) {
  if (address === undefined) return row(term, make("span", { class: "quiet" }, "none"));
  const swatch = make("span", { class: "thumb" });
  paint(swatch, colour);
  if (id !== undefined) {
    const image = make("img", { alt: "", width: 20, height: 20 });
    image.addEventListener("error", () => image.remove());
    loadIcon(image, id, true);
    swatch.append(image);
  }
  return row(
    term,
    id === undefined ? make("span", { class: "quiet" }, "not loaded, not this server's: ") : swatch,
    foreign(address, "code", {}),
  );
}

export function presentationFacts(type, presentation) {
  const { info, svgIcon, smallIcon, largeIcon } = presentation;
  const swatch = make("span", { class: "thumb" });
  paint(swatch, info.color);
  return make(
    "dl",
    { class: "facts" },
    row("Label", foreign(info.label ?? "")),
    row("Plural", foreign(info.labelPlural ?? "")),
    row("Key prefix", type?.keyPrefix ? make("code", {}, type.keyPrefix) : make("span", { class: "quiet" }, "none")),
    row("Records", info.createable ? "can be created" : "cannot be created"),
    info.color === undefined
      ? row("Colour", make("span", { class: "quiet" }, "none"))
      : row("Colour", swatch, foreign(info.color, "code", {})),
    iconRow("Vector icon", info.svgIconUrl, svgIcon, info.color),
    iconRow("Small icon", info.smallIconUrl, smallIcon, info.color),
    iconRow("Large icon", info.largeIconUrl, largeIcon, info.color),
  );
}

function themeCard(theme, name, presentation) {
  const label = shownLabel(presentation.info.label, name);
  const look = make("div", { class: "look" }, iconImage(bestIcon(presentation), 30, label), foreign(label));
  paint(look, presentation.info.color);
  return make(
    "figure",
    { class: `theme ${theme === "dark" ? "dark" : "light"}`, "data-theme": theme },
    look,
    make("figcaption", {}, foreign(theme), " · ", presentation.info.color === undefined ? "no colour" : foreign(presentation.info.color, "code", {})),
  );
}

// Shows in `place` how the type looks in the light, in the dark, and in the theme of the command line, side by side.
// Icons load only in the page, so the cards are put there at once.
export async function showThemes(place, name) {
  const themes = [...new Set(["light", "dark", server.theme])].filter(Boolean);
  const answers = await Promise.all(
    themes.map((theme) => get("presentations", { names: nameList([name]), theme: encodeURIComponent(theme) })),
  );
  const cards = themes.flatMap((theme, at) => {
    const presentation = answers[at].presentations[name];
    return presentation ? [themeCard(theme, name, presentation)] : [];
  });
  place.append(make("div", { class: "themes" }, ...cards));
}
