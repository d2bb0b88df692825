#pragma once

#include <jni.h>

#include "bindings/c/vellora.h"

namespace vellora::jvm {

/// A table of functions for a cache that a host gives as a Java object. Its context holds the object until it
/// is destroyed. Throws `std::bad_alloc`.
[[nodiscard]] vellora_cache cacheOf(JNIEnv* env, jobject cache);

}  // namespace vellora::jvm
