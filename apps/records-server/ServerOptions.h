#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "apps/records-server/RecordedRequest.h"

namespace vellora::recordsserver {

/// How a `RecordsServer` is started; `RecordsServer::Options` is this.
struct ServerOptions {
  /// The port to listen on; 0 lets the system choose a free one.
  std::uint16_t port = 0;
  /// When not empty, requests without `Authorization: Bearer <token>` are answered with status 401.
  std::string token = {};
  /// How long a client may take to send a request, to send the next one, or to take an answer. A connection
  /// on which nothing complete came in that time is closed.
  std::chrono::milliseconds clientTimeout{30'000};
  /// Longest target that is looked at; a longer one is answered with status 414.
  std::size_t maxTargetBytes = 65'536;
  /// Told of each request before it is answered, on the server's thread. May be empty.
  std::function<void(const RecordedRequest&)> onRequest = {};
  /// Whether requests are kept for `requests()`. A server that runs for days has no use for them.
  bool keepsRequests = true;
  /// Whether the icons' addresses in the theme answer lead to this server, which draws them. Without it they
  /// are sent as the data set has them.
  bool servesIcons = false;
  /// Whether a body is packed for who accepts it so.
  bool packsBodies = false;
};

}  // namespace vellora::recordsserver
