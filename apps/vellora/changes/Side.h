#pragma once

#include <memory>
#include <set>
#include <string>
#include <variant>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/Problem.h"
#include "apps/vellora/command/Session.h"
#include "vellora/DataServices/Source.h"

namespace vellora::command {

/// One of the two that `vellora diff` compares: a server, asked anew, or what a cache file holds. Neither the
/// file nor the default cache of the server is changed.
struct Side {
  std::string name;                  ///< as the user typed it
  Arguments arguments;               ///< the command's, with this side's server and token
  std::unique_ptr<Session> session;  ///< its cache is in memory: a copy of the file, or empty for a server
  Source source = Source::cacheFirst;
  std::string
      address;  ///< of the server that is asked, or that the file was filled from; empty where unknown

  // The types whose layouts a file holds.
  std::set<std::string> searchLayouts;
  std::set<std::string> compactLayouts;

  [[nodiscard]] bool isCache() const { return source == Source::cacheOnly; }
};

/// Opens what `text` names: a server's address, its name in the configuration, a cache file, or "cache:" and
/// a server, which is the file that the configuration names for it, else the one that is kept by default. A
/// name that is both a server's and a file's is the server's. A named server has the token of the
/// configuration, an address that of the arguments.
[[nodiscard]] std::variant<Side, Problem> openSide(const std::string& text, const Arguments& arguments);

}  // namespace vellora::command
