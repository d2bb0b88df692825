// The page that stands in the list's place when there is no list to work with.
import { advice, reason } from "./failure.js";
import { byId, foreign, make } from "./dom.js";

const page = byId("failure");
const main = document.querySelector("main");

function button(text, onClick, properties = {}) {
  const made = make("button", { type: "button", ...properties }, text);
  made.addEventListener("click", onClick);
  return made;
}

function fact(term, value) {
  return make("div", {}, make("dt", {}, term), make("dd", {}, value));
}

let attempting = false;

function show(...content) {
  attempting = false;
  page.replaceChildren(...content);
  page.hidden = false;
  main.hidden = true;
  byId("failure-heading").focus();
}

function heading(text) {
  return make("h2", { id: "failure-heading", tabindex: "-1" }, text);
}

export function isFailurePageOpen() {
  return !page.hidden;
}

export function closeFailurePage() {
  page.hidden = true;
  main.hidden = false;
  document.body.classList.remove("locked");
}

// Shows why the lists could not be fetched. `cached` says what the cache has, in words; it is empty when that is
// nothing. `retry` and `workOffline` are what can be done.
export function openFailurePage({ trouble, server, cached, retry, workOffline }) {
  const offline = button("Work offline with what is cached", workOffline, { id: "work-offline", disabled: cached === "" });
  show(
    heading("The object types could not be fetched"),
    make("p", { class: "why", role: "alert" }, foreign(reason(trouble))),
    make("p", {}, advice(trouble)),
    make(
      "dl",
      { class: "facts" },
      fact("Server", foreign(server, "code", {})),
      trouble.request ? fact("Request", foreign(trouble.request, "code", {})) : undefined,
      trouble.status ? fact("Status", String(trouble.status)) : undefined,
      fact("Reason", foreign(trouble.text)),
    ),
    make("div", { class: "actions" }, button("Try again", retry, { id: "retry", class: "primary" }), offline),
    make("p", { class: "quiet", role: "status" }, cached === "" ? "Nothing is cached yet, so there is nothing to look at offline." : cached),
  );
}

// Says that another attempt is under way.
export function showAttempt() {
  const status = page.querySelector("[role=status]");
  if (!status) return;
  attempting = true;
  status.textContent = "Asking the server …";
}

export function isAttempting() {
  return attempting;
}

// Shows how to get in. `enter` is called with what somebody pastes.
export function openWayIn(enter) {
  const field = make("input", { id: "key", type: "text", "aria-label": "Address or key", autocomplete: "off", spellcheck: "false" });
  const form = make("form", { class: "actions" }, field, make("button", { type: "submit", class: "primary" }, "Open"));
  form.addEventListener("submit", (event) => {
    event.preventDefault();
    enter(field.value);
  });
  document.body.classList.add("locked"); // nothing else can be done
  show(
    heading("This page needs the key that vellora printed"),
    make("p", { class: "why", role: "alert" }, "The address has no key, or one that is not valid any more: each start of vellora has a key of its own."),
    make("p", {}, "In the terminal, “vellora explore” has printed an address such as"),
    make("p", {}, make("code", {}, `${location.origin}/#key=0123…`)),
    make("p", {}, "Open that address, or paste it here. From then on every tab of this browser has the key, until vellora ends."),
    form,
  );
}
