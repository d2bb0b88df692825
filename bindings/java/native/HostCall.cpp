#include "bindings/java/native/HostCall.h"

#include <optional>
#include <string>

#include "bindings/java/native/Tables.h"

namespace vellora::jvm {

namespace {

/// Names and values in turn; null, with an exception pending, where there is no memory for it.
jobjectArray arrayOf(JNIEnv* env, const vellora_pair* pairs, std::size_t count) {
  const jobjectArray array = env->NewObjectArray(static_cast<jsize>(2 * count), upcalls().bytes, nullptr);
  if (array == nullptr) return nullptr;
  jsize index = 0;
  const auto put = [&](const vellora_text& text) {
    const jbyteArray bytes = jvm::arrayOf(env, viewOf(text));
    if (bytes == nullptr) return false;
    env->SetObjectArrayElement(array, index++, bytes);
    env->DeleteLocalRef(bytes);
    return env->ExceptionCheck() == JNI_FALSE;
  };
  for (std::size_t pair = 0; pair < count; ++pair) {
    if (!put(pairs[pair].name) || !put(pairs[pair].value)) return nullptr;
  }
  return array;
}

}  // namespace

HostCall::HostCall(void* context) : env_(thread_.env()), canBeMade_(env_ != nullptr) {
  next().l = objectOf(context);
}

HostCall& HostCall::withObject(jobject object) {
  next().l = object;
  if (clear()) canBeMade_ = false;
  return *this;
}

HostCall& HostCall::with(const vellora_text& bytes) {
  return withObject(canBeMade_ && bytes.bytes != nullptr ? jvm::arrayOf(env_, viewOf(bytes)) : nullptr);
}

HostCall& HostCall::with(const vellora_pair* pairs, std::size_t count) {
  return withObject(canBeMade_ ? arrayOf(env_, pairs, count) : nullptr);
}

HostCall& HostCall::withSeconds(double seconds) {
  next().d = seconds;
  return *this;
}

HostCall& HostCall::withNumber(std::int64_t number) {
  next().j = number;
  return *this;
}

HostCall& HostCall::withFlag(bool flag) {
  next().z = flag ? JNI_TRUE : JNI_FALSE;
  return *this;
}

HostCall& HostCall::withSink(vellora_sink* sink) {
  return withNumber(reinterpret_cast<jlong>(sink));
}

bool HostCall::clear() {
  return canBeMade_ && clearException(env_);
}

void HostCall::run(jmethodID method) {
  if (!canBeMade_) return;
  env_->CallStaticVoidMethodA(upcalls().cacheCalls, method, arguments_.data());
  clearException(env_);
}

std::int32_t HostCall::isTrue(jmethodID method) {
  if (!canBeMade_) return 0;
  const jboolean is = env_->CallStaticBooleanMethodA(upcalls().cacheCalls, method, arguments_.data());
  return !clearException(env_) && is == JNI_TRUE ? 1 : 0;
}

void HostCall::give(jmethodID method, vellora_sink* sink) {
  if (!canBeMade_) return;
  const jobject given = env_->CallStaticObjectMethodA(upcalls().cacheCalls, method, arguments_.data());
  if (!clearException(env_)) jvm::give(env_, static_cast<jbyteArray>(given), sink);
}

}  // namespace vellora::jvm
