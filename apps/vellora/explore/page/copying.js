// The buttons that copy what is known of a type.
import { make } from "./dom.js";
import { asCpp, asCurl, asJson, asLink } from "./copytexts.js";
import { server } from "./server.js";

// Where the browser gives no clipboard the text is shown, to be copied by hand.
async function copy(text, what, status) {
  try {
    await navigator.clipboard.writeText(text);
    status.replaceChildren(`Copied ${what}.`);
  } catch {
    const field = make("textarea", { readonly: true, rows: "6", "aria-label": `Text of ${what}` });
    field.value = text;
    status.replaceChildren(`The browser copies nothing here. Copy ${what} by hand:`, field);
    field.select();
  }
}

// `parts` gives what has been looked up of the type by the time somebody copies it.
export function copyButtons(name, parts) {
  const status = make("div", { class: "copied", role: "status" });
  const button = (id, text, what, made) => {
    const element = make("button", { type: "button", class: "small", id: `copy-${id}`, "aria-label": `Copy ${what}` }, text);
    element.addEventListener("click", () => copy(made(), what, status));
    return element;
  };
  return make(
    "div",
    { class: "copies" },
    make(
      "div",
      { class: "actions", role: "group", "aria-label": "Copy" },
      make("span", { class: "quiet", "aria-hidden": "true" }, "Copy"),
      button("link", "Link", "the link", () => asLink(name)),
      button("json", "JSON", "the JSON", () => asJson(name, parts())),
      button("cpp", "C++", "the C++", () => asCpp(name)),
      button("curl", "curl", "the curl commands", () => asCurl(name, server.address)),
    ),
    status,
  );
}
