#pragma once

#include <atomic>

#include "tests/interleaving/Atomic.h"
#include "tests/interleaving/ConditionVariable.h"
#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/Thread.h"
#include "tests/interleaving/ThreadLocal.h"

// What stands for the standard library's primitives in the sources that `step_sources.py` copies.

namespace vellora::tests::interleaving::standard {

template <class T>
using atomic = Atomic<T>;
using atomic_flag = AtomicFlag;
using condition_variable = ConditionVariable;
using mutex = Mutex;
using recursive_mutex = RecursiveMutex;
using thread = Thread;
template <class T>
using thread_local_variable = ThreadLocal<T>;
namespace this_thread = interleaving::this_thread;

inline void atomic_thread_fence(std::memory_order order) {
  fence(order);
}

}  // namespace vellora::tests::interleaving::standard
