#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

class CompactLayoutField;

/// Fields in display order; no pointer is null in what the library answers. Copies of the list share the
/// fields.
using CompactLayoutFields = std::vector<std::shared_ptr<CompactLayoutField>>;

namespace detail {

// The table of JSON fields that `CompactLayoutField` and its `Content` have in common.
template <class T>
constexpr auto compactLayoutFieldTable() {
  return std::tuple(json::field("apiName", &T::apiName), json::field("fieldType", &T::fieldType),
                    json::field("label", &T::label), json::field("referenceTo", &T::referenceTo),
                    json::field("relationshipName", &T::relationshipName),
                    json::field("htmlFormatted", &T::htmlFormatted),
                    json::field("layoutFields", &T::layoutFields));
}

}  // namespace detail

/// One headline field of a compact layout, simple or compound. In the library's own JSON form, which is
/// cached as part of an `ObjectCompactLayoutInfo`, a reference to the record's owner is
///
///     {"apiName": "Owner.Name", "fieldType": "reference", "label": "Owner", "referenceTo": "User",
///      "relationshipName": "Owner", "htmlFormatted": false}
///
/// Ownership: shared by reference, never copied. Whoever rewrites `apiName` rewrites it for everybody who
/// holds the field.
///
/// Threads: not synchronised. The library rewrites a field before it answers with it, and reads it after that
/// when it caches the answer; whoever rewrites an answered field sees to it that nobody reads it meanwhile.
class VELLORA_EXPORT CompactLayoutField final {
 public:
  /// What a field is constructed from; its members mean the same.
  struct Content {
    std::string apiName;
    std::string fieldType;
    std::string label;
    std::optional<std::string> referenceTo = {};
    std::optional<std::string> relationshipName = {};
    bool htmlFormatted = false;
    std::optional<CompactLayoutFields> layoutFields = {};

    static constexpr std::string_view recordName = "CompactLayoutField";
    static constexpr auto fields() { return detail::compactLayoutFieldTable<Content>(); }
  };

  /// Takes over the parts in `content.layoutFields` too, without copying them.
  explicit CompactLayoutField(Content content);
  CompactLayoutField(const CompactLayoutField&) = delete;
  CompactLayoutField& operator=(const CompactLayoutField&) = delete;

  /// Path of the field to show. A top-level field may point to a related record. If the name field of that
  /// record's type is known, the path leads to the name field, such as "Owner.Name".
  std::string apiName;

  /// The server's word, such as "string" or "reference".
  const std::string fieldType;

  /// The label to display. A top-level field has the label of its line in the layout. A part of a compound
  /// field has its own label.
  const std::string label;

  /// Object type that a reference field points to. If there are several, the first that the server names.
  const std::optional<std::string> referenceTo;

  /// First step of a path into the related record, such as "Owner" in "Owner.Name". It is what the server
  /// says, which is nothing for a field that points to no record. A reference field without it keeps the
  /// `apiName` that the server sent.
  const std::optional<std::string> relationshipName;

  /// Whether the field's values are HTML, as the server says. Whoever shows such a value renders the markup
  /// or strips it; the library never sees values.
  const bool htmlFormatted;

  /// The parts of a compound field; absent for a simple one.
  const std::optional<CompactLayoutFields> layoutFields;

  static constexpr std::string_view recordName = "CompactLayoutField";
  static constexpr auto fields() { return detail::compactLayoutFieldTable<CompactLayoutField>(); }

  /// Compares contents, also those of the parts.
  friend VELLORA_EXPORT bool operator==(const CompactLayoutField& left, const CompactLayoutField& right);
};

/// Compares the contents of the fields, not which objects they are.
[[nodiscard]] VELLORA_EXPORT bool haveEqualContents(const CompactLayoutFields& left,
                                                    const CompactLayoutFields& right);

}  // namespace vellora
