#pragma once

#include <functional>
#include <version>
#ifdef __cpp_lib_jthread
#include <stop_token>
#endif

#include "vellora/Platform/Values/Export.h"

namespace vellora {

#ifdef __cpp_lib_jthread

/// Tells a question that it is to end: the token of a `std::stop_source`.
using StopToken = std::stop_token;

/// Calls a function when a stop is requested, as long as it lives.
using StopCallback = std::stop_callback<std::function<void()>>;

#else

/// LLVM's standard library has had no stop tokens for long. Where there are none nobody requests a stop, and
/// `Question::cancel` or its token is what ends a question early.
struct VELLORA_EXPORT StopToken {};

struct VELLORA_EXPORT StopCallback {
  StopCallback(StopToken /*token*/, const std::function<void()>& /*callback*/) {}
};

#endif

}  // namespace vellora
