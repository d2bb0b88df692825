#include <jni.h>
#include <malloc.h>

extern "C" JNIEXPORT jlong JNICALL Java_vellora_NativeHeap_bytesInUse(JNIEnv* /*env*/, jclass /*heap*/) {
  const auto heap = ::mallinfo2();
  return static_cast<jlong>(heap.uordblks + heap.hblkhd);
}
