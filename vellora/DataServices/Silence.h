#pragma once

#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora {

/// A producer that neither yields nor ends. It stands for a step whose service has been released.
template <class T>
[[nodiscard]] Publisher<T> silence() {
  return Publisher<T>::promise([](const Promise<T>&) {});
}

}  // namespace vellora
