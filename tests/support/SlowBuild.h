#pragma once

namespace vellora::tests {

/// Whether AddressSanitizer watches this build, or the compiler has not optimised it. Code takes five to ten
/// times as long there, so tests that try thousands of orders or faults leave some of them to the optimised
/// build.
#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)  // g++ says that it watches
inline constexpr bool codeIsSlow = true;
#elif defined(__has_feature)  // clang is asked
inline constexpr bool codeIsSlow = __has_feature(address_sanitizer);
#else
inline constexpr bool codeIsSlow = false;
#endif

}  // namespace vellora::tests
