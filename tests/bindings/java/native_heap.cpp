#include <jni.h>
#include <malloc.h>

extern "C" JNIEXPORT void JNICALL Java_vellora_NativeHeap_leakLocalReferences(JNIEnv* env, jclass heap) {
  constexpr int more = 100;  // than a call may have
  for (int each = 0; each < more; ++each) env->NewLocalRef(heap);
}

extern "C" JNIEXPORT jlong JNICALL Java_vellora_NativeHeap_bytesInUse(JNIEnv* /*env*/, jclass /*heap*/) {
  const auto heap = ::mallinfo2();
  return static_cast<jlong>(heap.uordblks + heap.hblkhd);
}
