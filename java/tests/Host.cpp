// The native half of the tests' class Host: C++ code of a process whose Java code logs, too.

#include <jni.h>

#include <stdexcept>
#include <string>

#include "wyerrlog/WyAuditRecord.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyRequestScope.h"

namespace {

std::string TextOf(JNIEnv* pEnv, jstring hText) {
  const char* const pszText = pEnv->GetStringUTFChars(hText, nullptr);
  const std::string strText = pszText;
  pEnv->ReleaseStringUTFChars(hText, pszText);
  return strText;
}

void ThrowInCpp(const char*, int) { throw std::runtime_error("from an output"); }

JavaVM* s_pVm = nullptr;

void ThrowInJava(const char*, int) {
  JNIEnv* pEnv = nullptr;
  s_pVm->GetEnv(reinterpret_cast<void**>(&pEnv), JNI_VERSION_10);
  pEnv->ThrowNew(pEnv->FindClass("java/lang/IllegalStateException"), "from an output");
}

// Runs a java.lang.Runnable at each record.
void RunBody(const char*, int, void* pBody) {
  JNIEnv* pEnv = nullptr;
  s_pVm->GetEnv(reinterpret_cast<void**>(&pEnv), JNI_VERSION_10);
  const auto hBody = static_cast<jobject>(pBody);
  const jmethodID hRun = pEnv->GetMethodID(pEnv->GetObjectClass(hBody), "run", "()V");
  pEnv->CallVoidMethod(hBody, hRun);
}

}  // namespace

extern "C" {

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Host_installCallback(JNIEnv* pEnv, jclass,
                                                                       jobject hBody,
                                                                       jstring hTraceConfig) {
  pEnv->GetJavaVM(&s_pVm);
  CWyLogger& logger = *theLogger();
  CWyLogOutput* const pOutput = logger.NewLogOutput(WyOutputType::SyncParameterizedCallback,
                                                    RunBody, pEnv->NewGlobalRef(hBody));
  if (hTraceConfig == nullptr) {
    static_cast<void>(logger.SetLogOutput(pOutput));
  } else {
    static_cast<void>(logger.EnableTrace(pOutput, WyTraceLayout::Xml, nullptr,
                                         TextOf(pEnv, hTraceConfig).c_str(), false, false, false));
  }
}

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Host_audit(JNIEnv* pEnv, jclass, jstring hEvent) {
  WY_AUDIT(TextOf(pEnv, hEvent));
}

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Host_inScope(JNIEnv* pEnv, jclass, jstring hId,
                                                               jobject hBody) {
  const WyRequestScope scope(WyField::TransactionID, TextOf(pEnv, hId));
  const jmethodID hRun = pEnv->GetMethodID(pEnv->GetObjectClass(hBody), "run", "()V");
  pEnv->CallVoidMethod(hBody, hRun);
}

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Host_installFailingOutput(JNIEnv* pEnv, jclass,
                                                                            jboolean bInJava) {
  pEnv->GetJavaVM(&s_pVm);
  CWyLogger& logger = *theLogger();
  CWySyncCallbackOutput::Callback const pfnFail = bInJava != JNI_FALSE ? ThrowInJava : ThrowInCpp;
  static_cast<void>(logger.SetLogOutput(logger.NewLogOutput(WyOutputType::SyncCallback, pfnFail)));
}

}  // extern "C"
