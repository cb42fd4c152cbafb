#include "wyerrlog/internal/WyJavaText.h"

// ---- One string ---------------------------------------------------------------------------------

CWyJavaText::CWyJavaText(JNIEnv* pEnv, jstring hText)
    : m_pEnv(pEnv),
      m_hText(hText),
      m_pszText(hText != nullptr ? pEnv->GetStringUTFChars(hText, nullptr) : nullptr) {
  // The failure may come with an OutOfMemoryError, which the caller would be left with.
  if (IsLost()) pEnv->ExceptionClear();
}

CWyJavaText::~CWyJavaText() {
  if (m_pszText != nullptr) m_pEnv->ReleaseStringUTFChars(m_hText, m_pszText);
}

// ---- Arrays of strings --------------------------------------------------------------------------

CWyJavaArguments::CWyJavaArguments(JNIEnv* pEnv, jobjectArray hArray)
    : m_iCount(hArray != nullptr ? pEnv->GetArrayLength(hArray) : 0) {
  m_texts.fill("");
  if (AreTooMany()) return;
  for (int i = 0; i < m_iCount; ++i) {
    const auto uIndex = static_cast<size_t>(i);
    const CWyJavaText& text = m_elements[uIndex].emplace(pEnv, hArray, i).Text();
    m_texts[uIndex] = text.OrEmpty();
    if (text.IsLost()) m_bLost = true;
  }
}

CWyJavaArguments::Element::Element(JNIEnv* pEnv, jobjectArray hArray, int iIndex)
    : m_reference(pEnv, pEnv->GetObjectArrayElement(hArray, iIndex)),
      m_text(pEnv, static_cast<jstring>(m_reference.Get())) {}

CWyJavaArguments::Element::LocalReference::~LocalReference() {
  if (m_hObject != nullptr) m_pEnv->DeleteLocalRef(m_hObject);
}
