#ifndef WYERRLOG_WYCALLSITE_H
#define WYERRLOG_WYCALLSITE_H

// The place of a call, and what is logged together with it. Users include wyerrlog/WyLog.h, which
// includes this header.

#include <type_traits>
#include <utility>

#include "wyerrlog/WyMessageId.h"

// A place in the source. As the last parameter of an operation, with the default
// WyCallSite::Here(), it is the place of the operation's caller, so that a function that logs for
// its callers names them:
//
//   void Refuse(const Request& request, WyCallSite where = WyCallSite::Here()) {
//     WyLog({Login::Refused, where}, request.strUser);
//   }
//
// The texts are not copied and must live as long as the object; those of the compiler are never
// freed.
struct WyCallSite {
  // The place itself: path, line and function, as __FILE__, __LINE__ and __func__ name them.
  constexpr WyCallSite(const char* pszPath, int iLineOfCall, const char* pszNameOfFunction)
      : pszFile(pszPath), iLine(iLineOfCall), pszFunction(pszNameOfFunction) {}

  // From a std::source_location, if the compiler has it. Here() does not need it: it is the same in
  // C++17 and C++20, so sources of both may meet in one program.
  template <typename Location, typename = decltype(std::declval<const Location&>().file_name())>
  constexpr WyCallSite(const Location& where)
      : WyCallSite(where.file_name(), static_cast<int>(where.line()), where.function_name()) {}

  // Returns the place of the call. Callers pass no arguments: the compiler supplies them.
  static constexpr WyCallSite Here(const char* pszFile = __builtin_FILE(),
                                   int iLine = __builtin_LINE(),
                                   const char* pszFunction = __builtin_FUNCTION()) {
    return {pszFile, iLine, pszFunction};
  }

  const char* pszFile;      // path; records show the part after its last "/"
  int iLine;                // from 1; 0 for none
  const char* pszFunction;  // its bare name
};

// The same as a macro, which needs no support of the compiler: WyLog({Id, WY_HERE}).
#define WY_HERE WyCallSite(__FILE__, __LINE__, static_cast<const char*>(__func__))

// A message's identifier, and the place that logs it.
struct WyMessageAt {
  // Converts from the identifier alone at the call of WyLog, and so has the place of that call.
  constexpr WyMessageAt(unsigned int uMessageId, const WyCallSite& place = WyCallSite::Here())
      : uId(uMessageId), where(place) {}

  unsigned int uId;  // see WyMessageId
  WyCallSite where;  // of the call
};

// A severity, and the place that logs with it: what WyLogText takes.
struct WySeverityAt {
  // Converts from the severity alone at the call of WyLogText, and so has the place of that call.
  constexpr WySeverityAt(WySeverity::Number severityOfText,
                         const WyCallSite& place = WyCallSite::Here())
      : severity(severityOfText), where(place) {}

  WySeverity::Number severity;  // of the text
  WyCallSite where;             // of the call
};

#endif
