#pragma once

#include <jni.h>

#include "bindings/c/vellora.h"

namespace vellora::jvm {

// Tables of functions for what a host gives as a Java object. The context of each holds the object until it
// is destroyed. Throw `std::bad_alloc`.

[[nodiscard]] vellora_network networkOf(JNIEnv* env, jobject network);
[[nodiscard]] vellora_token_source tokenSourceOf(JNIEnv* env, jobject source);
[[nodiscard]] vellora_logger loggerOf(JNIEnv* env, jobject logger);
[[nodiscard]] vellora_listener listenerOf(JNIEnv* env, jobject listener);

/// Drops the object of a table that was not taken over.
void destroyContext(void* context);

}  // namespace vellora::jvm
