#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

#include "bindings/c/Border.h"
#include "bindings/c/vellora.h"

namespace vellora::capi {

/// Longer than any struct will be: what claims to be is no struct.
inline constexpr std::size_t longestStruct = 4096;

/// How long a struct was in the first version. When a member is appended, the length before is written down
/// here for that struct.
template <class T>
inline constexpr std::size_t firstSize = sizeof(T);

/// Throws a `Refusal` unless `size` is one that a struct of some version may have.
template <class T>
void checkSize(std::size_t size, const char* what) {
  if (size >= firstSize<T> && size <= longestStruct) return;
  throw Refusal(VELLORA_BAD_STRUCT,
                std::string(what) + ": no version has a struct_size of " + std::to_string(size) + ".");
}

/// A copy of a struct of whatever version, with zeroes for the members that its version lacks. Throws a
/// `Refusal` for a size that no version has, and when the struct has members that this version does not know.
template <class T>
[[nodiscard]] T copied(const T& given, const char* what) {
  static_assert(std::is_trivially_copyable_v<T>);
  const std::size_t size = given.struct_size;
  checkSize<T>(size, what);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&given);
  if (size > sizeof(T) &&
      std::any_of(bytes + sizeof(T), bytes + size, [](unsigned char byte) { return byte != 0; }))
    throw Refusal(VELLORA_BAD_STRUCT, std::string(what) + ": this version does not know all that is set.");
  T copy{};
  std::memcpy(&copy, bytes, std::min(size, sizeof(T)));
  return copy;
}

/// The same of one that may be absent: all zeroes then.
template <class T>
[[nodiscard]] T copiedOrNone(const T* given, const char* what) {
  return given != nullptr ? copied(*given, what) : T{};
}

/// What must not be null.
template <class T>
[[nodiscard]] T& needed(T* given, const char* what) {
  if (given == nullptr) throw Refusal(VELLORA_BAD_ARGUMENT, std::string(what) + " is null.");
  return *given;
}

/// Fills a struct of the caller's, as far as its version goes. What it has beyond this version becomes zero.
template <class T>
void fill(T* out, T values, const char* what) {
  const std::size_t size = needed(out, what).struct_size;
  checkSize<T>(size, what);
  values.struct_size = size;
  auto* const bytes = reinterpret_cast<unsigned char*>(out);
  std::memcpy(bytes, &values, std::min(size, sizeof(T)));
  if (size > sizeof(T)) std::memset(bytes + sizeof(T), 0, size - sizeof(T));
}

}  // namespace vellora::capi
