#pragma once

#include <boost/asio/thread_pool.hpp>
#include <new>
#include <utility>

#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora::detail {

/// The process's one pool, on which all queues of the library run. Internal: not for installed headers.
[[nodiscard]] boost::asio::thread_pool& threadPool();

/// `work` that ends quietly when it runs out of memory: a `std::bad_alloc` must not end the pool's thread,
/// and with it the process.
[[nodiscard]] inline auto guarded(DispatchQueue::Work work) {
  return [work = std::move(work)] {
    try {
      work();
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is nobody to be told
    }
  };
}

}  // namespace vellora::detail
