#ifndef WYERRLOG_WYLOGSTATEMENT_H
#define WYERRLOG_WYLOGSTATEMENT_H

// What a log statement passes to the library, in one call: the message, the place and the texts of
// its arguments with their lengths. CWyLogger::LogStatement logs it. Users include
// wyerrlog/WyLog.h, which includes this header.

#include <cstddef>
#include <string_view>

#include "wyerrlog/WyErrLogPort.h"

class CpaArgList;
class CWyErrLogMessage;

namespace WyLogDetail {

struct TextRef;

// The texts are neither copied nor kept: they live as long as the statement.
struct Statement {
  // Replaces the message's text by the line, and its arguments by copies of the texts. Returns
  // false, with the message incomplete, if memory allocation fails.
  WYERRLOG_API bool Format(CWyErrLogMessage& line) const;

  // Copies the texts, escaped, into an empty list. Returns false if there is no memory to escape.
  bool CopyTo(CpaArgList& args) const;

  // Returns true if the text is written as it is.
  bool IsPlain(std::size_t uText) const;

  unsigned int uId;
  int iLine;
  std::string_view file;    // its name, without the path
  const TextRef* pTexts;    // uTexts of them; a null text is "<null>"
  std::size_t uTexts;       // at most 13
  unsigned int uAsTheyAre;  // a bit for each text that is not escaped, the lowest for the first
};

}  // namespace WyLogDetail

#endif
