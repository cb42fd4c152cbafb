// Reading of the records that Java passes. The lengths in a frame are checked although the class
// that writes them belongs to the library: a mistake there must not read foreign memory.

#include "wyerrlog/internal/WyJavaFrame.h"

CWyJavaFrame::CWyJavaFrame(JNIEnv* pEnv, jbyteArray hBytes, jint iSize) {
  const auto uSize = static_cast<std::size_t>(iSize);
  char* pBytes = m_aInline;
  if (uSize > InlineSize) {
    m_pLong.reset(new char[uSize]);
    pBytes = m_pLong.get();
  }
  pEnv->GetByteArrayRegion(hBytes, 0, iSize, reinterpret_cast<jbyte*>(pBytes));
  m_pNext = pBytes;
  m_pEnd = pBytes + uSize;
}

const char* CWyJavaFrame::Take(std::size_t uSize) {
  if (uSize > static_cast<std::size_t>(m_pEnd - m_pNext)) {
    m_pNext = m_pEnd;
    return nullptr;
  }
  const char* const p = m_pNext;
  m_pNext += uSize;
  return p;
}

std::string_view CWyJavaFrame::Bytes() {
  const auto iSize = Read<std::int32_t>();
  if (iSize < 0) return {};
  const auto uSize = static_cast<std::size_t>(iSize);
  const char* const p = Take(uSize + 1);
  return p != nullptr ? std::string_view(p, uSize) : std::string_view("");
}

// Most texts are plain ASCII, which IsPlain finds 16 bytes at a time.
WyRawText CWyJavaFrame::Text(const char* pszNull) {
  const std::string_view text = Bytes();
  if (text.data() == nullptr) return WyRaw(pszNull);
  const bool bPlain = WyLogDetail::IsPlain(text.data(), text.size()) ||
                      WyLogDetail::WriteEscaped(text, nullptr) == text.size();
  if (bPlain) return {text.data(), text.size(), true};
  const std::string& strEscaped = m_escaped.emplace_front(WyEscape(text));
  return {strEscaped.data(), strEscaped.size(), true};
}

WyRequestFields CWyJavaFrame::Request() {
  WyRequestFields fields;
  for (auto uLeft = Read<std::uint8_t>(); uLeft > 0; --uLeft) {
    const auto field = static_cast<WyField::Number>(Read<std::uint8_t>() % WyField::Count);
    const bool bNumber = Read<std::uint8_t>() != 0;
    fields.push_back({field, bNumber, std::string(Bytes())});
  }
  return fields;
}
