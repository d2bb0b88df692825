#include "apps/records-server/Arguments.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace vellora::recordsserver {
namespace {

constexpr int usageError = 2;

void addServingOptions(CLI::App& app, Arguments& arguments) {
  app.add_option("--port", arguments.port, "Listen on this port; without it on a free one")
      ->option_text("PORT");
  app.add_option("--port-file", arguments.portFile, "Write the port's number to this file once it is open")
      ->option_text("FILE");
  app.add_option("--token-file", arguments.tokenFile,
                 "Ask for the bearer token in this file; requests without it get status 401")
      ->option_text("FILE");
  app.add_option("--log-file", arguments.logFile,
                 "Append the request lines to this file, not to standard error")
      ->option_text("FILE");
  app.add_flag("--gzip", arguments.gzip, "Pack the bodies for who accepts them so");
  app.add_flag("--exit-with-stdin", arguments.exitWithStdin, "Stop when standard input is closed");
}

void addDataOptions(CLI::App& app, Arguments& arguments) {
  auto* folder = app.add_option("--data", arguments.dataFolder, "Serve the JSON files of this folder")
                     ->option_text("DIR")
                     ->group("Data, one of (without: a built-in set of some forty object types)");
  app.add_option("--types", arguments.generatedTypes, "Serve a generated set of N object types")
      ->option_text("N")
      ->check(CLI::Range(0, 100'000))
      ->group(folder->get_group())
      ->excludes(folder);
}

void addFaultOptions(CLI::App& app, Arguments& arguments) {
  const std::string group = "Faults, for every request: --delay and one of the others";
  app.add_option("--delay", arguments.delayMilliseconds, "Wait before each answer")
      ->option_text("MS")
      ->group(group);
  auto* fail = app.add_option("--fail", arguments.failStatus, "Answer with this status and an error body")
                   ->option_text("STATUS")
                   ->check(CLI::Range(400, 599))
                   ->group(group);
  auto* truncate = app.add_option("--truncate", arguments.truncateBytes,
                                  "End the connection after this many bytes of each body")
                       ->option_text("BYTES")
                       ->group(group);
  auto* drop = app.add_flag("--drop", arguments.drop, "End the connection without an answer")
                   ->option_text(" ")
                   ->group(group);
  auto* garbage = app.add_flag("--garbage", arguments.garbage, "Answer with bytes that are not JSON")
                      ->option_text(" ")
                      ->group(group);
  auto* wrongTags = app.add_option("--wrong-tags", arguments.wrongTags,
                                   "Answer conditional requests wrongly: \"unasked\" says that nothing has\n"
                                   "changed to everybody, \"other\" says so of another body, \"frozen\" has\n"
                                   "one tag for whatever body")
                        ->option_text("HOW")
                        ->check(CLI::IsMember({"unasked", "other", "frozen"}))
                        ->group(group);
  fail->excludes(truncate)->excludes(drop)->excludes(garbage)->excludes(wrongTags);
  truncate->excludes(drop)->excludes(garbage)->excludes(wrongTags);
  drop->excludes(garbage)->excludes(wrongTags);
  garbage->excludes(wrongTags);
}

}  // namespace

std::variant<Arguments, int> readArguments(int argc, const char* const* argv) {
  CLI::App app{
      "A business-records server for demonstrations and tests. It listens on the loopback interface only,\n"
      "prints its address on standard output and each request line on standard error.",
      "records-server"};
  app.footer("Stops at SIGINT and SIGTERM.\nExit codes: 0 stopped as asked; 1 could not start; 2 usage.");
  Arguments arguments;
  addServingOptions(app, arguments);
  addDataOptions(app, arguments);
  addFaultOptions(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::cerr << "records-server: " << error.what() << "; see records-server --help\n";
    return usageError;
  }
  return arguments;
}

}  // namespace vellora::recordsserver
