#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/ColumnChoice.h"
#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Problem.h"
#include "apps/vellora/command/RowText.h"
#include "apps/vellora/command/Rows.h"
#include "apps/vellora/command/Session.h"
#include "apps/vellora/command/Verdict.h"
#include "apps/vellora/lookups/NearestTypes.h"
#include "apps/vellora/lookups/ThemeNote.h"
#include "apps/vellora/lookups/WithoutSecrets.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/InOrderAsked.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Host/Cache.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::command {

/// What was found, each key with its record, in the order in which it is shown.
template <class Record>
using InOrder = std::vector<const std::pair<const std::string, Record>*>;

/// One kind of lookup that the command offers: what the catalogue is asked about keys, and how that is shown.
template <class Record>
struct Lookup {
  std::string what;  ///< what is looked up for a key, such as "search layout"; for messages
  Question<Record> (Catalog::*ask)(const Keys& keys, const QuestionOptions& options) const;
  std::vector<Column> columns;
  std::function<std::vector<RowGroup>(const InOrder<Record>& found, CorvaneSDK::Cache& cache)> groups;
  std::function<Result<Data>(const Answer<Record>& answer, const Keys& asked)> document;

  bool hasHeadings = false;  ///< whether a table tells the groups apart
  std::string ifEmpty = {};  ///< of a group without rows
  bool isOfNames = true;     ///< whether the keys are API names
  bool isThemed = false;     ///< whether the answer has colours and icons

  /// Whether JSON is null when the lookup fails and finds nothing, and not an empty dictionary. Documents
  /// have always differed in that.
  bool isNullWhenItFails = false;
};

/// How old the oldest of what was found is, if that is older than the time-out.
template <class Record>
[[nodiscard]] std::optional<OldData> oldDataIn(const Answer<Record>& answer) {
  std::optional<OldData> old;
  for (const auto& [key, record] : answer.found) {
    const Age age = answer.ageOf(key);
    if (!age.isStale) continue;
    if (!old) old.emplace();
    if (!age.fetched) continue;
    old->ageSeconds = std::max(old->ageSeconds.value_or(0), now().secondsSince(*age.fetched));
  }
  return old;
}

/// The dictionary of what was found. When time ran out before anything was, it is null.
template <class Record>
[[nodiscard]] ExitCode printDictionary(const Lookup<Record>& lookup, const Answer<Record>& answer) {
  const bool isNull = answer.end == End::timedOut || (answer.end == End::failed && lookup.isNullWhenItFails);
  if (isNull && answer.found.empty()) return printText("null\n");
  return printJson(json::encode(answer.found));
}

/// Prints what was found as the arguments say, in the order in which it stands in `found`.
template <class Record>
[[nodiscard]] ExitCode printAnswer(const Lookup<Record>& lookup, const Answer<Record>& answer,
                                   const InOrder<Record>& found, const Keys& asked,
                                   const Arguments& arguments, const Session& session) {
  if (arguments.json) return printDictionary(lookup, answer);
  if (arguments.output.prints(Format::json))
    return printJson(lookup.document(withoutSecrets(answer, *session.secrets()), asked));
  const auto chosen = chosenColumns(lookup.columns, arguments.output);
  if (const auto* problem = std::get_if<Problem>(&chosen)) return complain(*problem);
  const Rows rows{lookup.columns, lookup.groups(found, *session.api().cache), lookup.hasHeadings,
                  lookup.ifEmpty};
  return printText(rowText(rows, std::get<0>(chosen), arguments.output));
}

/// What is known of what the answer lacks, but for the keys.
template <class Record>
[[nodiscard]] Lack lackOf(const Lookup<Record>& lookup, const Answer<Record>& answer,
                          const Arguments& arguments, const Session& session, const CommandCatalog& catalog) {
  Lack lack{.missing = answer.missing, .trouble = answer.trouble, .what = lookup.what};
  lack.wait = arguments.wait;
  if (answer.end == End::timedOut) lack.unanswered = catalog.unanswered();
  lack.cacheFailure = session.cacheFailure();
  lack.old = oldDataIn(answer);
  lack.isOffline = arguments.source == Source::cacheOnly;
  return lack;
}

/// Tells of a theme that there is none of, where that matters.
template <class Record>
void remarkOnTheme(const Lookup<Record>& lookup, const Answer<Record>& answer, const Arguments& arguments,
                   const Session& session) {
  if (!lookup.isThemed || answer.found.empty() || arguments.output.talk == Talk::quiet) return;
  if (const auto note = themeNote(arguments.theme, *session.api().cache))
    remark(*note, *session.secrets(), arguments.output);
}

/// Asks, waits for the answer, prints it and tells why keys are missing.
template <class Record>
ExitCode run(const Lookup<Record>& lookup, const std::vector<std::string>& keys, const Arguments& arguments,
             const Session& session) {
  const auto chosen = chosenColumns(lookup.columns, arguments.output);
  if (const auto* problem = std::get_if<Problem>(&chosen)) return complain(*problem);
  const CommandCatalog catalog(arguments, session.api(), session.secrets());
  const auto answer = catalog.answerTo(lookup.ask, keys, questionOptions(arguments));
  const auto printed =
      printAnswer(lookup, answer, inOrderAsked(answer.found, keys), keys, arguments, session);
  if (printed != ExitCode::answered) return printed;
  remarkOnTheme(lookup, answer, arguments, session);
  Lack lack = lackOf(lookup, answer, arguments, session, catalog);
  lack.keys = keys;
  if (lookup.isOfNames) lack.meant = nearestTypes(answer.missing, *session.api().cache);
  return complain(verdictOn(lack), *session.secrets(), arguments.output);
}

}  // namespace vellora::command
