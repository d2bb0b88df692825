#pragma once

#include <boost/asio/thread_pool.hpp>

namespace vellora::detail {

/// The process's one pool, on which all queues of the library run. Internal: not for installed headers.
[[nodiscard]] boost::asio::thread_pool& threadPool();

}  // namespace vellora::detail
