#include "apps/vellora/lookups/Presentation.h"

#include <map>
#include <optional>

#include "vellora/Catalog/AnswerDocument.h"
#include "vellora/DataServices/CacheInspection.h"

namespace vellora::command {

namespace {

using Shown = Column::Shown;

std::vector<Column> columnsWith(Shown ofKeys, Shown ofPrefixes) {
  return {{"key", "KEY", ofKeys},
          {"label", "LABEL"},
          {"labelPlural", "PLURAL", Shown::wide},
          {"apiName", "API NAME"},
          {"keyPrefix", "PREFIX", ofPrefixes},
          {"color", "COLOUR", Shown::always, /*isColor=*/true},
          {"createable", "CREATEABLE"},
          {"lists", "LISTS", ofKeys},
          {"svgIconUrl", "VECTOR ICON", Shown::wide},
          {"smallIconUrl", "SMALL ICON", Shown::wide},
          {"largeIconUrl", "LARGE ICON", Shown::wide}};
}

Value valueOf(const std::optional<std::string>& text) {
  return text ? Value(*text) : Value();
}

/// The first three characters of the ids of each type that has any.
std::map<std::string, std::optional<std::string>> prefixesIn(CorvaneSDK::Cache& cache) {
  std::map<std::string, std::optional<std::string>> prefixes;
  for (auto& type : cachedSObjects(cache)) prefixes.emplace(std::move(type.name), std::move(type.keyPrefix));
  return prefixes;
}

Value lists(const std::optional<PresentationInfo>& instance) {
  return instance ? Value(instance->apiName()) : Value();
}

std::vector<RowGroup> rowsOf(const InOrder<ObjectPresentationInfo>& found, CorvaneSDK::Cache& cache) {
  const auto prefixes = prefixesIn(cache);
  RowGroup group;
  for (const auto* entry : found) {
    const auto& [key, info] = *entry;
    const PresentationInfo& type = info.typePresentationInfo;
    const auto prefix = prefixes.find(type.apiName());
    group.rows.push_back({{key, valueOf(type.label), valueOf(type.labelPlural), type.apiName(),
                           prefix == prefixes.end() ? Value() : valueOf(prefix->second), valueOf(type.color),
                           type.createable, lists(info.instancePresentationInfo), valueOf(type.svgIconUrl),
                           valueOf(type.smallIconUrl), valueOf(type.largeIconUrl)}});
  }
  if (group.rows.empty()) return {};
  return {std::move(group)};
}

}  // namespace

Lookup<ObjectPresentationInfo> presentationForIds() {
  return {.what = "object type",
          .ask = &Catalog::records,
          .columns = columnsWith(Shown::always, Shown::scripts),
          .groups = rowsOf,
          .document = recordsDocument,
          .isOfNames = false,
          .isThemed = true,
          .isNullWhenItFails = true};
}

Lookup<ObjectPresentationInfo> presentationForNames() {
  return {.what = "object type",
          .ask = &Catalog::types,
          .columns = columnsWith(Shown::scripts, Shown::always),
          .groups = rowsOf,
          .document = typesDocument,
          .isThemed = true};
}

Lookup<ObjectPresentationInfo> presentationOfAll() {
  auto lookup = presentationForNames();
  lookup.document = [](const auto& answer, const Keys& /*none*/) { return allTypesDocument(answer); };
  return lookup;
}

}  // namespace vellora::command
