#pragma once

#include <cstddef>
#include <map>
#include <utility>

#include "tests/interleaving/Run.h"
#include "tests/interleaving/RunMark.h"

namespace vellora::tests::interleaving {

/// Stands for a variable that is `thread_local`. Outside of a run it has its first value, and cannot be
/// changed.
template <class T>
class ThreadLocal {
 public:
  ThreadLocal(T initial) : initial_(std::move(initial)) {}  // NOLINT(google-explicit-constructor): as a T
  ThreadLocal(const ThreadLocal&) = delete;
  ThreadLocal& operator=(const ThreadLocal&) = delete;

  operator const T&() const {  // NOLINT(google-explicit-constructor): as a T
    return Run::current() ? own() : initial_;
  }
  ThreadLocal& operator=(T value) {
    own() = std::move(value);
    return *this;
  }

 private:
  T& own() const {
    Run& run = *Run::current();
    if (mark_.isNew(run)) values_.clear();
    return values_.try_emplace(run.self(), initial_).first->second;
  }

  const T initial_;
  mutable RunMark mark_;
  mutable std::map<std::size_t, T> values_;  // by thread
};

}  // namespace vellora::tests::interleaving
