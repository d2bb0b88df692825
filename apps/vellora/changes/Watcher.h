#pragma once

#include <set>
#include <string>
#include <vector>

#include "apps/vellora/changes/Difference.h"
#include "apps/vellora/changes/Reading.h"
#include "apps/vellora/changes/Snapshot.h"
#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Verdict.h"

namespace vellora::command {

/// What a refresh has brought.
struct Refreshed {
  std::vector<Difference> differences;
  Verdict verdict;  ///< what could not be asked; what is not known counts as unchanged
};

/// Refreshes a catalogue and tells what has changed since the refresh before: of all types, or of some types
/// and their layouts.
///
///     Watcher watcher(catalog, arguments, {"Account"});
///     const auto begin = watcher.begin();
///     …
///     show(watcher.refresh().differences);
///
/// Ownership: refers to the catalogue and the arguments.
///
/// Threads: one at a time; each call blocks until the answers are there.
class Watcher {
 public:
  /// Of the types with these API names, or of which these ids are records; of all types without keys.
  Watcher(const CommandCatalog& catalog, const Arguments& arguments, std::vector<std::string> keys);

  /// Finds out what is known now, which the first refresh is compared with: what is cached however old it is,
  /// the rest from the server. `answered` unless nothing is known of any type.
  [[nodiscard]] Verdict begin();

  /// Asks the server for everything anew.
  [[nodiscard]] Refreshed refresh();

  /// What is watched; empty when it is all types.
  [[nodiscard]] const std::set<std::string>& names() const { return names_; }

  [[nodiscard]] const Snapshot& known() const { return known_; }

 private:
  /// The names of the types that the keys stand for: of records those of their types.
  [[nodiscard]] std::set<std::string> namesOfKeys(const Described& types) const;
  void keepWatched(Described& types) const;

  /// What is known of the layouts now, with the state before for what could not be asked.
  [[nodiscard]] Verdict readLayouts(Snapshot& now, bool isFirst) const;

  const CommandCatalog& catalog_;
  const Arguments& arguments_;
  const Reader reader_;
  const std::vector<std::string> keys_;
  std::set<std::string> names_;
  Snapshot known_;
};

}  // namespace vellora::command
