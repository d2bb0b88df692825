#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/vellora/changes/Snapshot.h"
#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/CommandCatalog.h"
#include "apps/vellora/command/Verdict.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/DataServices/Source.h"

namespace vellora::command {

/// What a catalogue answered about the types or layouts that were asked for.
struct Reading {
  Described found;
  std::set<std::string> unasked;   ///< names that could not be asked about
  std::set<std::string> uncached;  ///< names that only the cache was asked about, and that it lacks
  Verdict verdict;                 ///< what went wrong; `answered` when nothing did
};

/// Asks a catalogue for what is compared: all types, or the layouts of some.
///
/// Ownership: refers to the catalogue and the arguments.
class Reader {
 public:
  /// `address`, of the server, is left out of the addresses of icons.
  Reader(const CommandCatalog& catalog, const Arguments& arguments, std::string address)
      : catalog_(catalog), arguments_(arguments), address_(std::move(address)) {}

  [[nodiscard]] Reading types(Source source) const;
  [[nodiscard]] Reading searchLayouts(const std::set<std::string>& names, Source source) const;
  [[nodiscard]] Reading compactLayouts(const std::set<std::string>& names, Source source) const;

 private:
  const CommandCatalog& catalog_;
  const Arguments& arguments_;
  const std::string address_;
};

}  // namespace vellora::command
