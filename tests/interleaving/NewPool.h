#pragma once

#include <memory>

#include "vellora/Platform/Queues/ThreadPool.h"

namespace vellora::tests::interleaving {

/// The pool, as at the beginning of a process.
inline detail::ThreadPool& newPool() {
  auto& pool = detail::ThreadPool::shared();
  std::destroy_at(&pool);
  return *std::construct_at(&pool);
}

}  // namespace vellora::tests::interleaving
