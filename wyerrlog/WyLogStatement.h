#ifndef WYERRLOG_WYLOGSTATEMENT_H
#define WYERRLOG_WYLOGSTATEMENT_H

// What a statement of the front end passes to the library, in one call: the message, the place and
// the texts of its arguments with their lengths. Users include wyerrlog/WyLog.h, which includes
// this header.

#include <cstddef>
#include <string_view>

#include "wyerrlog/WyCallSite.h"
#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyToText.h"

class CpaArgList;
class CWyErrLogMessage;
class CWyLogger;

namespace WyLogDetail {

// The texts are neither copied nor kept: they live as long as the statement.
struct Statement {
  // Logs the message. Returns true if the logger's output has taken the line; false also if memory
  // allocation fails. Throws what a host's output throws. Thread-safe.
  WYERRLOG_API bool Log(CWyLogger& logger) const;

  // Replaces the message's text by the line, and its arguments by copies of the texts. Returns
  // false, with the message incomplete, if memory allocation fails.
  WYERRLOG_API bool Format(CWyErrLogMessage& line) const;

  // Copies the texts, escaped, into an empty list. Returns false if there is no memory to escape.
  bool CopyTo(CpaArgList& args) const;

  // The same as Format, except that the message may go on to use this object's texts.
  void Write(CWyErrLogMessage& line) const;

  // Returns true if the text is written as it is.
  bool IsPlain(std::size_t uText) const;

  unsigned int uId;
  int iLine;
  std::string_view file;    // its name, without the path
  const TextRef* pTexts;    // uTexts of them; a null text is "<null>"
  std::size_t uTexts;       // at most 13
  unsigned int uAsTheyAre;  // a bit for each text that is not escaped, the lowest for the first
};

// The part of a path after its last "/". The compiler finds it for the paths that it supplies.
inline std::string_view FilePart(const char* pszPath) {
  const char* const pszSlash = __builtin_strrchr(pszPath, '/');
  const char* const pszFile = pszSlash != nullptr ? pszSlash + 1 : pszPath;
  return {pszFile, __builtin_strlen(pszFile)};
}

// One bit for each argument whose text is not escaped.
template <typename... Arguments>
constexpr unsigned int AsTheyAre() {
  unsigned int uBits = 0;
  unsigned int uBit = 1;
  ((uBits |= IsNeverEscaped<Arguments>() ? uBit : 0, uBit <<= 1), ...);
  return uBits;
}

// Calls `use` with the statement that has the texts of the arguments, which are of the given types.
template <typename... Arguments, typename Use, typename... Texts>
bool WithStatement(const WyMessageAt& message, const Use& use, const Texts&... texts) {
  const TextRef aTexts[] = {texts.Ref()..., TextRef{}};
  return use(Statement{message.uId, message.where.iLine, FilePart(message.where.pszFile),
                       static_cast<const TextRef*>(aTexts), sizeof...(texts),
                       AsTheyAre<Arguments...>()});
}

}  // namespace WyLogDetail

#endif
