// The bytes of Java strings, held for one native call. The virtual machine may copy or pin a
// string; either way it is released with the object, and so are local references, of which a native
// method may only have a limited number at a time.

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

// Texts that are lost stand as empty ones, and the caller asks AreLost: half of the arguments would
// make a wrong message. A longer array is not fetched at all; the caller warns of it.
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
