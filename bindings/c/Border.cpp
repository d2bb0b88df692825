#include "bindings/c/Border.h"

#include <memory>

namespace vellora::capi {

namespace {

/// An error value together with the texts that it shows.
struct OwnedError {
  vellora_error shown{};
  std::string text;
  std::string key;
};

constexpr char noMemoryText[] = "There is no memory left.";

/// Not freed: who has no memory gets no error of their own.
constinit vellora_error noMemory{
    sizeof(vellora_error), VELLORA_OUT_OF_MEMORY, {noMemoryText, sizeof noMemoryText - 1}, {nullptr, 0}};

}  // namespace

vellora_error* outOfMemoryError() noexcept {
  return &noMemory;
}

vellora_error* errorOf(const Refusal& refusal) noexcept {
  try {
    auto owned = std::make_unique<OwnedError>();
    owned->text = refusal.text();
    owned->key = refusal.key();
    const char* key = owned->key.empty() ? nullptr : owned->key.data();
    owned->shown = {sizeof(vellora_error),
                    refusal.code(),
                    {owned->text.c_str(), owned->text.size()},
                    {key, owned->key.size()}};
    return &owned.release()->shown;
  } catch (const std::bad_alloc&) {
    return outOfMemoryError();
  }
}

void freeError(vellora_error* error) noexcept {
  if (error == nullptr || error == &noMemory) return;
  static_assert(offsetof(OwnedError, shown) == 0);
  delete reinterpret_cast<OwnedError*>(error);  // what `errorOf` has made begins with what it shows
}

}  // namespace vellora::capi
