#include "apps/vellora/Status.h"

#include <unistd.h>

#include <cmath>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include "apps/vellora/Awaited.h"
#include "apps/vellora/Output.h"
#include "apps/vellora/Presentation.h"
#include "apps/vellora/TextTable.h"
#include "vellora/Platform/Date.h"
#include "vellora/Platform/JsonCodec.h"

namespace vellora::command {

namespace {

using State = VelloraService::State;

/// One of the two caches that loading fills.
struct CacheStatus {
  std::optional<double> ageSeconds;  ///< absent when it was never filled
  bool fresh = false;

  static constexpr std::string_view recordName = "CacheStatus";
  static constexpr auto fields() {
    return std::tuple(json::field("ageSeconds", &CacheStatus::ageSeconds),
                      json::field("fresh", &CacheStatus::fresh));
  }
};

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

/// The services keep the moment of the last fetch as the raw bytes of a double, in seconds since 1970.
CacheStatus cacheStatus(CorvaneSDK::Cache& cache, const std::string& timeStampKey, double cacheTimeout) {
  double fetched = 0;
  const auto bytes = cache.load(timeStampKey);
  if (!bytes || bytes->size() < sizeof fetched) return {};
  std::memcpy(&fetched, bytes->data(), sizeof fetched);
  const double age = now().secondsSince1970() - fetched;
  return {age, std::abs(age) <= cacheTimeout};
}

std::string_view nameOf(State::Case stateCase) {
  switch (stateCase) {
    case State::Case::isLoading:
      return "isLoading";
    case State::Case::loaded:
      return "loaded";
    case State::Case::failed:
      return "failed";
  }
  return "unknown";
}

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
  if (::isatty(STDERR_FILENO) == 1) std::cerr << "vellora: " << printable(state.description()) << '\n';
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
                      service->primedAndCached(),
                      cacheStatus(cache, "ops.theme.fetch.timestamp", arguments.cacheTimeout),
                      cacheStatus(cache, "ops.sobject.fetch.timestamp", arguments.cacheTimeout)};
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
