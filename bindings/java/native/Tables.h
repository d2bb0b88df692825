#pragma once

#include <jni.h>

#include "bindings/c/vellora.h"
#include "bindings/java/native/Jvm.h"

namespace vellora::jvm {

// Tables of functions for what a host gives as a Java object. The context of each holds the object until it
// is destroyed. Throw `std::bad_alloc`.

[[nodiscard]] vellora_network networkOf(JNIEnv* env, jobject network);
[[nodiscard]] vellora_token_source tokenSourceOf(JNIEnv* env, jobject source);
[[nodiscard]] vellora_logger loggerOf(JNIEnv* env, jobject logger);
[[nodiscard]] vellora_listener listenerOf(JNIEnv* env, jobject listener);

/// Hands the bytes of an array to `sink`, none of null or where there is no memory for them.
void give(JNIEnv* env, jbyteArray bytes, vellora_sink* sink);

/// Drops the object of a table that was not taken over.
void destroyContext(void* context);

/// A table without functions, whose context holds `object`. Throws `std::bad_alloc`.
template <class Table>
[[nodiscard]] Table tableOf(JNIEnv* env, jobject object) {
  Table table{};
  table.struct_size = sizeof table;
  table.context = new GlobalReference(env, object);
  table.destroy = destroyContext;
  return table;
}

/// The object that a context holds.
[[nodiscard]] inline jobject objectOf(void* context) {
  return static_cast<GlobalReference*>(context)->object();
}

}  // namespace vellora::jvm
