#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <version>
#ifdef __cpp_lib_jthread
#include <stop_token>
#endif

#include "vellora/Platform/Values/Export.h"

namespace vellora {

namespace detail {

/// `Type` calls a function when a stop is requested through a `Token`, as long as it lives.
template <class Token>
struct StopCallback;

#ifdef __cpp_lib_jthread
template <>
struct StopCallback<std::stop_token> {
  using Type = std::stop_callback<std::function<void()>>;
};
#endif

}  // namespace detail

/// Tells a question that it is to end: what a question sees of the token of a `std::stop_source`.
///
/// LLVM's standard library has had no stop tokens for long, and has them in some sources of a program only.
/// So no more than the conversion below knows them. The library needs none, nor does a source that asks
/// without one.
///
/// Ownership: refers to the token, which must outlive it. A token that nobody keeps is refused by the
/// compiler.
///
/// Threads: as safe as the token.
class VELLORA_EXPORT StopToken {
 public:
  /// Through which nobody requests a stop.
  StopToken() = default;

  template <class Token>
  requires requires { typename detail::StopCallback<Token>::Type; }
  StopToken(const Token& token)  // NOLINT: converts on purpose
      : token_(&token), watch_([](const void* watched, std::function<void()>&& callback) {
          using Callback = typename detail::StopCallback<Token>::Type;
          return std::shared_ptr<void>(
              std::make_shared<Callback>(*static_cast<const Token*>(watched), std::move(callback)));
        }) {}
  template <class Token>
  requires requires { typename detail::StopCallback<Token>::Type; }
  StopToken(const Token&& token) = delete;

  /// Has `callback` called when a stop is requested, on the thread that does; at once, if that has happened.
  /// What this returns keeps watch: when it is gone, `callback` is not called any more. Throws
  /// `std::bad_alloc`.
  [[nodiscard]] std::shared_ptr<void> whenStopped(std::function<void()> callback) const {
    return watch_ ? watch_(token_, std::move(callback)) : nullptr;
  }

 private:
  const void* token_ = nullptr;
  std::shared_ptr<void> (*watch_)(const void* watched, std::function<void()>&& callback) = nullptr;
};

}  // namespace vellora
