#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "testkit/HostileTricks.h"
#include "testkit/ScriptedServer.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A server on an ephemeral loopback port that plays one of the `hostileTricks` on each request. Which one
/// follows from the seed and from the request's path and query, so that a run can be repeated whatever order
/// its threads came in. Those with something to say `late` are left out: it would meet requests that are
/// under way, where nobody can tell it from their answers.
///
///     HostileServer server(seed, largestBody);
///     const auto network = connect(server.url());
///     // Send requests, each with a path or query of its own, and for each of them ask:
///     if (server.trickOn(target).isAnswered) …  // its body must be HostileServer::rightBody(target)
///     // Otherwise it must fail. In the end connectionsElsewhere() must be 0.
///
/// Ownership: owns its sockets and threads; its destructor closes every connection.
///
/// Threads: safe to use from several threads at once.
///
/// Errors: `std::runtime_error` from the constructor when the machine gives no socket.
class VELLORA_EXPORT HostileServer {
 public:
  /// `largestBody`: see `hostileTricks`.
  HostileServer(std::uint64_t seed, std::size_t largestBody);
  ~HostileServer();
  HostileServer(const HostileServer&) = delete;
  HostileServer& operator=(const HostileServer&) = delete;

  /// Such as "http://127.0.0.1:40123".
  [[nodiscard]] std::string url() const { return server_.url(); }

  /// What is played on a request for `target`, its path and query.
  [[nodiscard]] const HostileTrick& trickOn(std::string_view target) const;

  /// The right answer to a request for `target`: JSON, and another one for each target.
  [[nodiscard]] static std::string rightBody(std::string_view target);

  /// How many requests each trick was played on, by its name.
  [[nodiscard]] std::map<std::string, std::size_t> played() const;

  /// How many connections the server got that must never be asked.
  [[nodiscard]] std::size_t connectionsElsewhere() const { return elsewhere_.connections(); }

 private:
  [[nodiscard]] ScriptedServer::Reply answer(const ScriptedServer::Request& request);

  const std::uint64_t seed_;
  const std::vector<HostileTrick> tricks_;
  mutable std::mutex mutex_;
  std::map<std::string, std::size_t> played_;  // under mutex_
  ScriptedServer elsewhere_;
  ScriptedServer server_;  // last: its thread uses the others
};

}  // namespace vellora::testkit
