#pragma once

#include <map>
#include <string>
#include <vector>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Which field names the records of an object type: the answer of a query to "/services/data/v53.0/query" for
/// rows of the field catalogue, each a field and the object type that it belongs to.
struct VELLORA_EXPORT ObjectQualifiedApiNameInfo {
  /// One row of the answer.
  struct Record {
    /// The object type of a row.
    struct EntityDefinition {
      std::string entityTypeName;  ///< API name of the object type

      static constexpr std::string_view recordName = "EntityDefinition";
      static constexpr auto fields() {
        return std::tuple(
            json::field("QualifiedApiName", &EntityDefinition::entityTypeName, "entityTypeName"));
      }

      friend bool operator==(const EntityDefinition&, const EntityDefinition&) = default;
    };

    EntityDefinition entityType;
    std::string qualifiedApiName;  ///< API name of the field

    static constexpr std::string_view recordName = "Record";
    static constexpr auto fields() {
      return std::tuple(json::field("EntityDefinition", &Record::entityType, "entityType"),
                        json::field("QualifiedApiName", &Record::qualifiedApiName, "qualifiedApiName"));
    }

    friend bool operator==(const Record&, const Record&) = default;
  };

  /// Name field by object type, gathered from the rows while they are read; of several rows for one type the
  /// last counts. Has no JSON form of its own.
  std::map<std::string, std::string> entityApiNames;
  std::vector<Record> records;  ///< in the order of the answer

  static constexpr std::string_view recordName = "ObjectQualifiedApiNameInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("entityApiNames", &ObjectQualifiedApiNameInfo::entityApiNames),
                      json::field("records", &ObjectQualifiedApiNameInfo::records));
  }

  [[nodiscard]] static bool decodeJson(const json::Reader& reader, ObjectQualifiedApiNameInfo& out);
  [[nodiscard]] bool encodeJson(json::Writer& writer) const;

  friend bool operator==(const ObjectQualifiedApiNameInfo&, const ObjectQualifiedApiNameInfo&) = default;
};

}  // namespace vellora
