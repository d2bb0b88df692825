#include "bindings/generate/PythonRecords.h"

#include <string_view>

namespace vellora::generate {

namespace {

using Kind = MemberType::Kind;

constexpr std::string_view head =
    R"(# Made by bindings/generate from the library's field tables, which are what to change.
"""The records of the library, member by member. They are immutable."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any
)";

/// "labelPlural" as "label_plural".
std::string snakeCase(std::string_view name) {
  std::string text;
  for (const char letter : name) {
    const bool isUpper = letter >= 'A' && letter <= 'Z';
    if (isUpper && !text.empty()) text += '_';
    text += isUpper ? static_cast<char>(letter - 'A' + 'a') : letter;
  }
  return text;
}

std::string pythonType(const MemberType& type) {
  switch (type.kind) {
    case Kind::text:
      return "str";
    case Kind::boolean:
      return "bool";
    case Kind::integer:
      return "int";
    case Kind::number:
      return "float";
    case Kind::record:
      return type.record;
    case Kind::list:
      return "tuple[" + pythonType(*type.of) + ", ...]";
    case Kind::optional:
      break;
  }
  return pythonType(*type.of) + " | None";
}

/// What `value`, an expression, is as a value of that type.
std::string converted(const MemberType& type, const std::string& value) {
  switch (type.kind) {
    case Kind::record:
      return type.record + ".from_json(" + value + ")";
    case Kind::list:
      return "tuple(" + converted(*type.of, "each") + " for each in " + value + ")";
    case Kind::number:
      return "float(" + value + ")";
    default:
      return value;
  }
}

/// Whether a value of that type is just what the JSON reader gives.
bool isPlain(const MemberType& type) {
  return converted(type, "value") == "value";
}

std::string argument(const Member& member) {
  const std::string required = "json[\"" + member.key + "\"]";
  std::string optional = "json.get(\"" + member.key + "\")";
  if (member.type.kind != Kind::optional) return converted(member.type, required);
  if (isPlain(*member.type.of)) return optional;
  return "None if " + optional + " is None else " + converted(*member.type.of, required);
}

std::string dataclass(const RecordType& record) {
  std::string text = "\n\n@dataclass(frozen=True, slots=True, kw_only=True)\nclass " + record.name + ":\n";
  text += "    \"\"\"The record `" + record.name + "` of the library.\"\"\"\n\n";
  for (const auto& [key, name, type] : record.members) {
    text += "    " + snakeCase(name) + ": " + pythonType(type);
    text += type.kind == Kind::optional ? " = None\n" : "\n";
  }
  text += "\n    @classmethod\n    def from_json(cls, json: dict[str, Any]) -> " + record.name + ":\n";
  text +=
      "        \"\"\"Makes one of what the library writes, once that is decoded.\"\"\"\n        return "
      "cls(\n";
  for (const auto& member : record.members)
    text += "            " + snakeCase(member.name) + "=" + argument(member) + ",\n";
  return text + "        )\n";
}

}  // namespace

std::string pythonModule(const RecordTable& table) {
  std::string text(head);
  for (const auto& record : table) text += dataclass(record);
  return text;
}

}  // namespace vellora::generate
