#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Session.h"
#include "apps/vellora/command/Verdict.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

/// One kind of lookup that the command offers: what the catalogue is asked about keys, and how that is shown.
template <class Record>
struct Lookup {
  std::string what;  ///< what is looked up for a key, such as "search layout"; for messages
  Question<Record> (Catalog::*ask)(const Keys& keys, const QuestionOptions& options) const;
  std::function<std::string(const std::map<std::string, Record>& found, const Style& style)> text;

  /// Whether JSON is null when the lookup fails and finds nothing, and not an empty dictionary. Documents
  /// have always differed in that.
  bool isNullWhenItFails = false;
};

/// Prints what was found as JSON or as a table. When time ran out before anything was, JSON is null.
template <class Record>
[[nodiscard]] ExitCode printAnswer(const Lookup<Record>& lookup, const Answer<Record>& answer,
                                   const Arguments& arguments) {
  if (!arguments.json) return printText(lookup.text(answer.found, Style(arguments.color)));
  const bool isNull = answer.end == End::timedOut || (answer.end == End::failed && lookup.isNullWhenItFails);
  if (isNull && answer.found.empty()) return printText("null\n");
  return printJson(json::encode(answer.found));
}

/// Asks, waits for the answer, prints it and tells why keys are missing.
template <class Record>
ExitCode run(const Lookup<Record>& lookup, const std::vector<std::string>& keys, const Arguments& arguments,
             const Session& session) {
  const CommandCatalog catalog(arguments, session.api());
  const auto answer = ((*catalog).*lookup.ask)(keys, questionOptions(arguments)).get();
  if (const auto printed = printAnswer(lookup, answer, arguments); printed != ExitCode::answered)
    return printed;
  return complain(verdictOn({.keys = keys,
                             .missing = answer.missing,
                             .trouble = answer.trouble,
                             .what = lookup.what,
                             .wait = arguments.wait,
                             .unanswered = answer.end == End::timedOut ? catalog.unanswered() : std::nullopt,
                             .cacheFailure = session.cacheFailure()}),
                  *session.secrets());
}

}  // namespace vellora::command
