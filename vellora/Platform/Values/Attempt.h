#pragma once

#include <type_traits>

#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// Refers to a closure, for as long as the call lasts that it is handed to.
class VELLORA_EXPORT Attempt {
 public:
  template <class F>
  Attempt(F&& closure)  // NOLINT: converts on purpose
      : closure_(const_cast<void*>(static_cast<const void*>(&closure))),
        run_([](void* of) { (*static_cast<std::remove_reference_t<F>*>(of))(); }) {}
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  void run() const { run_(closure_); }

 private:
  void* closure_;
  void (*run_)(void* of);
};

// What installed headers have in place of a `try`. A host may be compiled without exceptions: clang refuses
// every `try` there, g++ leaves out its `catch`, and the linker may choose the function that lacks it for the
// library, too.

/// Runs `attempt`. False when it has thrown `std::bad_alloc`.
VELLORA_EXPORT bool hadMemoryFor(const Attempt& attempt);

/// Runs `attempt`. When that throws `std::bad_alloc`, runs `undo` and throws it on.
VELLORA_EXPORT void runOrUndo(const Attempt& attempt, const Attempt& undo);

}  // namespace vellora::detail
