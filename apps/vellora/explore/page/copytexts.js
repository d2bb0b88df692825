// What can be copied of a type.

export function asLink(name) {
  return `${location.origin}/#/${encodeURIComponent(name)}`;
}

export function asJson(name, { presentation, search, compact }) {
  const document = { objectType: name, presentation: presentation?.info, searchLayout: search, compactLayout: compact };
  return `${JSON.stringify(document, null, 2)}\n`;
}

// As a C++ literal: what is no letter of it in octal digits, since those end after three.
function literal(text) {
  // eslint-disable-next-line no-control-regex
  const escaped = text.replace(/["\\]/g, "\\$&").replace(/[\u0000-\u001f\u007f]/g, (sign) => `\\${sign.charCodeAt(0).toString(8).padStart(3, "0")}`);
  return `"${escaped}"`;
}

export function asCpp(name) {
  const key = literal(name);
  return [
    "#include \"vellora/Catalog/Catalog.h\"",
    "",
    "// catalog is your vellora::Catalog.",
    `const auto presentation = catalog.types({${key}}).get();`,
    `const auto searchColumns = catalog.searchColumns({${key}}).get();`,
    `const auto headline = catalog.headlines({${key}}).get();`,
    "",
  ].join("\n");
}

function quotedForShell(text) {
  return `'${text.replace(/'/g, "'\\''")}'`;
}

// The requests that the library sends for the type, with a variable of the shell for the token.
export function asCurl(name, server) {
  const query = encodeURIComponent(name).replace(/'/g, "%27");
  const paths = [
    "/services/data/v50.0/sobjects",
    "/services/data/v50.0/theme",
    `/services/data/v50.0/search/layout?q=${query}`,
    `/services/data/v53.0/compactLayouts?q=${query}`,
  ];
  const base = server.replace(/\/+$/, "");
  const lines = paths.map((path) => `curl -H "Authorization: Bearer $TOKEN" ${quotedForShell(base + path)}`);
  return ["# TOKEN=… # your token; nothing here holds it", ...lines, ""].join("\n");
}
