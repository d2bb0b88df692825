#include "tests/faults/CatalogOperations.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "vellora/Catalog/Catalog.h"
#include "vellora/DataServices/NotCached.h"

namespace vellora::faults {

namespace {

using faults::entryOf;
using Service = Operation::Service;

/// A catalogue and the questions that it was asked. They go first.
struct Asked {
  Catalog catalog;
  std::vector<QuestionToken> tokens;
};

std::string reasonOf(const Failure& failure) {
  return failure.error().as<NotCached>() ? "not cached" : textOf(failure.error());
}

/// "unknown", "timed out", "failed (transport)".
std::string reasonOf(const Missing& missing) {
  switch (missing.why()) {
    case Missing::Why::unknown:
      return "unknown";
    case Missing::Why::failed:
    case Missing::Why::notAsked:
      return "failed (" + reasonOf(*missing.failure()) + ")";
    default:
      return missing.text();
  }
}

std::string_view nameOf(End end) {
  switch (end) {
    case End::answered:
      return "answered";
    case End::failed:
      return "failed";
    case End::timedOut:
      return "timed out";
    case End::cancelled:
      break;
  }
  return "cancelled";
}

template <class T>
bool isStale(const Answer<T>& answer) {
  return std::any_of(answer.found.begin(), answer.found.end(),
                     [&](const auto& entry) { return answer.ageOf(entry.first).isStale; });
}

/// What is to be said of a whole answer: how it ended, that it is old, what the trouble was unless a key says
/// so.
template <class T>
std::string remarksOn(const Answer<T>& answer) {
  const std::string trouble = answer.trouble ? reasonOf(*answer.trouble) : "";
  const bool isTold = std::any_of(answer.missing.begin(), answer.missing.end(), [&](const auto& entry) {
    return entry.second.failure() && reasonOf(*entry.second.failure()) == trouble;
  });
  std::string remarks;
  const auto add = [&](std::string_view remark) {
    remarks.append(remarks.empty() ? "" : " + ").append(remark);
  };
  if (answer.end != End::answered) add(nameOf(answer.end));
  if (isStale(answer)) add("old");
  if (!trouble.empty() && !isTold) add(trouble);
  return remarks;
}

Delivery::Entry entryOf(TypeChange change) {
  const std::string text = change == TypeChange::removed ? "removed" : "changed";
  return {text, text};
}

/// What is new depends on what there was before, so that the next refresh finds nothing of it.
bool isLasting(TypeChange change) {
  return change != TypeChange::added;
}
template <class T>
bool isLasting(const T&) {
  return true;
}

/// Each key with what was found or why nothing was. Where all are missing for one reason, and the end says no
/// more, that reason stands for them.
template <class T>
Delivery deliveryOfAnswer(const Answer<T>& answer) {
  Delivery delivery{.entries = {{}}, .error = remarksOn(answer)};
  for (const auto& [key, value] : answer.found) {
    if (isLasting(value)) delivery.entries->emplace(key, entryOf(value));
  }
  bool areAlike = answer.found.empty() && answer.end != End::answered;
  for (const auto& [key, missing] : answer.missing) {
    const auto reason = reasonOf(missing);
    areAlike = areAlike && reason == reasonOf(answer.missing.begin()->second);
    delivery.entries->emplace(key, Delivery::Entry{reason, reason});
  }
  if (!areAlike) return delivery;
  const auto reason = answer.end == End::failed && answer.trouble ? reasonOf(*answer.trouble)
                                                                  : std::string(nameOf(answer.end));
  return {.entries = std::nullopt, .error = reason};
}

/// `question(catalog)` as an operation of that name.
template <class Ask>
Operation questionOf(std::string name, Ask question) {
  const auto ask = [question](FaultRun& run, const Service& service) {
    auto asked = std::static_pointer_cast<Asked>(service);
    if (!asked) {
      asked = std::shared_ptr<Asked>(new Asked{Catalog(run.platform(), {.cacheTimeout = std::chrono::hours(1),
                                                                        .answersOn = run.hostQueue(),
                                                                        .timer = run.timer()}),
                                               {}});
    }
    asked->tokens.push_back(question(asked->catalog).then([deliver = run.deliver()](const auto& answer) {
      deliver(deliveryOfAnswer(answer));
    }));
    return asked;
  };
  return {std::move(name), ask, true, true};
}

}  // namespace

std::vector<Operation> catalogOperations() {
  return {
      questionOf("records",
                 [](const Catalog& catalog) {
                   return catalog.records({"001a", "00Bv", "zzz"});
                 }),
      questionOf("types",
                 [](const Catalog& catalog) {
                   return catalog.types({"Account", "Contact", "Nonsense"});
                 }),
      questionOf("allTypes", [](const Catalog& catalog) { return catalog.allTypes(); }),
      questionOf("searchColumns",
                 [](const Catalog& catalog) {
                   return catalog.searchColumns({"Account", "Contact"});
                 }),
      questionOf("headlines",
                 [](const Catalog& catalog) {
                   return catalog.headlines({"Account", "Contact"});
                 }),
      questionOf("refresh", [](const Catalog& catalog) { return catalog.refresh(); }),
  };
}

}  // namespace vellora::faults
