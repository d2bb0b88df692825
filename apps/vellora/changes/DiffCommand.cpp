#include "apps/vellora/changes/DiffCommand.h"

#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "apps/vellora/changes/Difference.h"
#include "apps/vellora/changes/DifferenceText.h"
#include "apps/vellora/changes/Reading.h"
#include "apps/vellora/changes/Side.h"
#include "apps/vellora/command/ColumnChoice.h"
#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Output.h"
#include "hostkit/secrets/UrlCredentials.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::command {

namespace {

using Names = std::set<std::string>;

/// What the documents of `vellora diff --json` hold.
struct Comparison {
  std::string before;
  std::string after;
  std::vector<Difference> differences;

  static constexpr auto fields() {
    return std::tuple(json::field("before", &Comparison::before), json::field("after", &Comparison::after),
                      json::field("differences", &Comparison::differences));
  }
};

/// A side with its catalogue, and what has been read of it.
class Compared {
 public:
  /// `other` is what it is compared with: a file of which nobody knows whence it is may be of that server.
  Compared(const Side& side, const Side& other)
      : side_(side),
        address_(side.address.empty() ? other.address : side.address),
        catalog_(side.arguments, side.session->api(), side.session->secrets(), keyText(side.name)) {}

  [[nodiscard]] const Side& side() const { return side_; }

  /// Reads the types. A file without a list of types has none to compare.
  void readTypes() {
    auto reading = reader().types(side_.source);
    knowsTypes = reading.verdict.exit == ExitCode::answered;
    if (!side_.isCache()) note(reading.verdict);
    known.types = std::move(reading.found);
  }

  void readLayouts(const Names& searchLayouts, const Names& compactLayouts) {
    auto columns = reader().searchLayouts(searchLayouts, side_.source);
    auto headlines = reader().compactLayouts(compactLayouts, side_.source);
    note(columns.verdict);
    note(headlines.verdict);
    known.searchLayouts = std::move(columns.found);
    known.compactLayouts = std::move(headlines.found);
    unaskedSearchLayouts = std::move(columns.unasked);
    unaskedCompactLayouts = std::move(headlines.unasked);
  }

  /// The names of the types that a server knows, all of which may have layouts.
  [[nodiscard]] Names typeNames() const {
    Names names;
    for (const auto& [name, properties] : known.types) names.insert(name);
    return names;
  }

  Snapshot known;
  bool knowsTypes = false;
  Names unaskedSearchLayouts;
  Names unaskedCompactLayouts;
  ExitCode exit = ExitCode::answered;

 private:
  [[nodiscard]] Reader reader() const { return {catalog_, side_.arguments, address_}; }

  /// Tells what went wrong on this side.
  void note(const Verdict& verdict) {
    Verdict named = verdict;
    for (auto& line : named.lines) line.insert(0, keyText(side_.name) + ": ");
    complain(named, *side_.session->secrets(), side_.arguments.output);
    if (verdict.exit != ExitCode::answered) exit = verdict.exit;
  }

  const Side& side_;
  const std::string address_;
  const CommandCatalog catalog_;
};

Names united(Names one, const Names& other) {
  one.insert(other.begin(), other.end());
  return one;
}

void erase(const Names& names, Described& described) {
  for (const auto& name : names) described.erase(name);
}

/// Leaves out what one of the two could not be asked about.
void leaveOutUnasked(Compared& before, Compared& after) {
  for (auto* one : {&before, &after}) {
    for (const auto* other : {&before, &after}) {
      erase(other->unaskedSearchLayouts, one->known.searchLayouts);
      erase(other->unaskedCompactLayouts, one->known.compactLayouts);
    }
  }
}

/// Reads the layouts that both can be asked about.
void readLayouts(Compared& before, Compared& after) {
  const Side& one = before.side();
  const Side& other = after.side();
  if (!one.isCache() && !other.isCache()) {
    before.readLayouts(before.typeNames(), before.typeNames());
    after.readLayouts(after.typeNames(), after.typeNames());
    return;
  }
  const auto columns = united(one.searchLayouts, other.searchLayouts);
  const auto headlines = united(one.compactLayouts, other.compactLayouts);
  before.readLayouts(columns, headlines);
  after.readLayouts(columns, headlines);
}

/// A list of types that one of the two lacks says nothing about types.
void leaveOutTypes(Compared& before, Compared& after) {
  for (const auto* one : {&before, &after}) {
    const Side& side = one->side();
    if (!one->knowsTypes)
      remark("types were not compared: " + keyText(side.name) + " holds no list of them",
             *side.session->secrets(), side.arguments.output);
  }
  if (before.knowsTypes && after.knowsTypes) return;
  before.known.types.clear();
  after.known.types.clear();
}

/// diff(1) ends so, too.
constexpr auto differ = static_cast<ExitCode>(1);

ExitCode print(const Comparison& comparison, const Arguments& arguments) {
  if (arguments.printsDocument()) return printJson(encode(comparison));
  const auto chosen = chosenColumns(differenceColumns(), arguments.output);
  if (const auto* problem = std::get_if<Problem>(&chosen)) return complain(*problem);
  return printText(differenceText(comparison.differences, std::get<0>(chosen), arguments.output));
}

ExitCode tell(const Compared& before, const Compared& after, const Arguments& arguments) {
  const Comparison comparison{hostkit::withoutCredentials(before.side().name),
                              hostkit::withoutCredentials(after.side().name),
                              differencesBetween(before.known, after.known)};
  const ExitCode printed = print(comparison, arguments);
  if (printed != ExitCode::answered) return printed;
  for (const auto* one : {&before, &after}) {
    if (one->exit != ExitCode::answered) return one->exit;
  }
  return comparison.differences.empty() ? ExitCode::answered : differ;
}

ExitCode compare(const Side& one, const Side& other, const Arguments& arguments) {
  Compared before(one, other);
  Compared after(other, one);
  for (auto* side : {&before, &after}) {
    side->readTypes();
    if (side->exit != ExitCode::answered) return side->exit;
  }
  leaveOutTypes(before, after);
  readLayouts(before, after);
  leaveOutUnasked(before, after);
  return tell(before, after, arguments);
}

bool isAddress(const std::string& text) {
  return text.find("://") != std::string::npos;
}

}  // namespace

ExitCode runDiff(const Arguments& arguments) {
  const auto chosen = chosenColumns(differenceColumns(), arguments.output);
  if (const auto* problem = std::get_if<Problem>(&chosen)) return complain(*problem);
  const auto& before = arguments.changes.before;
  const auto& after = arguments.changes.after;
  if (arguments.tokenFile && isAddress(before) && isAddress(after)) {
    return complain(
        {ExitCode::usage,
         "one token for two servers: name them in the configuration, each with a token of its own"});
  }
  const auto one = openSide(before, arguments);
  if (const auto* problem = std::get_if<Problem>(&one)) return complain(*problem);
  const auto other = openSide(after, arguments);
  if (const auto* problem = std::get_if<Problem>(&other)) return complain(*problem);
  return compare(std::get<Side>(one), std::get<Side>(other), arguments);
}

}  // namespace vellora::command
