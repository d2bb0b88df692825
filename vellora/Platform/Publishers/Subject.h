#pragma once

#include <memory>
#include <optional>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/detail/Broadcast.h"

namespace vellora {

/// Passes each value to those who subscribe at that moment; remembers none and never ends.
///
/// Ownership: destroying the subject lets go of its subscribers without a completion.
/// Threads: safe to use from several threads at once.
template <class T>
class Subject {
 public:
  Subject() : broadcast_(std::make_shared<detail::Broadcast<T>>(std::nullopt)) {}

  void send(const T& value) const { broadcast_->send(value); }
  [[nodiscard]] Publisher<T> publisher() const { return Publisher<T>(broadcast_); }

 private:
  std::shared_ptr<detail::Broadcast<T>> broadcast_;
};

}  // namespace vellora
