#pragma once

#include <jni.h>

#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "bindings/c/vellora.h"

namespace vellora::jvm {

/// The methods of `vellora.CacheCalls`.
struct CacheMethods {
  jmethodID load = nullptr;
  jmethodID save = nullptr;
  jmethodID remove = nullptr;
  jmethodID hasTable = nullptr;
  jmethodID createTable = nullptr;
  jmethodID rows = nullptr;
  jmethodID purge = nullptr;
  jmethodID upsert = nullptr;
};

/// The classes and methods of ours that are called.
struct Upcalls {
  jclass upcalls = nullptr;
  jclass cacheCalls = nullptr;
  jclass bytes = nullptr;  // an array of bytes
  jclass natives = nullptr;
  jmethodID answered = nullptr;
  jmethodID send = nullptr;
  jmethodID token = nullptr;
  jmethodID log = nullptr;
  jmethodID raise = nullptr;
  CacheMethods cache;
};

/// What `JNI_OnLoad` has found. Constant from then on.
[[nodiscard]] const Upcalls& upcalls() noexcept;

/// Finds what `upcalls` gives. Returns false with an exception pending.
[[nodiscard]] bool load(JavaVM* machine, JNIEnv* env);
void unload(JNIEnv* env);

/// The calling thread as one of the virtual machine's, for as long as this lives: a thread that was none is
/// attached as a daemon, so that it keeps nobody from ending, and detached again.
///
/// Ownership: frees the local references that were made meanwhile.
///
/// Errors: there may be no virtual machine any more, or no memory for the references; it is false then.
class AttachedThread {
 public:
  AttachedThread();
  ~AttachedThread();
  AttachedThread(const AttachedThread&) = delete;
  AttachedThread& operator=(const AttachedThread&) = delete;

  explicit operator bool() const noexcept { return env_ != nullptr; }
  [[nodiscard]] JNIEnv* env() const noexcept { return env_; }

 private:
  JNIEnv* env_ = nullptr;
  bool isAttachedHere_ = false;
};

/// Ends a pending exception, and tells whether there was one.
bool clearException(JNIEnv* env);

/// A global reference, whose owner may be dropped on any thread.
class GlobalReference {
 public:
  GlobalReference(JNIEnv* env, jobject object);
  ~GlobalReference();
  GlobalReference(const GlobalReference&) = delete;
  GlobalReference& operator=(const GlobalReference&) = delete;

  [[nodiscard]] jobject object() const noexcept { return object_; }

 private:
  jobject object_;
};

/// A copy of the bytes; null, with an exception pending, where there is no memory for it.
[[nodiscard]] jbyteArray arrayOf(JNIEnv* env, std::string_view bytes);
[[nodiscard]] inline std::string_view viewOf(const vellora_text& text) {
  return {text.bytes, text.size};
}

/// A copy of an array; nothing for null.
[[nodiscard]] std::optional<std::string> bytesOf(JNIEnv* env, jbyteArray array);

/// Makes `error` the pending exception, and frees it. Returns whether there was one.
bool raise(JNIEnv* env, vellora_error* error);

/// Runs `body`, and makes an exception of what it throws.
template <class Body>
auto atBorder(JNIEnv* env, Body body) -> decltype(body()) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    env->ThrowNew(env->FindClass("java/lang/OutOfMemoryError"), "There is no memory left.");
  }
  return decltype(body())();
}

}  // namespace vellora::jvm
