#include <CLI/CLI.hpp>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "bench/fleet/Costs.h"
#include "bench/fleet/Fleet.h"
#include "bench/fleet/Report.h"
#include "bench/fleet/Study.h"

// usage: vellora-fleet study --costs FILE FOLDER   the tables on standard output, the pictures into FOLDER
//        vellora-fleet day --costs FILE …          a line for each second of one day on standard output
//
// Ends with 0, with 1 when a file cannot be read or written, with CLI11's codes for a wrong use.

namespace {

using namespace vellora::fleet;

struct Given {
  std::string costs;
  std::string folder;
  std::string starts;
  double release = -1;
  std::vector<double> outage;
  bool isCommand = false;
  Scenario scenario;
};

int fail(const std::string& message) {
  std::cerr << "vellora-fleet: " << message << '\n';
  return 1;
}

int study(const Given& given, const Costs& costs) {
  Study study(costs, given.scenario.seed, std::cerr, given.scenario.mostAgents);
  for (const auto& [name, svg] : pictures(study)) {
    std::ofstream file(std::filesystem::path(given.folder) / name);
    if (!(file << svg << std::flush)) return fail("cannot write " + name);
  }
  std::cout << tables(study);
  return 0;
}

/// Each run of the command is an app that asks once, tries once, and waits for the answer.
void makeCommand(Scenario& scenario) {
  scenario.shareOfMachines = 0;
  scenario.retry.attempts = 1;
  scenario.daysBefore = 0;
  scenario.beginsFilled = false;
  scenario.usage.shortestRun = 20;
  scenario.usage.meanRun = 0;
  scenario.usage.meanGap = secondsOfDay * 1000;
}

int day(const Given& given, const Costs& costs) {
  auto scenario = given.scenario;
  if (given.isCommand) makeCommand(scenario);
  if (given.release >= 0) scenario.release = given.release * secondsOfHour;
  if (!given.outage.empty())
    scenario.outage = {given.outage[0] * secondsOfHour, given.outage[1] * secondsOfHour};
  std::ofstream starts(given.starts);
  Fleet fleet(scenario, costs, [&](double time, std::size_t agent) {
    if (!given.starts.empty()) starts << std::to_string(time) << ' ' << agent << '\n';
  });
  const auto& seconds = fleet.run();
  std::cout << "second,requests,refused,bytes,processor\n";
  for (std::size_t i = 0; i < seconds.requests().size(); ++i)
    std::cout << i << ',' << seconds.requests()[i] << ',' << seconds.refused()[i] << ','
              << std::to_string(seconds.bytes()[i]) << ',' << seconds.processor()[i] << '\n';
  if (!given.starts.empty() && !(starts << std::flush)) return fail("cannot write " + given.starts);
  return 0;
}

void addDayOptions(CLI::App& command, Given& given) {
  auto& scenario = given.scenario;
  command.add_option("--apps", scenario.apps);
  command.add_option("--timeout", scenario.timeout);
  command.add_option("--starts-per-day", scenario.usage.startsPerDay);
  command.add_option("--release", given.release, "Hour at which it comes out");
  command.add_option("--outage", given.outage, "Hours of its beginning and end")->expected(2);
  command.add_option("--retry-after", scenario.retryAfter);
  command.add_flag("--conditional", scenario.manners.conditional);
  command.add_flag("--spread", scenario.manners.spread);
  command.add_flag("--backing-off", scenario.manners.backsOff);
  command.add_flag("--shared-cache", scenario.manners.shares);
  command.add_flag("--packed", scenario.manners.packed, "The server packs its lists");
  command.add_flag("--as-command", given.isCommand, "Apps are runs of the command, without a cache at first");
  command.add_option("--starts", given.starts, "File for the moments and agents of all starts");
}

}  // namespace

int main(int argc, char** argv) {
  Given given;
  CLI::App app("Simulates a day of a fleet of apps.");
  app.require_subcommand(1);
  auto& studying = *app.add_subcommand("study", "All days of docs/scale.md");
  auto& oneDay = *app.add_subcommand("day", "One day, second by second");
  for (auto* command : {&studying, &oneDay}) {
    command->add_option("--costs", given.costs)->required();
    command->add_option("--seed", given.scenario.seed);
    command->add_option("--most-agents", given.scenario.mostAgents);
  }
  studying.add_option("FOLDER", given.folder)->required();
  addDayOptions(oneDay, given);
  CLI11_PARSE(app, argc, argv);

  const auto costs = Costs::read(given.costs);
  if (!costs) return fail(costs.error().localizedDescription());
  return studying.parsed() ? study(given, costs.value()) : day(given, costs.value());
}
