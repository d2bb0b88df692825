#include "apps/vellora/changes/WatchCommand.h"

#include <signal.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <sstream>
#include <thread>
#include <tuple>

#include "apps/vellora/changes/DifferenceText.h"
#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/IsoTime.h"
#include "apps/vellora/command/Output.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

/// A line of `vellora watch --json`: a difference and the moment when it was seen.
struct Seen {
  std::string time;
  std::string what;
  std::string name;
  std::string change;
  std::vector<PropertyChange> properties;

  static constexpr auto fields() {
    return std::tuple(json::field("time", &Seen::time), json::field("what", &Seen::what),
                      json::field("name", &Seen::name), json::field("change", &Seen::change),
                      json::field("properties", &Seen::properties));
  }
};

// Ends at once: what was printed is written, and the cache file survives an end at any moment.
extern "C" void onEndOfWatch(int) {
  ::_exit(static_cast<int>(ExitCode::answered));
}

void endOnInterrupt() {
  struct sigaction end {};
  end.sa_handler = onEndOfWatch;
  ::sigaction(SIGINT, &end, nullptr);
}

std::string tableOf(const std::vector<Difference>& differences, const OutputArguments& output) {
  std::vector<std::size_t> all(differenceColumns().size());
  std::iota(all.begin(), all.end(), 0U);
  return differenceText(differences, all, output);
}

ExitCode print(const std::vector<Difference>& differences, const Arguments& arguments) {
  const std::string time = isoTime(now());
  const auto& output = arguments.output;
  if (!arguments.printsDocument() && !output.prints(Format::jsonl))
    return printText(Style::ofOutput(output.color).heading(time) + "\n" + tableOf(differences, output));
  for (const auto& [what, name, change, properties] : differences) {
    const auto printed = printJson(encode(Seen{time, what, name, change, properties}));
    if (printed != ExitCode::answered) return printed;
  }
  return ExitCode::answered;
}

/// Tells somebody at a terminal, or who wants to follow, that something is going on.
void announce(const std::string& text, const hostkit::KnownSecrets& secrets, const OutputArguments& output) {
  if (output.talk == Talk::verbose || errorColumns()) remark(text, secrets, output);
}

std::string beginning(const Watcher& watcher, const Arguments& arguments) {
  std::ostringstream text;
  const auto count = watcher.known().types.size();
  text << "watching " << count << (count == 1 ? " object type" : " object types") << ", every "
       << arguments.changes.interval << " s; Ctrl-C ends";
  return text.str();
}

/// Names that no type has yet.
void tellUnknown(const Watcher& watcher, const hostkit::KnownSecrets& secrets,
                 const OutputArguments& output) {
  for (const auto& name : watcher.names()) {
    if (!watcher.known().types.contains(name))
      remark("there is no object type " + keyText(name) + " yet, nor a record of that id", secrets, output);
  }
}

}  // namespace

ExitCode watch(Watcher& watcher, const Arguments& arguments, const hostkit::KnownSecrets& secrets,
               const Pause& pause) {
  const auto begin = watcher.begin();
  if (begin.exit != ExitCode::answered) return complain(begin, secrets, arguments.output);
  tellUnknown(watcher, secrets, arguments.output);
  announce(beginning(watcher, arguments), secrets, arguments.output);
  for (std::uint64_t count = 1;; ++count) {
    const auto refreshed = watcher.refresh();
    const auto told = complain(refreshed.verdict, secrets, arguments.output);
    if (refreshed.differences.empty() && told == ExitCode::answered)
      announce(isoTime(now()) + ": no change", secrets, arguments.output);
    const auto printed =
        refreshed.differences.empty() ? ExitCode::answered : print(refreshed.differences, arguments);
    if (printed != ExitCode::answered) return printed;
    if (count == arguments.changes.times) return told;
    pause(TimedQueue::bounded(std::chrono::duration<double>(arguments.changes.interval)));
  }
}

ExitCode watch(const std::vector<std::string>& keys, const Arguments& arguments, const Session& session) {
  endOnInterrupt();
  const CommandCatalog catalog(arguments, session.api(), session.secrets());
  Watcher watcher(catalog, arguments, keys);
  return watch(watcher, arguments, *session.secrets(),
               [](std::chrono::duration<double> time) { std::this_thread::sleep_for(time); });
}

}  // namespace vellora::command
