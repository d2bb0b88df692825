// The only way in which this page makes elements: what the server sent becomes text, never markup.
export function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (value === undefined || value === false) continue;
    element.setAttribute(name, value === true ? "" : String(value));
  }
  element.append(...children.filter((child) => child !== undefined));
  return element;
}

// Text whose direction is its own: a label of another script must not turn what stands beside it.
export function foreign(text, tag = "bdi", properties = {}) {
  return make(tag, { dir: "auto", ...properties }, ...(tag === "code" ? breakable(text) : [text]));
}

// Names and addresses may break behind their signs.
function breakable(text) {
  const pieces = text.split(/(?<=[./_:?&=,-])(?![./_:?&=,-])/u);
  return pieces.flatMap((piece, at) => (at === 0 ? [piece] : [make("wbr"), piece]));
}

export function byId(id) {
  return document.getElementById(id);
}
