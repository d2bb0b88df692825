// On narrow screens the open type is a sheet over the list, which stays where it was.
import { leave } from "./address.js";
import { byId } from "./dom.js";

const sheet = byId("sheet");
const narrow = matchMedia("(width < 60rem)");
let isOpen = false;

function update() {
  const covers = isOpen && narrow.matches;
  document.body.classList.toggle("has-open", isOpen);
  for (const element of document.body.children) element.inert = false;
  for (const element of [...document.body.children, ...document.querySelectorAll("main > *")]) {
    if (element.tagName !== "MAIN" && element !== sheet) element.inert = covers;
  }
  for (const [name, value] of [["role", "dialog"], ["aria-modal", "true"], ["aria-labelledby", "detail-heading"]]) {
    if (covers) sheet.setAttribute(name, value);
    else sheet.removeAttribute(name);
  }
}

export function showSheet(open) {
  isOpen = open;
  if (open) sheet.scrollTop = 0;
  update();
}

export function isSheet() {
  return isOpen && narrow.matches;
}

byId("close").addEventListener("click", leave);
narrow.addEventListener("change", update);
update();
