// Releases things at every moment of every operation; see Stage.h.
//   releases GROUP          the short form for a group: "facade", "service" or "catalog"
//   releases --all GROUP    each thing, in all surroundings
//   releases --pairs GROUP  two things, at each two moments
//   releases --replay CASE  runs the case that a breach has printed, and prints what happens
#include <cstddef>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "tests/simulation/releases/Case.h"
#include "tests/simulation/releases/Operation.h"
#include "tests/simulation/releases/Trial.h"

namespace {

using namespace vellora::releases;

/// What is tried of a group.
struct Extent {
  std::vector<Cached> cached;
  std::vector<Wire> wires;
  std::vector<Thing> things;
  bool isOfPairs = false;
};

const Extent shortForm{{Cached::nothing, Cached::fresh},
                       {Wire::right, Wire::failing},
                       {Thing::owner, Thing::token, Thing::handles, Thing::everything}};
const Extent longForm{every<Cached>(), every<Wire>(), every<Thing>()};
const Extent pairs{shortForm.cached, shortForm.wires, {Thing::token, Thing::handles}, true};

/// What was gone through.
struct Tally {
  std::size_t operations = 0;
  std::size_t surroundings = 0;
  std::size_t moments = 0;
  std::size_t runs = 0;
};

class Enumeration {
 public:
  Enumeration(Operation::Group group, const Extent& extent) : group_(group), extent_(extent) {}

  /// False for a breach, which it prints.
  bool run() {
    for (const auto& operation : operations()) {
      if (operation.group != group_) continue;
      ++tally_.operations;
      for (const auto cached : extent_.cached) {
        for (const auto wire : extent_.wires) {
          if (!runIn({operation.name, cached, wire})) return false;
        }
      }
    }
    return true;
  }

  [[nodiscard]] const Tally& tally() const { return tally_; }

 private:
  bool runIn(const Case& surrounding) {
    Trial trial(surrounding);
    ++tally_.surroundings;
    tally_.moments += trial.undisturbed().moments;
    for (const auto thing : extent_.things) {
      if (isWithout(trial, thing)) continue;
      for (std::size_t moment = 1; moment <= trial.undisturbed().moments; ++moment) {
        if (!runWith(trial, surrounding, {thing, moment})) return false;
      }
    }
    return true;
  }

  [[nodiscard]] bool isWithout(const Trial& trial, Thing thing) const {
    if (thing == Thing::token) return !trial.undisturbed().hasToken;
    return (thing == Thing::answersOn || thing == Thing::timer) && group_ != Operation::Group::catalog;
  }

  bool runWith(Trial& trial, const Case& surrounding, const Release& first) {
    if (!extent_.isOfPairs) return isKept(trial, surrounding, {first});
    for (std::size_t moment = first.moment; moment <= trial.undisturbed().moments; ++moment) {
      if (!isKept(trial, surrounding, {first, {Thing::owner, moment}})) return false;
    }
    return true;
  }

  bool isKept(Trial& trial, Case tried, const std::vector<Release>& releases) {
    const auto outcome = trial.outcome(releases);
    tally_.runs += outcome.hasReleased ? 1 : 0;
    if (!outcome.breach) return true;
    tried.releases = releases;
    std::cerr << *outcome.breach << "\nreplay: releases --replay " << tried.text() << '\n';
    return false;
  }

  const Operation::Group group_;
  const Extent& extent_;
  Tally tally_;
};

std::optional<Operation::Group> groupNamed(const std::string& name) {
  if (name == "facade") return Operation::Group::facade;
  if (name == "service") return Operation::Group::service;
  if (name == "catalog") return Operation::Group::catalog;
  return std::nullopt;
}

int replay(const std::vector<std::string>& words) {
  const auto tried = Case::read(words);
  if (!tried || !operationNamed(tried->operation)) {
    std::cerr << "releases: no such case\n";
    return 2;
  }
  Trial trial(Case{tried->operation, tried->cached, tried->wire});
  const auto breach = trial.outcome(tried->releases, true).breach;
  // Flushed, since who looks for leaks at the end may end the process before streams are.
  std::cout << breach.value_or("all promises are kept") << std::endl;
  return breach ? 1 : 0;
}

}  // namespace

int main(int count, char** arguments) {
  std::vector<std::string> words(arguments + 1, arguments + count);
  const std::string form = count > 2 ? words.front() : "";
  if (!form.empty()) words.erase(words.begin());
  if (form == "--replay") return replay(words);
  const auto group = words.size() == 1 ? groupNamed(words.front()) : std::nullopt;
  if (!group || !(form.empty() || form == "--all" || form == "--pairs")) {
    std::cerr << "usage: releases [--all | --pairs] facade|service|catalog | releases --replay CASE\n";
    return 2;
  }
  Enumeration enumeration(*group, form.empty() ? shortForm : form == "--all" ? longForm : pairs);
  if (!enumeration.run()) return 1;
  const auto& tally = enumeration.tally();
  std::cout << tally.operations << " operations, " << tally.surroundings << " surroundings, " << tally.moments
            << " moments, " << tally.runs << " runs\n";
  return 0;
}
