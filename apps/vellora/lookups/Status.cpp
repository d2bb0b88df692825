#include "apps/vellora/lookups/Status.h"

#include <unistd.h>

#include <cmath>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>

#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Reason.h"
#include "apps/vellora/command/TextTable.h"
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

void showProgress(const Readiness& readiness) {
  if (::isatty(STDERR_FILENO) != 1) return;
  std::cerr << "vellora: " + std::string(nameOf(readiness.readinessCase())) + '\n';
}

std::string behind(const std::optional<std::string>& text) {
  return text ? "; " + *text : std::string();
}

ExitCode judge(const Status& status, const Readiness& readiness, const Arguments& arguments,
               const Session& session) {
  if (readiness.readinessCase() == Readiness::Case::ready) return ExitCode::answered;
  std::ostringstream what;
  if (status.error) {
    what << "loading failed: " << *status.error << behind(session.cacheFailure());
  } else {
    what << "still loading after " << arguments.wait << " s" << behind(session.cacheFailure())
         << "; give it longer with --wait SECONDS";
  }
  return complain({ExitCode::requestFailed, what.str()});
}

Status statusOf(const Readiness& readiness, const Arguments& arguments, const Session& session) {
  auto& cache = *session.api().cache;
  Status status{.state = std::string(nameOf(readiness.readinessCase())),
                .themes = themesStatus(cache, arguments.cacheTimeout),
                .sObjects = sObjectsStatus(cache, arguments.cacheTimeout)};
  const bool isReady = readiness.readinessCase() == Readiness::Case::ready;
  status.primedAndCached = isReady && status.themes.fresh && status.sObjects.fresh;
  if (readiness.failure() != nullptr)
    status.error = session.secrets()->cleaned(reasonOf(*readiness.failure()));
  return status;
}

}  // namespace

ExitCode showStatus(const Arguments& arguments, const Session& session) {
  const CommandCatalog catalog(arguments, session.api());
  showProgress(catalog->readiness());
  // Any question that needs both lists has them loaded.
  static_cast<void>(catalog->allTypes({}, questionOptions(arguments)).get());
  const Readiness readiness = catalog->readiness();
  if (readiness.readinessCase() != Readiness::Case::loading) showProgress(readiness);

  const Status status = statusOf(readiness, arguments, session);
  const ExitCode printed = arguments.json ? printJson(encode(status)) : printText(tableOf(status));
  return printed != ExitCode::answered ? printed : judge(status, readiness, arguments, session);
}

}  // namespace vellora::command
