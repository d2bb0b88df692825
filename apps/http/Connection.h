#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <memory>

#include "apps/http/LoopGate.h"
#include "apps/http/Server.h"

namespace vellora::http {

using ConnectionSocket =
    boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

/// What a server's connections share.
struct ConnectionContext {
  const Server::Options options;
  const std::shared_ptr<LoopGate> gate;
  Handler handler = {};
  std::atomic<std::uint64_t> sent = 0;  ///< bytes
};

/// Serves one client until either side ends it. The connection owns itself; `context` must outlive the
/// socket's `io_context`, which must run on one thread only.
void startConnection(ConnectionSocket socket, ConnectionContext& context);

}  // namespace vellora::http
