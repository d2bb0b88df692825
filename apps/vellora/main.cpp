#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <variant>

#include "apps/vellora/cache/CacheCommand.h"
#include "apps/vellora/changes/DiffCommand.h"
#include "apps/vellora/changes/WatchCommand.h"
#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Keys.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Session.h"
#include "apps/vellora/command/StandardDescriptors.h"
#include "apps/vellora/completion/CompletionCommand.h"
#include "apps/vellora/explore/Explore.h"
#include "apps/vellora/lookups/CompactLayouts.h"
#include "apps/vellora/lookups/Presentation.h"
#include "apps/vellora/lookups/SearchLayouts.h"
#include "apps/vellora/lookups/Status.h"
#include "apps/vellora/lookups/TypeList.h"

namespace {

using namespace vellora::command;

// Ends at once: nothing needs tidying up, since the cache file survives an end at any moment.
extern "C" void onInterrupt(int) {
  ::_exit(static_cast<int>(ExitCode::interrupted));
}

void setUpSignals() {
  struct sigaction interrupt {};
  interrupt.sa_handler = onInterrupt;
  ::sigaction(SIGINT, &interrupt, nullptr);
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, nullptr);  // a reader that left makes the write fail
  ::sigaction(SIGXFSZ, &ignore, nullptr);  // so does a file that is as large as it may be
}

ExitCode runCommand(const Arguments& arguments) {
  for (const auto& note : arguments.notes) complain({ExitCode::answered, note});
  if (arguments.command == Arguments::Command::cache) return runCacheCommand(arguments);
  if (arguments.command == Arguments::Command::diff) return runDiff(arguments);
  if (arguments.command == Arguments::Command::completion) return printCompletion(arguments);
  const auto keys = keysToLookUp(arguments, std::cin);
  // The stream takes a failed read for the end of the input, so the C library is asked.
  if (std::ferror(stdin) != 0) return complain({ExitCode::usage, "cannot read standard input"});
  if (const auto key = keyThatIsNoText(keys))
    return complain({ExitCode::usage, "not UTF-8: " + keyText(*key)});
  const auto opened = Session::open(arguments);
  if (const auto* problem = std::get_if<Problem>(&opened)) return complain(*problem);
  const Session& session = *std::get<0>(opened);
  switch (arguments.command) {
    case Arguments::Command::ids:
      return run(presentationForIds(), keys, arguments, session);
    case Arguments::Command::names:
      return run(presentationForNames(), keys, arguments, session);
    case Arguments::Command::list:
      return listTypes(arguments, session);
    case Arguments::Command::searchLayouts:
      return run(searchLayouts(), keys, arguments, session);
    case Arguments::Command::compactLayouts:
      return run(compactLayouts(), keys, arguments, session);
    case Arguments::Command::status:
      return showStatus(arguments, session);
    case Arguments::Command::explore:
      return explore(arguments, session);
    case Arguments::Command::watch:
      return watch(keys, arguments, session);
    case Arguments::Command::cache:
    case Arguments::Command::diff:
    case Arguments::Command::completion:
      break;  // need no session of the arguments' server
  }
  return ExitCode::unexpected;
}

ExitCode start(int argc, const char* const* argv) {
  const auto parsed = parseArguments(argc, argv);
  if (const auto* problem = std::get_if<Problem>(&parsed)) return complain(*problem);
  if (const auto* help = std::get_if<HelpText>(&parsed)) {
    return printText(help->text);
  }
  return runCommand(std::get<Arguments>(parsed));
}

}  // namespace

int main(int argc, char** argv) {
  if (!openStandardDescriptors()) return static_cast<int>(ExitCode::unexpected);
  setUpSignals();
  try {
    return static_cast<int>(start(argc, argv));
  } catch (const std::exception& error) {
    return static_cast<int>(complain({ExitCode::unexpected, error.what()}));
  }
}
