// The substitution of arguments into a pattern, in one pass and without an allocation. Every
// message passes here, so the text between quotes and braces is found by strchrnul(3) and
// memchr(3), which read many bytes at once. (A message that is logged again and again does not: see
// PatternParts.h.)

#include <wyxlate/WyXlate.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>

#include "wyxlate/PatternReader.h"

namespace {

// Writes text into a buffer of fixed size. What does not fit is dropped, within a character if need
// be, as the contract says.
class CWyBoundedWriter {
 public:
  CWyBoundedWriter(char* pBuffer, std::size_t uSize)
      : m_pBegin(pBuffer), m_pNext(pBuffer), m_pEnd(pBuffer + uSize) {}

  bool IsFull() const { return m_pNext == m_pEnd; }

  void Append(const char* pText, const char* pTextEnd) {
    const auto uCopied = static_cast<std::size_t>(std::min(pTextEnd - pText, m_pEnd - m_pNext));
    std::memcpy(m_pNext, pText, uCopied);
    m_pNext += uCopied;
  }

  // Ends the text with a zero byte, for which the buffer has one byte more; returns its length.
  int Finish() {
    *m_pNext = '\0';
    return static_cast<int>(m_pNext - m_pBegin);
  }

 private:
  char* const m_pBegin;
  char* m_pNext;
  char* const m_pEnd;
};

// Writes the parts of a pattern, with the arguments in the place of the placeholders.
class CWyPatternFormatter {
 public:
  CWyPatternFormatter(CWyBoundedWriter& writer, unsigned long uCount, const char** ppArguments)
      : m_writer(writer),
        m_uCount(ppArguments == nullptr ? 0 : std::min(uCount, MaxPatternArguments)),
        m_ppArguments(ppArguments) {}

  bool IsFull() const { return m_writer.IsFull(); }
  void Text(const char* p, const char* pEnd) { m_writer.Append(p, pEnd); }
  void Braces(const char* p, const char* pEnd) { m_writer.Append(p, pEnd); }
  void Quotes(const char*, const char*) {}

  // One without an argument is copied as it stands.
  void Placeholder(unsigned long uIndex, const char* p, const char* pEnd) {
    if (uIndex < m_uCount) {
      AppendArgument(m_ppArguments[uIndex]);
    } else {
      m_writer.Append(p, pEnd);
    }
  }

 private:
  void AppendArgument(const char* pszArgument) {
    if (pszArgument != nullptr) {
      m_writer.Append(pszArgument, pszArgument + std::strlen(pszArgument));
    }
  }

  CWyBoundedWriter& m_writer;
  const unsigned long m_uCount;
  const char** const m_ppArguments;
};

}  // namespace

int CWyXlate::FormatMessage(char* out, unsigned long size, const char* pattern, unsigned long argc,
                            const char** argv) {
  if (out == nullptr || pattern == nullptr) return -1;
  // The length is returned as an int, so no text is longer than one can count.
  CWyBoundedWriter writer(out, std::min(size, static_cast<unsigned long>(INT_MAX)));
  CWyPatternFormatter formatter(writer, argc, argv);
  CWyPatternReader(formatter).Read(pattern);
  return writer.Finish();
}
