#include "apps/vellora/lookups/Status.h"

#include <unistd.h>

#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include "apps/vellora/command/Awaited.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/TextTable.h"
#include "apps/vellora/lookups/CacheStatus.h"
#include "apps/vellora/lookups/Presentation.h"
#include "apps/vellora/lookups/PrimerState.h"
#include "vellora/Platform/Json/JsonCodec.h"

namespace vellora::command {

namespace {

using State = VelloraService::State;

struct Status {
  std::string state;
  std::optional<std::string> error;
  bool primedAndCached = false;
  CacheStatus themes;
  CacheStatus sObjects;

  static constexpr std::string_view recordName = "Status";
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
  auto& cache = *session.api().cache;
  const Status status{std::string(nameOf(state.stateCase())),
                      state.error() ? std::optional(state.error()->localizedDescription()) : std::nullopt,
                      service->primedAndCached(), themesStatus(cache, arguments.cacheTimeout),
                      sObjectsStatus(cache, arguments.cacheTimeout)};
  if (arguments.json) {
    const auto json = json::encode(status);
    if (!json) return complain({ExitCode::unexpected, json.error().localizedDescription()});
    if (!print(std::string(json.value().view()) + "\n")) return ExitCode::unexpected;
  } else if (!print(tableOf(status))) {
    return ExitCode::unexpected;
  }
  return judge(state, arguments, session);
}

}  // namespace vellora::command
