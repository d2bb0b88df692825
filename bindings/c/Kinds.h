#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "bindings/c/Border.h"
#include "bindings/c/vellora.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/AnswerDocument.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Catalog/RefreshOptions.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::capi {

/// What a question asks, once it is checked.
///
/// Ownership: a plain value.
struct Request {
  Keys keys;
  std::chrono::duration<double> deadline = QuestionOptions().deadline;
  Source source = Source::cacheFirst;
  std::string theme;
  std::string filter;

  /// Refers to this request.
  [[nodiscard]] QuestionOptions options() const {
    return {.deadline = deadline, .source = source, .theme = theme};
  }
};

/// One kind of question: its number in C, how it is asked, and the document of its answer.
template <class T>
struct Kind {
  std::int32_t number;
  bool hasKeys;
  Question<T> (*ask)(const Catalog& catalog, const Request& request);
  Result<Data> (*document)(const Answer<T>& answer, const Keys& asked);
};

/// Calls `use` with the kind of that number, a `Kind<T>`. A further kind of question is one case here. Throws
/// a `Refusal` of a number that no kind has.
template <class Use>
void withKind(std::int32_t number, Use use) {
  switch (number) {
    case VELLORA_RECORDS:
      return use(Kind<ObjectPresentationInfo>{
          number, true,
          [](const auto& catalog, const auto& it) { return catalog.records(it.keys, it.options()); },
          recordsDocument});
    case VELLORA_TYPES:
      return use(Kind<ObjectPresentationInfo>{
          number, true,
          [](const auto& catalog, const auto& it) { return catalog.types(it.keys, it.options()); },
          typesDocument});
    case VELLORA_ALL_TYPES:
      return use(Kind<ObjectPresentationInfo>{
          number, false,
          [](const auto& catalog, const auto& it) { return catalog.allTypes(it.filter, it.options()); },
          [](const auto& answer, const auto&) { return allTypesDocument(answer); }});
    case VELLORA_SEARCH_COLUMNS:
      return use(Kind<ObjectLayoutInfo>{
          number, true,
          [](const auto& catalog, const auto& it) { return catalog.searchColumns(it.keys, it.options()); },
          searchColumnsDocument});
    case VELLORA_HEADLINES:
      return use(Kind<ObjectCompactLayoutInfo>{
          number, true,
          [](const auto& catalog, const auto& it) { return catalog.headlines(it.keys, it.options()); },
          headlinesDocument});
    case VELLORA_REFRESH:
      return use(Kind<TypeChange>{
          number, false,
          [](const auto& catalog, const auto& it) { return catalog.refresh({.deadline = it.deadline}); },
          [](const auto& answer, const auto&) { return refreshDocument(answer); }});
    default:
      throw Refusal(VELLORA_BAD_ARGUMENT, "There is no question of kind " + std::to_string(number) + ".");
  }
}

}  // namespace vellora::capi
