#include <jni.h>

#include "tests/support/AllocationCounter.h"

extern "C" JNIEXPORT void JNICALL Java_vellora_NativeHeap_leakLocalReferences(JNIEnv* env, jclass heap) {
  constexpr int more = 100;  // than a call may have
  for (int each = 0; each < more; ++each) env->NewLocalRef(heap);
}

extern "C" JNIEXPORT void JNICALL Java_vellora_NativeHeap_callWithAnExceptionPending(JNIEnv* env,
                                                                                     jclass /*heap*/) {
  env->ThrowNew(env->FindClass("java/lang/IllegalStateException"), "pending");
  env->FindClass("java/lang/String");
}

extern "C" JNIEXPORT jlong JNICALL Java_vellora_NativeHeap_blocks(JNIEnv* /*env*/, jclass /*heap*/) {
  return static_cast<jlong>(vellora::tests::LiveMemory::now().blocks);
}
