#ifndef WYERRLOG_WYMESSAGE_H
#define WYERRLOG_WYMESSAGE_H

// Messages with a type. A header made by the message compiler declares each message of a component
// as a constant that knows its identifier and the kinds of its arguments:
//
//   namespace SessionStore {
//   inline constexpr WyMessage<WyMessageId(Component, WySeverity::Warning, 2), WyArgument::String,
//                              WyArgument::Int> Refused;  // user, limit
//   }
//
// so that the compiler refuses a call with too few arguments, too many, or of another kind:
//
//   WyLog(SessionStore::Refused, strUser, 20000);   // compiles
//   WyLog(SessionStore::Refused, strUser);          // error: "... too few arguments ..."
//   WyLog(SessionStore::Refused, 20000, strUser);   // error: "... another kind ..."
//
// A message converts to its identifier, for the raw classes, for comparisons and for case labels:
//
//   message.FormatMessage(SessionStore::Refused, "alice", "20000");
//   const unsigned int uId = SessionStore::Refused;
//
// Where several are kept together, keep the identifiers: each message is of a type of its own. All
// of it is constant expressions without state: any thread, any time, also before main.

#include "wyerrlog/WyMessageId.h"

// The kind of an argument. In a translated message String is what WyLog takes as a text, Int, UInt,
// Long and ULong each are an integer of any size, and Double is any number. In a printf-style
// message each is exactly the type that the conversion reads: "%s", "%d", "%u", "%ld", "%lu", "%f",
// "%c", "%d".
enum class WyArgument { String, Int, UInt, Long, ULong, Double, Char, Bool };

// Whether the component has a key for the message, which WyLog translates, or a printf pattern,
// which WyLogPrintf formats.
enum class WyMessageForm { Translated, Printf };

// One message of a component, by its identifier, with the kinds of its arguments in order. Declared
// as WyMessage or WyPrintfMessage.
template <WyMessageForm form, unsigned int uMessageId, WyArgument... kinds>
class WyTypedMessage {
 public:
  static constexpr unsigned int Id = uMessageId;  // see WyMessageId

  constexpr WyTypedMessage() = default;

  // A copy notes where it is made: WyLog takes a message by value, and so learns the place of the
  // call. The arguments are the compiler's to supply.
  constexpr WyTypedMessage(const WyTypedMessage&, const char* pszFile = __builtin_FILE(),
                           int iLine = __builtin_LINE(),
                           const char* pszFunction = __builtin_FUNCTION())
      : m_pszFile(pszFile), m_iLine(iLine), m_pszFunction(pszFunction) {}
  WyTypedMessage& operator=(const WyTypedMessage&) = delete;
  ~WyTypedMessage() = default;

  // The identifier.
  constexpr operator unsigned int() const { return uMessageId; }

  // The message with another place, a WyCallSite, for functions that log for their callers:
  // WyLog(Login::Refused.At(where), strUser).
  template <typename CallSite>
  constexpr WyTypedMessage At(const CallSite& where) const {
    return WyTypedMessage(*this, where.pszFile, where.iLine, where.pszFunction);
  }

  // The place; "", 0 and "" in a constant.
  constexpr const char* File() const { return m_pszFile; }
  constexpr int Line() const { return m_iLine; }
  constexpr const char* Function() const { return m_pszFunction; }

 private:
  const char* m_pszFile = "";
  int m_iLine = 0;
  const char* m_pszFunction = "";
};

// A translated message.
template <unsigned int uMessageId, WyArgument... kinds>
using WyMessage = WyTypedMessage<WyMessageForm::Translated, uMessageId, kinds...>;

// A printf-style message.
template <unsigned int uMessageId, WyArgument... kinds>
using WyPrintfMessage = WyTypedMessage<WyMessageForm::Printf, uMessageId, kinds...>;

#endif
