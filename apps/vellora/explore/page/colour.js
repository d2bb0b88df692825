const white = [255, 255, 255];
const black = [0, 0, 0];

// Red, green and blue of "2F6FDE", "#2F6FDE" or "#0A6"; null for any other text.
export function parse(text) {
  const digits = /^#?([0-9a-f]{3}|[0-9a-f]{6})$/i.exec(text ?? "")?.[1];
  if (!digits) return null;
  const width = digits.length / 3;
  return [0, 1, 2].map((i) => parseInt(digits.slice(i * width, (i + 1) * width).padStart(2, digits[i]), 16));
}

function luminance(colour) {
  const [red, green, blue] = colour.map((part) => {
    const share = part / 255;
    return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
  });
  return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
}

export function contrast(one, other) {
  const [dark, light] = [luminance(one), luminance(other)].sort((a, b) => a - b);
  return (light + 0.05) / (dark + 0.05);
}

// White where it can be read, as icons mostly are white. Where its contrast is below 4.5 : 1, black's is above
// 4.6 : 1.
export function inkOn(colour) {
  return contrast(white, colour) >= 4.5 ? white : black;
}

// Gives an element the server's colour and an ink that can be read on it. Only numbers reach the style.
export function paint(element, text) {
  const colour = parse(text);
  element.classList.toggle("painted", colour !== null);
  if (!colour) return;
  element.style.setProperty("--paint", `rgb(${colour.join(" ")})`);
  element.style.setProperty("--ink-on-paint", `rgb(${inkOn(colour).join(" ")})`);
}
