#include "apps/vellora/lookups/Status.h"

#include <unistd.h>

#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>

#include "apps/vellora/command/Awaited.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/TextTable.h"
#include "apps/vellora/lookups/CacheStatus.h"
#include "apps/vellora/lookups/Presentation.h"
#include "apps/vellora/lookups/PrimerState.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

namespace {

using State = VelloraService::State;

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

void showProgress(const State& state) {
  if (::isatty(STDERR_FILENO) == 1) std::cerr << "vellora: " + printable(state.description()) + '\n';
}

ExitCode judge(const State& state, const Arguments& arguments, const Session& session) {
  if (state == State::loaded()) return ExitCode::answered;
  std::ostringstream what;
  if (state == State::isLoading()) {
    what << "still loading after " << arguments.wait << " s; give it longer with --wait SECONDS";
  } else {
    what << "loading failed: " << session.failure().value_or(state.error()->localizedDescription());
  }
  return complain({ExitCode::requestFailed, what.str()});
}

Status statusOf(const State& state, const VelloraService& service, const Arguments& arguments,
                const Session& session) {
  auto& cache = *session.api().cache;
  Status status{.state = std::string(nameOf(state.stateCase())),
                .primedAndCached = service.primedAndCached(),
                .themes = themesStatus(cache, arguments.cacheTimeout),
                .sObjects = sObjectsStatus(cache, arguments.cacheTimeout)};
  if (state.error() != nullptr) status.error = state.error()->localizedDescription();
  return status;
}

}  // namespace

ExitCode showStatus(const Arguments& arguments, const Session& session) {
  const auto service = openService(arguments, session);
  const auto settled = std::make_shared<Awaited<State>>();
  const auto token = service->primerStateStream().sink([settled](const State& state) {
    showProgress(state);
    if (state != State::isLoading()) settled->set(state);
  });
  static_cast<void>(settled->waitFor(arguments.wait));
  session.settle();

  const State state = service->primerState();
  const Status status = statusOf(state, *service, arguments, session);
  const ExitCode printed = arguments.json ? printJson(encode(status)) : printText(tableOf(status));
  return printed != ExitCode::answered ? printed : judge(state, arguments, session);
}

}  // namespace vellora::command
