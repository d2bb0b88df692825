// Icons are drawn by the server for its own apps: on its colours, their lines may hardly be seen.
import { contrast, inkOn } from "./colour.js";

const size = 24;
const leastContrast = 3;
let canvas; // made for the first icon, not while the page starts

// The colours of an icon's opaque points, as red, green and blue.
function pointsOf(image) {
  canvas ??= new OffscreenCanvas(size, size).getContext("2d", { willReadFrequently: true });
  canvas.clearRect(0, 0, size, size);
  canvas.drawImage(image, 0, 0, size, size);
  const { data } = canvas.getImageData(0, 0, size, size);
  const points = [];
  for (let at = 0; at < data.length; at += 4) {
    if (data[at + 3] > 200) points.push([data[at], data[at + 1], data[at + 2]]);
  }
  return points;
}

function groundOf(image) {
  const colour = getComputedStyle(image.closest(".swatch, .head, .thumb, .look")).backgroundColor;
  return colour.match(/\d+/g).slice(0, 3).map(Number);
}

// A line drawing that cannot be told from the colour behind it becomes white or black, whichever can. A picture that
// brings a ground of its own stays as it is.
export function makeVisible(image) {
  const points = pointsOf(image);
  if (points.length > 0.9 * size * size) return;
  const ground = groundOf(image);
  const visible = points.filter((point) => contrast(point, ground) >= leastContrast);
  if (visible.length * 2 >= points.length) return;
  image.classList.add(inkOn(ground)[0] === 255 ? "in-white" : "in-black");
}
