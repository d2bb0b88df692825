#include "bindings/java/native/Jvm.h"

#include <limits>

namespace vellora::jvm {

namespace {

constexpr jint version = JNI_VERSION_1_6;
constexpr jint localReferences = 8;  // more than any call of ours makes

JavaVM* machine = nullptr;
Upcalls found;

jclass globalClass(JNIEnv* env, const char* name) {
  const auto local = env->FindClass(name);
  return local != nullptr ? static_cast<jclass>(env->NewGlobalRef(local)) : nullptr;
}

/// A thread of the library's, which has no name of its own there.
bool attach(JNIEnv*& env) {
  JavaVMAttachArgs arguments{version, const_cast<char*>("vellora"), nullptr};
  return machine->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), &arguments) == JNI_OK;
}

}  // namespace

const Upcalls& upcalls() noexcept {
  return found;
}

bool load(JavaVM* loading, JNIEnv* env) {
  machine = loading;
  found.natives = globalClass(env, "vellora/Native");
  if (found.natives == nullptr) return false;
  found.upcalls = globalClass(env, "vellora/Upcalls");
  if (found.upcalls == nullptr) return false;
  const auto find = [&](jmethodID& id, jclass owner, const char* name, const char* signature) {
    id = env->GetStaticMethodID(owner, name, signature);
    return id != nullptr;
  };
  return find(found.answered, found.upcalls, "answered", "(Lvellora/Listener;[B[B)V") &&
         find(found.send, found.upcalls, "send", "(Lvellora/Network;[BDJ)V") &&
         find(found.token, found.upcalls, "token", "(Lvellora/TokenSource;[B)[B") &&
         find(found.log, found.upcalls, "log", "(Lvellora/Logger;Z[B)V") &&
         find(found.raise, found.natives, "raise", "(I[B)V");
}

void unload(JNIEnv* env) {
  env->DeleteGlobalRef(found.natives);
  env->DeleteGlobalRef(found.upcalls);
}

AttachedThread::AttachedThread() {
  void* known = nullptr;
  if (machine->GetEnv(&known, version) == JNI_OK) {
    env_ = static_cast<JNIEnv*>(known);
  } else {
    isAttachedHere_ = attach(env_);
    if (!isAttachedHere_) env_ = nullptr;
  }
  if (env_ == nullptr || env_->PushLocalFrame(localReferences) == JNI_OK) return;
  clearException(env_);
  if (isAttachedHere_) machine->DetachCurrentThread();
  isAttachedHere_ = false;
  env_ = nullptr;
}

AttachedThread::~AttachedThread() {
  if (env_ != nullptr) env_->PopLocalFrame(nullptr);
  if (isAttachedHere_) machine->DetachCurrentThread();
}

bool clearException(JNIEnv* env) {
  const bool isPending = env->ExceptionCheck() == JNI_TRUE;
  if (isPending) env->ExceptionClear();
  return isPending;
}

GlobalReference::GlobalReference(JNIEnv* env, jobject object) : object_(env->NewGlobalRef(object)) {
  if (object_ == nullptr) throw std::bad_alloc();
}

GlobalReference::~GlobalReference() {
  const AttachedThread thread;
  if (thread) thread.env()->DeleteGlobalRef(object_);
}

jbyteArray arrayOf(JNIEnv* env, std::string_view bytes) {
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<jsize>::max())) {
    env->ThrowNew(env->FindClass("java/lang/OutOfMemoryError"), "No array is so long.");
    return nullptr;
  }
  const auto size = static_cast<jsize>(bytes.size());
  const jbyteArray array = env->NewByteArray(size);
  if (array == nullptr) return nullptr;
  env->SetByteArrayRegion(array, 0, size, reinterpret_cast<const jbyte*>(bytes.data()));
  return array;
}

std::optional<std::string> bytesOf(JNIEnv* env, jbyteArray array) {
  if (array == nullptr) return std::nullopt;
  std::string bytes(static_cast<std::size_t>(env->GetArrayLength(array)), '\0');
  env->GetByteArrayRegion(array, 0, static_cast<jsize>(bytes.size()), reinterpret_cast<jbyte*>(bytes.data()));
  return bytes;
}

bool raise(JNIEnv* env, vellora_error* error) {
  if (error == nullptr) return false;
  const jbyteArray text = arrayOf(env, viewOf(error->text));
  const jint code = error->code;
  vellora_error_free(error);
  if (text != nullptr) env->CallStaticVoidMethod(upcalls().natives, upcalls().raise, code, text);
  return true;
}

}  // namespace vellora::jvm
