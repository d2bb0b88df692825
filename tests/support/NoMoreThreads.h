#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <limits>

namespace vellora::tests {

/// From here on no thread's stack fits into the address space. For a process that ends soon.
inline void leaveNoRoomForAThread() {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  constexpr std::size_t nearlyAll = std::numeric_limits<std::size_t>::max() - (1 << 20);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, nearlyAll), 0);
  ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
}

}  // namespace vellora::tests
