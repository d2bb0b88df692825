#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "testkit/ScriptedServer.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// One thing that a server does wrong, and what a network promises about it.
///
///     for (const HostileTrick& trick : hostileTricks(largestBody)) {
///       server.replyBy([&](const auto& request) { return trick.reply({request, "right", elsewhere}); });
///       // …send a request, and look what its completion gets
///       if (!trick.late.empty()) server.push(trick.late);  // …and look what the next one gets
///     }
///
/// Ownership: a plain value.
struct VELLORA_EXPORT HostileTrick {
  /// What is tried. Each trick tries as well that a request is completed exactly once.
  enum class Promise {
    wholeAnswer,   ///< half an answer, or what is none, never passes for one
    ownAnswer,     ///< a request gets its own answer, not one that was meant for another or for nobody
    inTime,        ///< a request is completed when its time is up
    staysHere,     ///< no request, hence no token, goes to another server
    boundedMemory  ///< what has no end is not kept
  };

  /// What a trick is played on.
  struct Situation {
    ScriptedServer::Request request;
    std::string rightBody;  ///< what a good server would answer
    std::string elsewhere;  ///< host and port of a server that must never be asked
  };

  std::string name;  ///< such as "half a body, closed"
  Promise promise;
  /// Whether the request has a right answer all the same; if not, it must fail.
  bool isAnswered;
  std::function<ScriptedServer::Reply(const Situation&)> reply;
  /// What the server says unasked once the request is completed, on the idle connection; empty for most. The
  /// next request must get its own answer all the same. `ScriptedServer::push` sends it, so that without TLS
  /// it is there before that request.
  std::string late = {};
};

/// All of them; the names differ. `largestBody` is the length, in bytes, above which the network under test
/// takes no body.
[[nodiscard]] VELLORA_EXPORT std::vector<HostileTrick> hostileTricks(std::size_t largestBody);

}  // namespace vellora::testkit
