#ifndef WYERRLOG_TESTS_FAKEJVM_H
#define WYERRLOG_TESTS_FAKEJVM_H

// What a native method sees of a virtual machine, as far as this library's methods use it: strings
// and arrays of strings. It counts what is handed out, and can run out of memory.

#include <jni.h>

#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace test_support {

class FakeJvm : public JNIEnv_ {
 public:
  FakeJvm() {
    m_functions.GetStringUTFChars = GetStringUTFChars;
    m_functions.ReleaseStringUTFChars = ReleaseStringUTFChars;
    m_functions.GetArrayLength = GetArrayLength;
    m_functions.GetObjectArrayElement = GetObjectArrayElement;
    m_functions.DeleteLocalRef = DeleteLocalRef;
    m_functions.ExceptionClear = ExceptionClear;
    functions = &m_functions;
  }

  // Objects, which live as long as this one.
  jstring String(const std::string& strText) {
    return &m_strings.emplace_back(FakeString{{}, strText});
  }
  jobjectArray Array(const std::vector<jstring>& elements) {
    return &m_arrays.emplace_back(FakeArray{{}, elements});
  }

  // From now on the n-th conversion of a string fails with an exception; 0: none does.
  void RunOutOfMemoryAt(int iConversion) {
    m_iFailingConversion = iConversion;
    m_iConversions = 0;
  }
  int Conversions() const { return m_iConversions; }

  // Whether a method has given back all it took and left nothing behind, and never called for more
  // while an exception was pending.
  bool IsAsBefore() const {
    return m_iHeldTexts == 0 && m_iHeldReferences == 0 && !m_bExceptionPending && !m_bMisused;
  }

 private:
  struct FakeString : _jstring {
    std::string strText;
    FakeString(_jstring, std::string text) : strText(std::move(text)) {}
  };
  struct FakeArray : _jobjectArray {
    std::vector<jstring> elements;
    FakeArray(_jobjectArray, std::vector<jstring> e) : elements(std::move(e)) {}
  };

  static FakeJvm& Of(JNIEnv* pEnv, bool bAllowedWithException) {
    auto& jvm = static_cast<FakeJvm&>(*pEnv);
    if (jvm.m_bExceptionPending && !bAllowedWithException) jvm.m_bMisused = true;
    return jvm;
  }

  static const char* GetStringUTFChars(JNIEnv* pEnv, jstring hText, jboolean*) {
    FakeJvm& jvm = Of(pEnv, false);
    if (++jvm.m_iConversions == jvm.m_iFailingConversion) {
      jvm.m_bExceptionPending = true;
      return nullptr;
    }
    ++jvm.m_iHeldTexts;
    return strdup(static_cast<FakeString*>(hText)->strText.c_str());
  }
  static void ReleaseStringUTFChars(JNIEnv* pEnv, jstring, const char* pszText) {
    --Of(pEnv, true).m_iHeldTexts;
    free(const_cast<char*>(pszText));
  }
  static jsize GetArrayLength(JNIEnv* pEnv, jarray hArray) {
    Of(pEnv, false);
    return static_cast<jsize>(static_cast<FakeArray*>(hArray)->elements.size());
  }
  static jobject GetObjectArrayElement(JNIEnv* pEnv, jobjectArray hArray, jsize iIndex) {
    FakeJvm& jvm = Of(pEnv, false);
    const jobject hElement =
        static_cast<FakeArray*>(hArray)->elements.at(static_cast<size_t>(iIndex));
    if (hElement != nullptr) ++jvm.m_iHeldReferences;
    return hElement;
  }
  static void DeleteLocalRef(JNIEnv* pEnv, jobject) { --Of(pEnv, true).m_iHeldReferences; }
  static void ExceptionClear(JNIEnv* pEnv) { Of(pEnv, true).m_bExceptionPending = false; }

  JNINativeInterface_ m_functions{};
  std::deque<FakeString> m_strings;
  std::deque<FakeArray> m_arrays;
  int m_iFailingConversion = 0;
  int m_iConversions = 0;
  int m_iHeldTexts = 0;
  int m_iHeldReferences = 0;
  bool m_bExceptionPending = false;
  bool m_bMisused = false;
};

}  // namespace test_support

#endif
