#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "apps/records-server/ServerState.h"

namespace vellora::recordsserver {

using ConnectionSocket =
    boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

/// Serves one client until either side ends it. The connection owns itself; `state` must outlive the socket's
/// `io_context`, which must run on one thread only.
void startConnection(ConnectionSocket socket, ServerState& state);

}  // namespace vellora::recordsserver
