#pragma once

#include <memory>
#include <string>

#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A serial queue on the library's thread pool: first in, first out, one at a time, on no fixed thread.
class VELLORA_EXPORT SerialDispatchQueue final : public DispatchQueue {
 public:
  /// `label` names the queue to a person; `qos` is a hint that the shared pool does not need.
  explicit SerialDispatchQueue(std::string label, DispatchQoS qos = DispatchQoS::unspecified);
  ~SerialDispatchQueue() override;

  SerialDispatchQueue(const SerialDispatchQueue&) = delete;
  SerialDispatchQueue& operator=(const SerialDispatchQueue&) = delete;

  void async(Work work) override;

  [[nodiscard]] const std::string& label() const noexcept { return label_; }
  [[nodiscard]] DispatchQoS qos() const noexcept { return qos_; }

 private:
  struct Strand;

  std::string label_;
  DispatchQoS qos_;
  std::unique_ptr<Strand> strand_;
};

}  // namespace vellora
