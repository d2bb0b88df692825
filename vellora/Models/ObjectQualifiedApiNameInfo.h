#pragma once

#include <map>
#include <string>
#include <vector>

#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Which field names the records of an object type: the answer of "/services/data/v53.0/query" to a query for
/// rows of the field catalogue, each a field and the object type that it belongs to. The query asks for name
/// fields alone, for one or more types. It is not cached.
///
///     {"records": [{"EntityDefinition": {"QualifiedApiName": "User"}, "QualifiedApiName": "Name"}]}
struct VELLORA_EXPORT ObjectQualifiedApiNameInfo {
  /// One row of the answer; other members of it are not read.
  struct Record {
    /// The object type of a row.
    struct EntityDefinition {
      /// API name of the object type, such as "User".
      std::string entityTypeName;

      static constexpr std::string_view recordName = "EntityDefinition";
      static constexpr auto fields() {
        return std::tuple(
            json::field("QualifiedApiName", &EntityDefinition::entityTypeName, "entityTypeName"));
      }

      friend bool operator==(const EntityDefinition&, const EntityDefinition&) = default;
    };

    /// What the field belongs to.
    EntityDefinition entityType;

    /// API name of the field, such as "Name".
    std::string qualifiedApiName;

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

  /// In the order of the answer.
  std::vector<Record> records;

  static constexpr bool hasOwnJsonForm = true;
  static constexpr std::string_view recordName = "ObjectQualifiedApiNameInfo";
  static constexpr auto fields() {
    return std::tuple(json::field("entityApiNames", &ObjectQualifiedApiNameInfo::entityApiNames),
                      json::field("records", &ObjectQualifiedApiNameInfo::records));
  }

  friend bool operator==(const ObjectQualifiedApiNameInfo&, const ObjectQualifiedApiNameInfo&) = default;
};

}  // namespace vellora
