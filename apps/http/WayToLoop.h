#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

#include "apps/http/Exchange.h"
#include "apps/http/LoopGate.h"

namespace vellora::http {

/// The way of one reaction onto a server's loop. All the memory that it takes is taken when it is made.
///
/// Ownership: make it with `std::make_shared`; the loop keeps it while the reaction is on its way.
///
/// Threads: as `Exchange::Way`; `perform` runs on the loop's thread.
class WayToLoop final : public Exchange::Way, public std::enable_shared_from_this<WayToLoop> {
 public:
  using Perform = std::function<void(Reaction)>;

  WayToLoop(std::shared_ptr<LoopGate> gate, Perform perform)
      : gate_(std::move(gate)), perform_(std::move(perform)) {}

  void take(Reaction reaction) noexcept override {
    reaction_ = std::move(reaction);
    gate_->post(Arrival{shared_from_this()});
  }

 private:
  static constexpr std::size_t roomBytes = 256;

  /// Hands out the room of one way, for the one thing that the loop puts into its queue.
  template <class T>
  struct Allocator {
    using value_type = T;

    explicit Allocator(WayToLoop* ofWay) : way(ofWay) {}
    template <class Other>
    Allocator(const Allocator<Other>& other) : way(other.way) {}  // NOLINT(google-explicit-constructor)

    T* allocate(std::size_t /*one*/) noexcept {
      static_assert(sizeof(T) <= roomBytes && alignof(T) <= alignof(std::max_align_t));
      return static_cast<T*>(static_cast<void*>(way->room_.data()));
    }
    void deallocate(T* /*room*/, std::size_t /*one*/) noexcept {}

    template <class Other>
    friend bool operator==(const Allocator& left, const Allocator<Other>& right) {
      return left.way == right.way;
    }

    WayToLoop* way;
  };

  /// What the loop runs. It keeps the way, and with it the room that the loop has put it into.
  struct Arrival {
    using allocator_type = Allocator<std::byte>;

    [[nodiscard]] allocator_type get_allocator() const noexcept { return allocator_type(way.get()); }
    void operator()() const { way->perform_(std::move(way->reaction_)); }

    std::shared_ptr<WayToLoop> way;
  };

  const std::shared_ptr<LoopGate> gate_;
  const Perform perform_;
  Reaction reaction_;
  alignas(std::max_align_t) std::array<std::byte, roomBytes> room_{};
};

}  // namespace vellora::http
