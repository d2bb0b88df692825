#include "apps/vellora/lookups/Status.h"

#include <cmath>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>

#include "apps/vellora/command/Advice.h"
#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Reason.h"
#include "apps/vellora/command/TextTable.h"
#include "apps/vellora/command/Verdict.h"
#include "apps/vellora/lookups/CacheStatus.h"
#include "apps/vellora/lookups/ReadinessName.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

namespace {

struct Status {
  std::string state;
  std::optional<std::string> error = {};
  bool primedAndCached = false;
  CacheStatus themes;
  CacheStatus sObjects;

  static constexpr auto fields() {
    return std::tuple(json::field("state", &Status::state), json::field("error", &Status::error),
                      json::field("primedAndCached", &Status::primedAndCached),
                      json::field("themes", &Status::themes), json::field("sObjects", &Status::sObjects));
  }
};

std::string text(const CacheStatus& cache) {
  if (!cache.ageSeconds) return "never fetched";
  std::ostringstream words;
  words << (cache.fresh ? "fresh" : "expired") << ", fetched " << std::llround(*cache.ageSeconds) << " s ago";
  return words.str();
}

std::string tableOf(const Status& status) {
  TextTable table({"STATE", status.state});
  table.addRow({"READY", status.primedAndCached ? "yes" : "no"});
  table.addRow({"THEMES", text(status.themes)});
  table.addRow({"OBJECT TYPES", text(status.sObjects)});
  return table.text("");
}

std::string behind(const std::optional<std::string>& text) {
  return text ? "; " + *text : std::string();
}

bool isOffline(const Arguments& arguments) {
  return arguments.source == Source::cacheOnly;
}

/// What is to be said of lists that are not there; empty when they are.
std::string lackIn(const Status& status, const Readiness& readiness, const Arguments& arguments,
                   const Session& session) {
  if (isOffline(arguments)) {
    const bool isWhole = status.themes.ageSeconds && status.sObjects.ageSeconds;
    return isWhole ? "" : "not everything is cached; leave --offline out to ask the server";
  }
  if (readiness.failure() != nullptr)
    return "loading failed: " + reasonWithAdvice(*readiness.failure()) + behind(session.cacheFailure());
  if (readiness.readinessCase() == Readiness::Case::ready) return "";
  std::ostringstream what;
  what << "still loading after " << arguments.wait << " s" << behind(session.cacheFailure())
       << "; give it longer with --wait SECONDS";
  return what.str();
}

ExitCode judge(const Status& status, const Readiness& readiness, const Arguments& arguments,
               const Session& session) {
  const std::string lack = lackIn(status, readiness, arguments, session);
  if (lack.empty()) return ExitCode::answered;
  const auto exit = isOffline(arguments) ? ExitCode::someMissing : ExitCode::requestFailed;
  return complain(Verdict{exit, {lack}, {}}, *session.secrets(), arguments.output);
}

Status statusOf(const Readiness& readiness, const Arguments& arguments, const Session& session) {
  auto& cache = *session.api().cache;
  Status status{.state = isOffline(arguments) ? "offline" : std::string(nameOf(readiness.readinessCase())),
                .themes = themesStatus(cache, arguments.cacheTimeout),
                .sObjects = sObjectsStatus(cache, arguments.cacheTimeout)};
  const bool isReady = isOffline(arguments) || readiness.readinessCase() == Readiness::Case::ready;
  status.primedAndCached = isReady && status.themes.fresh && status.sObjects.fresh;
  if (readiness.failure() != nullptr)
    status.error = session.secrets()->cleaned(reasonOf(*readiness.failure()));
  return status;
}

void showState(const Readiness& readiness, const Arguments& arguments) {
  const bool isWanted = arguments.output.talk != Talk::quiet && !isOffline(arguments);
  if (isWanted && errorColumns())
    std::cerr << "vellora: " + std::string(nameOf(readiness.readinessCase())) + '\n';
}

}  // namespace

ExitCode showStatus(const Arguments& arguments, const Session& session) {
  const CommandCatalog catalog(arguments, session.api(), session.secrets());
  showState(catalog->readiness(), arguments);
  // Any question that needs both lists has them loaded.
  catalog.answerTo(&Catalog::allTypes, std::string(), questionOptions(arguments));
  const Readiness readiness = catalog->readiness();
  if (readiness.readinessCase() != Readiness::Case::loading) showState(readiness, arguments);

  const Status status = statusOf(readiness, arguments, session);
  const ExitCode printed =
      arguments.printsDocument() ? printJson(encode(status)) : printText(tableOf(status));
  return printed != ExitCode::answered ? printed : judge(status, readiness, arguments, session);
}

}  // namespace vellora::command
