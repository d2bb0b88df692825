#pragma once

#include <jni.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "bindings/c/vellora.h"
#include "bindings/java/native/Jvm.h"

namespace vellora::jvm {

/// A call of a method of `vellora.CacheCalls` that calls a host's object: the arguments one by one, then what
/// it comes to.
///
/// Ownership: what it makes for the virtual machine goes with it.
///
/// Errors: where there is no virtual machine or no memory for an argument, nothing is called, and nothing
/// comes of it.
class HostCall {
 public:
  /// Of the object that `context` holds.
  explicit HostCall(void* context);

  HostCall& with(const vellora_text& bytes);  // absent: null
  HostCall& with(const vellora_pair* pairs, std::size_t count);
  HostCall& withSeconds(double seconds);
  HostCall& withNumber(std::int64_t number);
  HostCall& withFlag(bool flag);
  HostCall& withSink(vellora_sink* sink);

  void run(jmethodID method);
  [[nodiscard]] std::int32_t isTrue(jmethodID method);
  /// Hands the bytes that come of it to `sink`.
  void give(jmethodID method, vellora_sink* sink);

 private:
  static constexpr std::size_t mostArguments = 9;

  jvalue& next() { return arguments_.at(count_++); }
  HostCall& withObject(jobject object);
  [[nodiscard]] bool clear();

  const AttachedThread thread_;
  JNIEnv* const env_;
  bool canBeMade_;
  std::array<jvalue, mostArguments> arguments_{};
  std::size_t count_ = 0;
};

}  // namespace vellora::jvm
