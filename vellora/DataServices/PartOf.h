#pragma once

#include <memory>

namespace vellora {

/// A weak handle to `part` that expires together with `service`: locking it keeps the whole service alive.
/// What is under way holds such a handle, so that it sends and logs nothing for a service that has been
/// released. A service that no `std::shared_ptr` owns has no part to lock.
///
/// `part` is an object that the service keeps alive, such as the host's logger.
template <class Service, class Part>
[[nodiscard]] std::weak_ptr<Part> partOf(const std::weak_ptr<Service>& service, Part& part) {
  return std::shared_ptr<Part>(service.lock(), &part);
}

}  // namespace vellora
