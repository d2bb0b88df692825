#include "bindings/generate/JavaRecords.h"

#include <set>
#include <string_view>

namespace vellora::generate {

namespace {

using Kind = MemberType::Kind;

/// The type of what is never absent; what is generic takes no primitive one.
std::string javaType(const MemberType& type) {
  switch (type.kind) {
    case Kind::text:
      return "String";
    case Kind::boolean:
      return "Boolean";
    case Kind::integer:
      return "Long";
    case Kind::number:
      return "Double";
    case Kind::record:
      return type.record;
    case Kind::list:
      return "List<" + javaType(*type.of) + ">";
    case Kind::optional:
      break;
  }
  return javaType(*type.of);
}

std::string returnedType(const MemberType& type) {
  switch (type.kind) {
    case Kind::boolean:
      return "boolean";
    case Kind::integer:
      return "long";
    case Kind::number:
      return "double";
    case Kind::optional:
      return "Optional<" + javaType(type) + ">";
    default:
      return javaType(type);
  }
}

/// What reads one such value, as a function of the reader.
std::string readerOf(const MemberType& type) {
  switch (type.kind) {
    case Kind::text:
      return "JsonReader::text";
    case Kind::boolean:
      return "JsonReader::bool";
    case Kind::integer:
      return "JsonReader::integer";
    case Kind::number:
      return "JsonReader::number";
    case Kind::record:
      return type.record + "::read";
    case Kind::list:
      return "each -> each.list(" + readerOf(*type.of) + ")";
    case Kind::optional:
      break;
  }
  return "each -> each.orNull(" + readerOf(*type.of) + ")";
}

/// The call that reads one such value.
std::string readCall(const MemberType& type) {
  switch (type.kind) {
    case Kind::list:
      return "json.list(" + readerOf(*type.of) + ")";
    case Kind::optional:
      return "json.orNull(" + readerOf(*type.of) + ")";
    case Kind::record:
      return type.record + ".read(json)";
    default:
      return "json." + readerOf(type).substr(std::string_view("JsonReader::").size()) + "()";
  }
}

std::string getterOf(const Member& member) {
  std::string name = member.name;
  if (name.front() >= 'a' && name.front() <= 'z') name.front() = static_cast<char>(name.front() - 'a' + 'A');
  return (member.type.kind == Kind::boolean ? "is" : "get") + name;
}

void addImports(const MemberType& type, std::set<std::string>& imports) {
  if (type.kind == Kind::list) imports.insert("java.util.List");
  if (type.kind == Kind::optional) imports.insert("java.util.Optional");
  if (type.of) addImports(*type.of, imports);
}

std::string head(const RecordType& record) {
  std::set<std::string> imports{"java.util.Objects"};
  for (const auto& member : record.members) addImports(member.type, imports);
  std::string text =
      "// Made by bindings/generate from the library's field tables, which are what to change.\n\n";
  text += "package vellora;\n\n";
  for (const auto& import : imports) text += "import " + import + ";\n";
  text +=
      "\n/**\n * The record {@code " + record.name + "} of the library, member by member. It is immutable.\n";
  text += " */\npublic final class " + record.name + " {\n";
  return text;
}

std::string members(const RecordType& record) {
  std::string text;
  for (const auto& [key, name, type] : record.members) {
    text += "  private final " + javaType(type) + " " + name + ";";
    text += type.kind == Kind::optional ? "  // null: absent\n" : "\n";
  }
  text += "\n  private " + record.name + "(Values values) {\n";
  for (const auto& [key, name, type] : record.members) {
    const bool isRequired = type.kind != Kind::optional;
    text += "    " + name + " = ";
    // NOLINTNEXTLINE(performance-inefficient-string-concatenation): it reads better than it is slow
    text += isRequired ? "JsonReader.required(values." + name + ", \"" + key + "\");\n"
                       : "values." + name + ";\n";
  }
  return text + "  }\n";
}

std::string getters(const RecordType& record) {
  std::string text;
  for (const auto& member : record.members) {
    const bool mayLack = member.type.kind == Kind::optional;
    text += "\n  public " + returnedType(member.type) + " " + getterOf(member) + "() {\n    return ";
    text += mayLack ? "Optional.ofNullable(" + member.name + ");\n  }\n" : member.name + ";\n  }\n";
  }
  return text;
}

std::string joined(const RecordType& record, std::string_view between, std::string (*each)(const Member&)) {
  std::string text;
  for (const auto& member : record.members) {
    if (!text.empty()) text += between;
    text += each(member);
  }
  return text;
}

std::string valueMethods(const RecordType& record) {
  std::string text = "\n  @Override\n  public boolean equals(Object other) {\n";
  text += "    if (!(other instanceof " + record.name + ")) return false;\n";
  text += "    " + record.name + " that = (" + record.name + ") other;\n    return ";
  text += joined(record, "\n        && ", [](const Member& member) {
    return "Objects.equals(" + member.name + ", that." + member.name + ")";
  });
  text += ";\n  }\n\n  @Override\n  public int hashCode() {\n    return Objects.hash(";
  text += joined(record, ", ", [](const Member& member) { return member.name; });
  text += ");\n  }\n\n  @Override\n  public String toString() {\n    return \"" + record.name + "(";
  text += joined(record, "\n        + \", ",
                 [](const Member& member) { return member.name + "=\" + " + member.name; });
  return text + "\n        + \")\";\n  }\n";
}

std::string reading(const RecordType& record) {
  std::string text =
      "\n  /** Reads what the library writes. Throws an IllegalArgumentException for anything else. */\n";
  text += "  public static " + record.name + " fromJson(String json) {\n";
  text += "    return JsonReader.whole(json, " + record.name + "::read);\n  }\n\n";
  text += "  static " + record.name + " read(JsonReader json) {\n    Values values = new Values();\n";
  text += "    json.object(key -> {\n      switch (key) {\n";
  for (const auto& [key, name, type] : record.members) {
    // NOLINTNEXTLINE(performance-inefficient-string-concatenation): it reads better than it is slow
    text += "        case \"" + key + "\":\n          values." + name + " = " + readCall(type) + ";\n";
    text += "          return true;\n";
  }
  text += "        default:\n          return false;\n      }\n    });\n";
  text += "    return new " + record.name + "(values);\n  }\n\n  private static final class Values {\n";
  for (const auto& [key, name, type] : record.members) text += "    " + javaType(type) + " " + name + ";\n";
  return text + "  }\n}\n";
}

}  // namespace

std::string javaClass(const RecordType& record) {
  return head(record) + members(record) + getters(record) + valueMethods(record) + reading(record);
}

}  // namespace vellora::generate
