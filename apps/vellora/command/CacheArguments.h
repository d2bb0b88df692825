#pragma once

#include <string>
#include <vector>

namespace vellora::command {

/// What `vellora cache` was told.
struct CacheArguments {
  enum class Action { list, show, verify, purge, deleteFile, exportTo, importFrom };

  Action action = Action::list;
  std::vector<std::string> entries;  ///< to show or to purge, named as the list names them
  bool all = false;                  ///< purge: everything; ls: every file that is kept by default
  bool names = false;                ///< ls: the names of the entries alone
  bool everyFile = false;            ///< ls and purge: of every file that is kept by default, as `all` has it
  bool expired = false;              ///< purge: only what is expired, outdated or damaged
  std::string file = "-";            ///< to export to or import from; "-" is standard output or input
  bool replace = false;              ///< export over a file, import over entries
  bool fresh = false;                ///< import: as if fetched now
};

}  // namespace vellora::command
