// The two layouts of a type, with samples of values in them, or with the types of their fields.
import { foreign, make } from "./dom.js";
import { sample, sampleCount } from "./samples.js";
import { typeOf } from "./types.js";

// The samples' mark: they look like records, and are none.
function sampleNote() {
  return make("p", { class: "sample-note" }, make("span", { class: "badge made-up" }, "samples"), " made up by this page: no record is read");
}

function typeLink(name) {
  if (!typeOf(name)) return foreign(name);
  return make("a", { href: `#/${encodeURIComponent(name)}` }, foreign(name));
}

// "Owner → User" for a reference, else the server's word for the type.
function fieldType(field) {
  const place = make("span", { class: "field-type" });
  if (field.referenceTo) place.append(foreign(field.relationshipName ?? field.label), " → ", typeLink(field.referenceTo));
  else place.append(foreign(field.fieldType));
  if (field.htmlFormatted) place.append(" · HTML");
  return place;
}

function headlineField(field, at, showsTypes) {
  const parts = (field.layoutFields ?? []).map((part) => part.label).join(", ");
  const value = showsTypes ? fieldType(field) : make("span", { class: "sample", "aria-hidden": "true" }, sample(field.fieldType, 0, at));
  return make(
    "div",
    {},
    make("dt", {}, foreign(field.label)),
    make("dd", {}, value, foreign(parts ? `${field.apiName}: ${parts}` : field.apiName, "code", {})),
  );
}

export function headlineCard(layout, showsTypes) {
  if (layout.layoutFields.length === 0) return make("p", { class: "quiet" }, "It has no fields.");
  const fields = layout.layoutFields.map((field, at) => headlineField(field, at, showsTypes));
  return make("div", {}, showsTypes ? undefined : sampleNote(), make("dl", { class: "headline" }, ...fields));
}

// A search layout tells formats at most; of a field that stands in the headline too, the headline tells the type.
function columnType(column, headline) {
  const field = headline?.layoutFields.find(({ apiName }) => apiName === column.name || apiName === column.field);
  if (field) return fieldType(field);
  return column.format ? foreign(column.format) : make("span", { class: "quiet" }, "not told");
}

function bodyRows(columns, headline, showsTypes) {
  if (showsTypes) return [make("tr", {}, ...columns.map((column) => make("td", {}, columnType(column, headline))))];
  return Array.from({ length: sampleCount }, (_, line) =>
    make(
      "tr",
      { "aria-hidden": "true" },
      ...columns.map((column, at) => make("td", { class: "sample" }, sample(column.format ?? "string", line, at))),
    ),
  );
}

export function searchTable(layout, headline, showsTypes) {
  const columns = layout.searchColumns;
  if (columns.length === 0) return make("p", { class: "quiet" }, "It has no columns.");
  const heads = columns.map((column) =>
    make("th", { scope: "col", title: column.field }, foreign(column.label), foreign(column.field, "code", {})),
  );
  const table = make("table", {}, make("thead", {}, make("tr", {}, ...heads)), make("tbody", {}, ...bodyRows(columns, headline, showsTypes)));
  return make(
    "div",
    {},
    showsTypes ? undefined : sampleNote(),
    make("div", { class: "scroll", tabindex: "0", role: "region", "aria-label": "Search columns" }, table),
  );
}
