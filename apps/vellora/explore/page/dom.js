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
  return make(tag, { dir: "auto", ...properties }, text);
}

export function byId(id) {
  return document.getElementById(id);
}
