#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Awaited.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Session.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

/// One kind of lookup that the command offers. It takes keys, and answers with a dictionary by key or with
/// nothing.
template <class Record>
struct Lookup {
  using Answer = std::optional<std::map<std::string, Record>>;

  std::string what;  ///< what is looked up for a key, such as "search layout"; for messages
  std::function<void(const std::vector<std::string>& keys, std::function<void(Answer)> completion)> start;
  std::function<std::string(const std::map<std::string, Record>& answer, const Style& style)> text;

  /// The library's log line after which no answer comes any more; empty for a lookup that always answers.
  std::string endLine = {};
};

/// Prints the answer as JSON or as a table. Without an answer, JSON is null and the table is left out.
template <class Record>
[[nodiscard]] ExitCode printAnswer(const Lookup<Record>& lookup,
                                   const typename Lookup<Record>::Answer& answer,
                                   const Arguments& arguments) {
  if (arguments.json) return printJson(json::encode(answer));
  return answer ? printText(lookup.text(*answer, Style(arguments.color))) : ExitCode::answered;
}

/// Those of `keys` that the answer lacks, each once.
template <class Record>
[[nodiscard]] std::vector<std::string> missingKeys(
    const std::vector<std::string>& keys, const std::optional<std::map<std::string, Record>>& answer) {
  std::vector<std::string> missing;
  for (const auto& key : distinct(keys)) {
    if (!answer || !answer->contains(key)) missing.push_back(key);
  }
  return missing;
}

/// Starts the lookup, waits for its answer, prints the answer and reports the keys that it lacks.
template <class Record>
ExitCode run(const Lookup<Record>& lookup, const std::vector<std::string>& keys, const Arguments& arguments,
             const Session& session) {
  using Answer = typename Lookup<Record>::Answer;
  const auto awaited = std::make_shared<Awaited<Answer>>();  // an answer may come after the wait
  if (!lookup.endLine.empty()) session.whenLogged(lookup.endLine, [awaited] { awaited->giveUp(); });
  lookup.start(keys, [awaited](Answer answer) { awaited->set(std::move(answer)); });
  const std::optional<Answer> arrived = awaited->waitFor(arguments.wait);
  session.settle();
  const Answer answer = arrived.value_or(std::nullopt);

  if (const auto printed = printAnswer(lookup, answer, arguments); printed != ExitCode::answered)
    return printed;

  const Ending ending = arrived ? Ending::answered : awaited->isOver() ? Ending::failed : Ending::ranOut;
  return judge(missingKeys(keys, answer), lookup.what, ending, arguments, session);
}

}  // namespace vellora::command
