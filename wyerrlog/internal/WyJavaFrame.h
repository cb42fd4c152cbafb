#ifndef WYERRLOG_INTERNAL_WYJAVAFRAME_H
#define WYERRLOG_INTERNAL_WYJAVAFRAME_H

// A record on its way from Java: the bytes that the class Frame has written, read piece by piece.
// One array for each record, copied in one call of the virtual machine, costs less than a call for
// each string, and the texts in it are UTF-8 without exception.
//
// Numbers are little-endian. A text is its length as an Int, its bytes, and a zero byte; the length
// -1 is null.

#include <jni.h>

#include <cstdint>
#include <cstring>
#include <forward_list>
#include <memory>
#include <string>
#include <string_view>

#include "wyerrlog/WyEscape.h"
#include "wyerrlog/WyRequestScope.h"

// What precedes a value.
enum class WyJavaKind : std::uint8_t { Text = 0, Raw = 1, Long = 2, Double = 3, Bool = 4 };

// Belongs to one native call. Reading beyond the end returns zeros and empty texts: an array that
// does not follow the rules cannot make the process fail.
class CWyJavaFrame {
 public:
  // Copies the first `iSize` bytes of the array. Throws std::bad_alloc.
  CWyJavaFrame(JNIEnv* pEnv, jbyteArray hBytes, jint iSize);
  CWyJavaFrame(const CWyJavaFrame&) = delete;
  CWyJavaFrame& operator=(const CWyJavaFrame&) = delete;

  bool IsAtEnd() const { return m_pNext == m_pEnd; }

  // Reads a number of one to eight bytes.
  template <typename Number>
  Number Read() {
    Number number{};
    if (const char* const p = Take(sizeof number)) std::memcpy(&number, p, sizeof number);
    return number;
  }

  // Reads a text as it stands. The data pointer of a null text is null. A zero byte follows the
  // text, which is valid as long as the object.
  std::string_view Bytes();

  // Reads a text and escapes it (WyEscape.h), its zero bytes too. A null text is `pszNull`.
  WyRawText Text(const char* pszNull);

  // Reads the fields of a request: a count in one byte, then for each field its number, 1 if its
  // value is a number, and the value as a text.
  WyRequestFields Request();

 private:
  // Returns a pointer to the next bytes and skips them; null if there are not so many.
  const char* Take(std::size_t uSize);

  static constexpr std::size_t InlineSize = 2048;  // enough for most records

  char m_aInline[InlineSize];
  std::unique_ptr<char[]> m_pLong;
  const char* m_pNext;
  const char* m_pEnd;
  std::forward_list<std::string> m_escaped;
};

#endif
