#pragma once

namespace vellora::tests {

/// Whether AddressSanitizer watches this build. Code takes ten times as long there, so tests that try
/// thousands of orders or faults leave some of them to the other builds.
#if defined(__SANITIZE_ADDRESS__)  // g++ says so
inline constexpr bool underAddressSanitizer = true;
#elif defined(__has_feature)  // clang is asked
inline constexpr bool underAddressSanitizer = __has_feature(address_sanitizer);
#else
inline constexpr bool underAddressSanitizer = false;
#endif

}  // namespace vellora::tests
