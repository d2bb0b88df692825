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

bool find(JNIEnv* env, jmethodID& id, jclass owner, const char* name, const char* signature) {
  id = env->GetStaticMethodID(owner, name, signature);
  return id != nullptr;
}

bool findClasses(JNIEnv* env) {
  const auto find = [env](jclass& owner, const char* name) {
    owner = globalClass(env, name);
    return owner != nullptr;
  };
  return find(found.natives, "vellora/Native") && find(found.upcalls, "vellora/Upcalls") &&
         find(found.cacheCalls, "vellora/CacheCalls") && find(found.bytes, "[B");
}

bool findMethods(JNIEnv* env) {
  const jclass owner = found.upcalls;
  return find(env, found.answered, owner, "answered", "(Lvellora/Listener;[B[B)V") &&
         find(env, found.send, owner, "send", "(Lvellora/Network;[BDJ)V") &&
         find(env, found.token, owner, "token", "(Lvellora/TokenSource;[B)[B") &&
         find(env, found.log, owner, "log", "(Lvellora/Logger;Z[B)V") &&
         find(env, found.raise, found.natives, "raise", "(I[B)V");
}

bool findCacheMethods(JNIEnv* env) {
  CacheMethods& cache = found.cache;
  const jclass owner = found.cacheCalls;
  return find(env, cache.load, owner, "load", "(Lvellora/Cache;[B)[B") &&
         find(env, cache.save, owner, "save", "(Lvellora/Cache;[B[B)Z") &&
         find(env, cache.remove, owner, "remove", "(Lvellora/Cache;[B)Z") &&
         find(env, cache.hasTable, owner, "hasTable", "(Lvellora/Cache;[B)Z") &&
         find(env, cache.createTable, owner, "createTable", "(Lvellora/Cache;[BD)Z") &&
         find(env, cache.rows, owner, "rows", "(Lvellora/Cache;[B[[B[BZJJZJ)V") &&
         find(env, cache.purge, owner, "purge", "(Lvellora/Cache;[B[[B[B)Z") &&
         find(env, cache.upsert, owner, "upsert", "(Lvellora/Cache;[B[[B[B[B)Z");
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
  return findClasses(env) && findMethods(env) && findCacheMethods(env);
}

void unload(JNIEnv* env) {
  env->DeleteGlobalRef(found.natives);
  env->DeleteGlobalRef(found.upcalls);
  env->DeleteGlobalRef(found.cacheCalls);
  env->DeleteGlobalRef(found.bytes);
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
