#pragma once

#include <cstddef>
#include <new>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// Tells a source whether it may be started again after this use. At the last use it moves its values and
/// closures into the subscription, because nobody needs them afterwards; before that it has to copy them.
enum class Use { oneOfSeveral, last };

/// A part of a source, such as a closure or the handle to its upstream, for one subscription: a copy, or at
/// the last use the part itself.
template <class Part>
[[nodiscard]] Part taken(Part& part, Use use) {
  return use == Use::last ? std::move(part) : part;
}

/// What can be done to a closure whose type is not known: these are compiled for each, and nothing else.
struct VELLORA_EXPORT ClosureType {
  std::size_t size;
  /// Constructs at `to` what `taken` makes of the closure at `from`.
  void (*take)(void* to, void* from, Use use);
  void (*destroy)(void* closure);
};

template <class Closure>
void takeClosure(void* to, void* from, Use use) {
  ::new (to) Closure(taken(*static_cast<Closure*>(from), use));
}

template <class Closure>
void destroyClosure(void* closure) {
  static_cast<Closure*>(closure)->~Closure();
}

template <class Closure>
inline constexpr ClosureType closureType = {sizeof(Closure), takeClosure<Closure>, destroyClosure<Closure>};

/// Room for a closure behind an object of the class `Self`, in the same block of memory: `new (Room{size})
/// Self(…)` makes both. The class constructs and destroys the closure.
template <class Self>
class alignas(std::max_align_t) WithClosure {
 public:
  struct Room {
    std::size_t size;
  };
  static void* operator new(std::size_t own, Room closure) { return ::operator new(own + closure.size); }
  static void operator delete(void* block, Room /*closure*/) { ::operator delete(block); }
  static void operator delete(void* block) { ::operator delete(block); }

 protected:
  WithClosure() = default;
  ~WithClosure() = default;
  [[nodiscard]] void* closure() noexcept { return static_cast<Self*>(this) + 1; }
};

}  // namespace vellora::detail
