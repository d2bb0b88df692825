#include "vellora/DataServices/ReferenceTypeFields.h"

#include <memory>

#include "vellora/DataServices/Joined.h"

namespace vellora {

namespace {

std::shared_ptr<CompactLayoutField> copyOf(const CompactLayoutField& field) {
  return std::make_shared<CompactLayoutField>(
      CompactLayoutField::Content{.apiName = field.apiName,
                                  .fieldType = field.fieldType,
                                  .label = field.label,
                                  .referenceTo = field.referenceTo,
                                  .relationshipName = field.relationshipName,
                                  .htmlFormatted = field.htmlFormatted,
                                  .layoutFields = field.layoutFields});
}

}  // namespace

std::vector<std::string> typesReferredTo(const CompactLayoutResults& compactLayoutResults) {
  std::vector<std::string> types;
  for (const auto& layout : compactLayoutResults.layouts) {
    for (const auto& field : layout.layoutFields) {
      if (field && field->fieldType == "reference" && field->referenceTo)
        types.push_back(*field->referenceTo);
    }
  }
  return types;
}

std::string referenceTypeFields(const CompactLayoutResults& compactLayoutResults) {
  return quoted(typesReferredTo(compactLayoutResults));
}

void updateReferenceTypeFields(const std::map<std::string, std::string>& entityApiNames,
                               const CompactLayoutResults& compactLayoutResults) {
  for (const auto& layout : compactLayoutResults.layouts) {
    for (const auto& field : layout.layoutFields) {
      if (!field || !field->referenceTo || !field->relationshipName) continue;
      const auto nameField = entityApiNames.find(*field->referenceTo);
      if (nameField != entityApiNames.end()) {
        field->apiName = *field->relationshipName + "." + nameField->second;
      }
    }
  }
}

CompactLayoutResults withOwnFields(const CompactLayoutResults& compactLayoutResults) {
  CompactLayoutResults copy = compactLayoutResults;
  for (auto& layout : copy.layouts) {
    for (auto& field : layout.layoutFields) {
      if (field) field = copyOf(*field);
    }
  }
  return copy;
}

}  // namespace vellora
