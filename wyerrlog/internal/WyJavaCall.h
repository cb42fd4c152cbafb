#ifndef WYERRLOG_INTERNAL_WYJAVACALL_H
#define WYERRLOG_INTERNAL_WYJAVACALL_H

// The frame around the body of a native method of the class Native: what may not reach Java ends
// here.

#include <jni.h>

// Runs a native method's body and returns its result, or `onFailure` if it fails. No C++ exception
// may pass through the frames of the virtual machine: it would end the process. A Java exception
// that code of the host (an output that calls Java) has left pending would be thrown from a
// statement that only logs: it is cleared, and the call has failed.
template <typename Result, typename Body>
Result WyRunForJava(JNIEnv* pEnv, Result onFailure, const Body& body) noexcept {
  Result result = onFailure;
  try {
    result = body();
  } catch (...) {
    result = onFailure;
  }
  if (pEnv->ExceptionCheck() == JNI_FALSE) return result;
  pEnv->ExceptionClear();
  return onFailure;
}

#endif
