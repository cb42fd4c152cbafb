// The native methods of the Java class Native for the scopes of requests. A Java scope is a
// WyRequestScope of the thread that opens it, on the heap instead of the stack, so that all records
// of the thread show its fields, whether Java or C++ writes them.
//
// The class WyRequest sees to it that a scope is closed once, by its own thread.

#include <jni.h>

#include <memory>

#include "wyerrlog/WyRequestScope.h"
#include "wyerrlog/internal/WyJavaCall.h"
#include "wyerrlog/internal/WyJavaFrame.h"

namespace {

WyRequestScope* ScopeOf(jlong hScope) { return reinterpret_cast<WyRequestScope*>(hScope); }

void Append(std::string& str, const void* pBytes, std::size_t uSize) {
  str.append(static_cast<const char*>(pBytes), uSize);
}

// The fields as CWyJavaFrame::Request reads them.
std::string FrameOf(const WyRequestFields& fields) {
  std::string strFrame(1, static_cast<char>(fields.size()));
  for (const WyRequestField& field : fields) {
    strFrame += static_cast<char>(field.field);
    strFrame += static_cast<char>(field.bNumber ? 1 : 0);
    const auto iSize = static_cast<std::int32_t>(field.strValue.size());
    Append(strFrame, &iSize, sizeof iSize);
    Append(strFrame, field.strValue.c_str(), field.strValue.size() + 1);
  }
  return strFrame;
}

}  // namespace

extern "C" {

JNIEXPORT jlong JNICALL Java_com_orvantis_wyerrlog_Native_openRequest(JNIEnv* pEnv, jclass,
                                                                      jbyteArray hFrame,
                                                                      jint iSize) {
  return WyRunForJava(pEnv, jlong{0}, [=]() -> jlong {
    CWyJavaFrame frame(pEnv, hFrame, iSize);
    auto pScope = std::make_unique<WyRequestScope>(frame.Request());
    return reinterpret_cast<jlong>(pScope.release());
  });
}

// A number is set as a number, so that records show it as one.
JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Native_setRequest(JNIEnv* pEnv, jclass,
                                                                    jlong hScope, jbyteArray hFrame,
                                                                    jint iSize) {
  WyRunForJava(pEnv, 0, [=]() -> int {
    CWyJavaFrame frame(pEnv, hFrame, iSize);
    for (WyRequestField& field : frame.Request()) ScopeOf(hScope)->Set(std::move(field));
    return 0;
  });
}

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Native_closeRequest(JNIEnv*, jclass,
                                                                      jlong hScope) {
  delete ScopeOf(hScope);
}

JNIEXPORT jbyteArray JNICALL Java_com_orvantis_wyerrlog_Native_captureRequest(JNIEnv* pEnv,
                                                                              jclass) {
  return WyRunForJava(pEnv, jbyteArray{nullptr}, [=]() -> jbyteArray {
    const std::string strFrame = FrameOf(WyRequestScope::Fields());
    const auto iSize = static_cast<jsize>(strFrame.size());
    jbyteArray hFrame = pEnv->NewByteArray(iSize);
    if (hFrame == nullptr) return nullptr;
    pEnv->SetByteArrayRegion(hFrame, 0, iSize, reinterpret_cast<const jbyte*>(strFrame.data()));
    return hFrame;
  });
}

}  // extern "C"
