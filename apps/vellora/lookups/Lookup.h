#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Awaited.h"
#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Session.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

/// One kind of question that the command asks: by keys, answered by a dictionary, or by nothing.
template <class Record>
struct Lookup {
  using Answer = std::optional<std::map<std::string, Record>>;

  std::string what;  ///< what a key has none of when it is missing, such as "search layout"
  std::function<void(const std::vector<std::string>& keys, std::function<void(Answer)> completion)> start;
  std::function<std::string(const std::map<std::string, Record>& answer, const Style& style)> text;

  /// The library's log line after which no answer comes any more; empty when it always answers.
  std::string endLine = {};
};

/// Asks, waits, prints what came and complains of what did not.
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

  if (arguments.json) {
    const auto json = json::encode(answer);
    if (!json) return complain({ExitCode::unexpected, json.error().localizedDescription()});
    if (!print(std::string(json.value().view()) + "\n")) return ExitCode::unexpected;
  } else if (answer) {
    if (!print(lookup.text(*answer, Style(arguments.color)))) return ExitCode::unexpected;
  }

  std::vector<std::string> missing;
  for (const auto& key : distinct(keys)) {
    if (!answer || !answer->contains(key)) missing.push_back(key);
  }
  const Ending ending = arrived ? Ending::answered : awaited->isOver() ? Ending::failed : Ending::ranOut;
  return judge(missing, lookup.what, ending, arguments, session);
}

}  // namespace vellora::command
