#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include "bindings/c/vellora.h"

namespace vellora::capi {

/// Why a call is refused. It is thrown to the border and goes no further.
///
/// Ownership: a plain value.
class Refusal final : public std::exception {
 public:
  Refusal(std::int32_t code, std::string text, std::string key = {})
      : code_(code), text_(std::move(text)), key_(std::move(key)) {}

  [[nodiscard]] std::int32_t code() const noexcept { return code_; }
  [[nodiscard]] const std::string& text() const noexcept { return text_; }
  [[nodiscard]] const std::string& key() const noexcept { return key_; }
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::int32_t code_;
  std::string text_;
  std::string key_;
};

/// The error value of a refusal, which the caller owns. Where there is no memory for it, one that says so and
/// that is never freed.
[[nodiscard]] vellora_error* errorOf(const Refusal& refusal) noexcept;
[[nodiscard]] vellora_error* outOfMemoryError() noexcept;

/// Frees what the two give.
void freeError(vellora_error* error) noexcept;

/// Runs `body`, and gives what it throws as an error value; null when it throws nothing.
template <class Body>
[[nodiscard]] vellora_error* atBorder(Body body) noexcept {
  try {
    body();
    return nullptr;
  } catch (const Refusal& refusal) {
    return errorOf(refusal);
  } catch (const std::bad_alloc&) {
    return outOfMemoryError();
  } catch (const std::exception& error) {
    return errorOf(Refusal(VELLORA_UNEXPECTED, error.what()));
  }
}

/// The same for a call that gives a code, and no error to free.
template <class Body>
[[nodiscard]] std::int32_t codeAtBorder(Body body) noexcept {
  vellora_error* const error = atBorder(std::move(body));
  const std::int32_t code = error != nullptr ? error->code : std::int32_t{VELLORA_OK};
  freeError(error);
  return code;
}

}  // namespace vellora::capi
