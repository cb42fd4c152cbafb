#ifndef WYERRLOG_WYLOG_H
#define WYERRLOG_WYLOG_H

// Logging in one statement each:
//
//   WyLog(Login::WrongPassword, strUser, strClient);                    // a message by identifier
//   WyLogText(WySeverity::Warning, "%d sessions left", iLeft);          // a text without catalog
//   WY_AUDIT("deny").Set("user", strUser).Set("rule", iRule);           // an audit record
//   WY_TRACE(Login::Authentication).Message("rule %d names it", iRule)  // a trace record
//       .Set(WyField::User, strUser)
//       .Set(WyField::ResponseTime, dMilliseconds);
//
// They use the process logger; another one is named first: WyLog(logger, ...), WyLogText(logger,
// ...), WY_AUDIT(logger, ...), WY_TRACE(logger, ...). The places of the calls are filled in: file
// and line of a message, file, line and function of a trace record. No argument can begin a line of
// its own: WyEscape.h. Fields that all records of a request share: WyRequestScope.h. Messages that
// are not to fill the log: WyLogRate.h.
//
// The header uses the public classes alone, and keeps to their order of calls. Any thread may log.
// A call uses only objects of its own thread and releases them when it ends, also by an exception
// from an argument or from a callback of the host. It allocates nothing itself. A record that
// cannot be written is dropped, and the operations that have a result return false: also at process
// exit, once the process logger is released. A forked child logs on, to its parent's outputs, under
// its own process id.

#include <atomic>
#include <bitset>
#include <string_view>
#include <type_traits>

#include "wyerrlog/WyAuditRecord.h"
#include "wyerrlog/WyCallSite.h"
#include "wyerrlog/WyLogField.h"
#include "wyerrlog/WyLogText.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyMessage.h"
#include "wyerrlog/WyMessageId.h"
#include "wyerrlog/WyRequestScope.h"
#include "wyerrlog/WyToText.h"

// ---- Arguments ----------------------------------------------------------------------------------

namespace WyLogDetail {

// Whether a translated message takes a value as an argument of that kind.
template <WyArgument kind, typename T>
constexpr bool Fits() {
  using S = Shown<T>;
  constexpr bool bPlain = std::is_same_v<S, char> || std::is_same_v<S, bool>;
  if constexpr (kind == WyArgument::String) return IsText<T>();
  if constexpr (kind == WyArgument::Char) return std::is_same_v<S, char>;
  if constexpr (kind == WyArgument::Bool) return std::is_same_v<S, bool>;
  if constexpr (kind == WyArgument::Double) return std::is_arithmetic_v<S> && !bPlain;
  return std::is_integral_v<S> && !bPlain;
}

// Whether a value is what the conversion of a printf pattern reads for that kind; a smaller integer
// becomes an int when it is passed.
template <WyArgument kind, typename T>
constexpr bool FitsPrintf() {
  constexpr bool bLong = kind == WyArgument::Long || kind == WyArgument::ULong;
  if constexpr (kind == WyArgument::String) return std::is_convertible_v<T, const char*>;
  if constexpr (kind == WyArgument::Double)
    return std::is_same_v<T, double> || std::is_same_v<T, float>;
  if constexpr (bLong) return std::is_integral_v<T> && sizeof(T) == sizeof(long);
  return std::is_integral_v<T> && sizeof(T) <= sizeof(int);
}

template <typename...>
struct Types {};

// A message that has been declared with its arguments, and the place that logs it. Does not compile
// unless the call of WyLog or WyLogPrintf fits the declaration.
template <WyMessageForm called, WyMessageForm form, unsigned int uId, WyArgument... kinds,
          typename... Arguments>
WyMessageAt Checked(const WyTypedMessage<form, uId, kinds...>& message, Types<Arguments...>) {
  constexpr auto Given = sizeof...(Arguments);
  constexpr auto Wanted = sizeof...(kinds);
  static_assert(called != WyMessageForm::Translated || form == WyMessageForm::Translated,
                "this message has a printf pattern; log it with WyLogPrintf");
  static_assert(called != WyMessageForm::Printf || form == WyMessageForm::Printf,
                "this message is translated; log it with WyLog");
  static_assert(Given >= Wanted, "too few arguments for this message; its declaration names them");
  static_assert(Given <= Wanted, "too many arguments for this message; its declaration names them");
  if constexpr (called == form && Given == Wanted) {
    constexpr bool bPrintf = form == WyMessageForm::Printf;
    static_assert((... && (bPrintf ? FitsPrintf<kinds, Arguments>() : Fits<kinds, Arguments>())),
                  "an argument is of another kind than this message has there; its declaration "
                  "names them in order");
  }
  return {uId, WyCallSite(message.File(), message.Line(), message.Function())};
}

}  // namespace WyLogDetail

// ---- Messages -----------------------------------------------------------------------------------

// Logs a message of a component in the administrator's language: one line of the logger's error
// log, "[pid/tid][date][file:line][SEVERITY][key] text". The arguments, at most 13, replace "{0}",
// "{1}", ... in the text, which is cut to 4095 bytes. They are texts (a text ends with its first
// zero byte; a null pointer is shown as "<null>"), numbers, characters, bool, and the other types
// that WyToText.h lists. Control characters in them are escaped (WyEscape.h), so that no argument
// can begin a line of its own; those of the catalog's text stay. A message that is not found is
// shown as CWyErrLogMessage::FormatMessage describes.
//
// Returns true if the logger's output has taken the line; false also without an output, and if
// memory allocation fails (nothing is written then). Throws what a host's output throws, and what
// the construction of an argument's text throws.
template <typename... Arguments>
bool WyLog(CWyLogger& logger, const WyMessageAt& message, const Arguments&... arguments) {
  static_assert(sizeof...(arguments) <= CpaArgList::MaxArguments, "a message has 13 arguments");
  return WyLogDetail::WithStatement<Arguments...>(
      message,
      [&](const WyLogDetail::Statement& statement) { return logger.LogStatement(statement); },
      WyLogDetail::ToText(arguments)...);
}
template <typename... Arguments>
bool WyLog(const WyMessageAt& message, const Arguments&... arguments) {
  return WyLog(*theLogger(), message, arguments...);
}

// The same for a message that the message compiler has declared: number and kinds of the arguments
// are checked when the call is compiled. See WyMessage.h.
template <WyMessageForm form, unsigned int uId, WyArgument... kinds, typename... Arguments>
bool WyLog(CWyLogger& logger, WyTypedMessage<form, uId, kinds...> message,
           const Arguments&... arguments) {
  const auto types = WyLogDetail::Types<Arguments...>();
  return WyLog(logger, WyLogDetail::Checked<WyMessageForm::Translated>(message, types),
               arguments...);
}
template <WyMessageForm form, unsigned int uId, WyArgument... kinds, typename... Arguments>
bool WyLog(WyTypedMessage<form, uId, kinds...> message, const Arguments&... arguments) {
  const auto types = WyLogDetail::Types<Arguments...>();
  return WyLog(*theLogger(), WyLogDetail::Checked<WyMessageForm::Translated>(message, types),
               arguments...);
}

// The same for a message whose component has a printf pattern in place of a key: a line
// "[pid/tid][date][file:line][SEVERITY] text". The pattern comes from the component at run time, so
// the compiler does not check that its conversions fit the arguments: the caller must. Texts are
// not escaped. Returns false also if there is no such message; nothing is logged then.
template <typename... Arguments>
bool WyLogPrintf(CWyLogger& logger, const WyMessageAt& message, Arguments... arguments) {
  static_assert((... && std::is_scalar_v<Arguments>), "printf takes numbers and pointers to texts");
  CWyErrLogMessage line(logger.ShouldUseLocalTime());
  line.FormatLogProlog(message.where.pszFile, message.where.iLine, 0);
  return line.FormatLogMessage(static_cast<int>(message.uId), arguments...) &&
         logger.LogErrMsg(line);
}
template <typename... Arguments>
bool WyLogPrintf(const WyMessageAt& message, Arguments... arguments) {
  return WyLogPrintf(*theLogger(), message, arguments...);
}

// The same for a message that the message compiler has declared: number and types of the arguments
// are those of the pattern's conversions.
template <WyMessageForm form, unsigned int uId, WyArgument... kinds, typename... Arguments>
bool WyLogPrintf(CWyLogger& logger, WyTypedMessage<form, uId, kinds...> message,
                 Arguments... arguments) {
  const auto types = WyLogDetail::Types<Arguments...>();
  return WyLogPrintf(logger, WyLogDetail::Checked<WyMessageForm::Printf>(message, types),
                     arguments...);
}
template <WyMessageForm form, unsigned int uId, WyArgument... kinds, typename... Arguments>
bool WyLogPrintf(WyTypedMessage<form, uId, kinds...> message, Arguments... arguments) {
  const auto types = WyLogDetail::Types<Arguments...>();
  return WyLogPrintf(*theLogger(), WyLogDetail::Checked<WyMessageForm::Printf>(message, types),
                     arguments...);
}

// ---- Audit records ------------------------------------------------------------------------------

// Writes a printf-formatted record of any length to the logger's audit log. The record is the
// formatted text alone, without a prolog; in a file of lines the format ends with "\n". The
// compiler checks format and arguments. Nothing is escaped: see WyEscape, or WY_AUDIT
// (WyAuditRecord.h), which writes fields in a form that programs read back.
//
// Returns true if the logger's output has taken the record. A host that must not act without an
// audit record tests the result:
//
//   if (!WyAudit("grant user=\"%s\"\n", strUser.c_str())) return Refuse(strUser);
//
// Returns false also without an output and for a null or empty format. Throws std::bad_alloc if
// there is no memory for the record, and what a host's output throws.
inline bool WyAuditVA(CWyLogger& logger, const char* pszFormat, va_list args)
    __attribute__((format(printf, 2, 0)));
inline bool WyAudit(CWyLogger& logger, const char* pszFormat, ...)
    __attribute__((format(printf, 2, 3)));
inline bool WyAudit(const char* pszFormat, ...) __attribute__((format(printf, 1, 2)));

inline bool WyAuditVA(CWyLogger& logger, const char* pszFormat, va_list args) {
  CWyErrLogMessage record(logger.ShouldUseLocalTime());
  return record.FormatAuditMessageVA(pszFormat, args) && logger.LogAuditMsg(record);
}
inline bool WyAudit(CWyLogger& logger, const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bLogged = WyAuditVA(logger, pszFormat, args);
  va_end(args);
  return bLogged;
}
inline bool WyAudit(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bLogged = WyAuditVA(*theLogger(), pszFormat, args);
  va_end(args);
  return bLogged;
}

// ---- Trace records ------------------------------------------------------------------------------

// NOLINTBEGIN(bugprone-macro-parentheses): the rest of the statement follows

// WY_TRACE(component) and WY_TRACE(logger, component) begin a statement that writes one trace
// record, of the component or sub-component with that identifier; the rest of the statement sets
// its fields:
//
//   WY_TRACE(Login::Authentication).Set(WyField::User, strUser).Message("checked in %d ms", iTime);
//
// If the component is not traced the rest is not evaluated, and the statement costs a few
// instructions. Otherwise the fields are set in the order of the statement. The first value that
// its filter rejects drops the record. While the statement runs, its thread traces nothing else:
// functions that the arguments or the outputs call cannot trace again. If an argument throws there
// is no record, and the exception passes through. The statement has no result; failures are not
// reported.
#define WY_TRACE(...)                                                       \
  for (CWyTraceData* wyTraceData = WyLogDetail::TakeTraceData(__VA_ARGS__); \
       wyTraceData != nullptr; wyTraceData = nullptr)                       \
  WyLogDetail::CWyTraceWriter() & CWyTraceRecord(*wyTraceData).At(WY_HERE)
// NOLINTEND(bugprone-macro-parentheses)

// One trace record while it is filled, for its thread alone. It uses the thread's CWyTraceData,
// which the logger owns, and empties it at its end. The fields Function, SrcFile ("agent.cpp:41"),
// Pid, Tid, Date, Time and PreciseTime, unless the statement has set them, are filled in when the
// record is written, and before them those of the thread's WyRequestScope.
class CWyTraceRecord {
 public:
  // Requires: ShouldTraceAlloc or ShouldTrace has returned true for `data`, on a thread that
  // isTracing(). WY_TRACE ensures both.
  explicit CWyTraceRecord(CWyTraceData& data) : m_data(data) {}
  ~CWyTraceRecord() { m_data.LeaveNoBody(); }
  CWyTraceRecord(const CWyTraceRecord&) = delete;
  CWyTraceRecord& operator=(const CWyTraceRecord&) = delete;

  // Sets the place that the record reports.
  CWyTraceRecord& At(const WyCallSite& where) {
    m_where = where;
    return *this;
  }

  // Sets a field if the trace configuration shows it; the filter of a field that is not shown has
  // no effect. The value is copied, with its control characters escaped (WyEscape.h). It is of any
  // type that WyLog takes as an argument (a floating number has six decimals, a null text and a
  // missing optional value are empty), or a function without parameters that returns such a value,
  // and which is called only if the field is shown:
  //
  //   .Set(WyField::Group, [&] { return JoinGroups(user); })
  template <typename Value>
  CWyTraceRecord& Set(WyField::Number field, const Value& value) {
    if (IsWanted(field)) m_bWanted = Store(field, value);
    return *this;
  }

  // Sets the field Message to a printf-formatted text of any length, which is formatted only if the
  // field is shown. Control characters are escaped, also those of the format; for a text of several
  // lines use .Set(WyField::Message, WyRaw(strText)).
  CWyTraceRecord& Message(const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));

  // Calls fill(*this): for fields that several records set in the same way.
  template <typename Fill>
  CWyTraceRecord& With(const Fill& fill) {
    fill(*this);
    return *this;
  }

  // Returns true if the value of a field will be used: it is shown, and no filter has dropped the
  // record yet.
  bool IsWanted(WyField::Number field) const { return m_bWanted && m_data.FieldTraced(field); }

  // Writes the record, unless a filter has dropped it: the end of WY_TRACE. Returns true if each of
  // the logger's trace outputs has taken it.
  bool Write();

 private:
  template <typename Value>
  bool Store(WyField::Number field, const Value& value);
  bool StoreText(WyField::Number field, const WyLogDetail::TextRef& text);
  bool StoreView(WyField::Number field, std::string_view text);
  bool IsMissing(WyField::Number field) const { return IsWanted(field) && !m_set[field]; }
  void FillInRequest();

  CWyTraceData& m_data;
  CWyTraceSupresser m_suppresser;
  WyCallSite m_where{"", 0, ""};
  std::bitset<WyField::Count> m_set;
  bool m_bWanted = true;
};

template <typename Value>
bool CWyTraceRecord::Store(WyField::Number field, const Value& value) {
  m_set.set(field);
  if constexpr (std::is_invocable_v<const Value&>) {
    return Store(field, value());
  } else if constexpr (WyLogDetail::IsOptional<Value>::value) {
    return value ? Store(field, *value) : m_data.SetFieldValue(field, "");
  } else if constexpr (std::is_floating_point_v<Value>) {
    return m_data.SetFieldValue(field, static_cast<double>(value));
  } else if constexpr (std::is_same_v<Value, bool>) {
    return m_data.SetFieldValue(field, value);
  } else {
    const WyLogDetail::CpaArgument<Value> text(value);
    if (!text.IsComplete()) return false;
    using Shown = WyLogDetail::Shown<Value>;
    if constexpr (std::is_integral_v<Shown> && !std::is_same_v<Shown, char>) {
      return m_data.SetFieldNumber(field, text.Ref().pszText);
    } else {
      return StoreText(field, text.Ref());
    }
  }
}

inline bool CWyTraceRecord::StoreText(WyField::Number field, const WyLogDetail::TextRef& text) {
  return text.bTerminated ? m_data.SetFieldValue(field, text.pszText)
                          : StoreView(field, {text.pszText, text.uSize});
}

// A field's value ends with a zero byte, which a view does not have.
inline bool CWyTraceRecord::StoreView(WyField::Number field, std::string_view text) {
  constexpr std::size_t LongestValue = 0x7FFFFFFE;
  const auto iLength = static_cast<int>(text.size() < LongestValue ? text.size() : LongestValue);
  if (iLength == 0) return m_data.SetFieldValue(field, "");
  return m_data.SetFieldValue(field, m_data.FormatTraceMessage("%.*s", iLength, text.data()));
}

[[gnu::noinline]] inline CWyTraceRecord& CWyTraceRecord::Message(const char* pszFormat, ...) {
  if (!IsWanted(WyField::Message)) return *this;
  va_list args;
  va_start(args, pszFormat);
  const char* const pszText = m_data.FormatTraceMessageVA(pszFormat, args);
  va_end(args);
  return Set(WyField::Message, pszText);
}

// Of a field that several scopes have, the innermost counts.
[[gnu::noinline]] inline void CWyTraceRecord::FillInRequest() {
  WyRequestScope::ForEachField([this](const WyRequestField& field) {
    if (!IsMissing(field.field)) return;
    m_bWanted = field.bNumber ? m_data.SetFieldNumber(field.field, field.strValue.c_str())
                              : Store(field.field, field.strValue);
    m_set.set(field.field);
  });
}

// The place and the texts that the library writes itself are not escaped.
[[gnu::noinline]] inline bool CWyTraceRecord::Write() {
  if (WyRequestScope::IsInUse()) FillInRequest();
  if (IsMissing(WyField::Function)) {
    m_bWanted = m_data.SetFieldValue(WyField::Function, m_where.pszFunction);
  }
  if (IsMissing(WyField::SrcFile)) {
    const char* const pszFile = CWyErrLogMessage::PathnameFindFilePart(m_where.pszFile);
    m_bWanted = m_data.SetFieldValue(
        WyField::SrcFile,
        m_data.FormatTraceMessage(m_where.iLine > 0 ? "%s:%i" : "%s", pszFile, m_where.iLine));
  }
  for (const WyField::Number field :
       {WyField::Pid, WyField::Tid, WyField::Date, WyField::Time, WyField::PreciseTime}) {
    constexpr int Ignored = 0;  // the record knows the values of these five
    if (IsMissing(field)) m_bWanted = m_data.SetFieldValue(field, Ignored);
  }
  return m_bWanted && m_data.Format() && m_data.Log();
}

namespace WyLogDetail {

// If there is no memory to construct the process logger, theLogger returns a released one, which
// has no components; its address is not cached.
[[gnu::noinline]] inline CWyLogger& AskForProcessLogger(std::atomic<CWyLogger*>& note) {
  CWyLogger* const pLogger = theLogger();
  if (pLogger->GetAvailableComponents() != nullptr) note.store(pLogger, std::memory_order_release);
  return *pLogger;
}

// Returns the process logger, which never moves once it is constructed: its address is asked for
// once. Each module caches it in a variable of its own, which does not keep the module from being
// unloaded.
WYERRLOG_LOCAL inline CWyLogger& ProcessLogger() {
  static std::atomic<CWyLogger*> s_pLogger{nullptr};
  CWyLogger* const pLogger = s_pLogger.load(std::memory_order_acquire);
  return pLogger != nullptr ? *pLogger : AskForProcessLogger(s_pLogger);
}

// The second test, for the few calls that pass MayTrace.
[[gnu::noinline]] inline CWyTraceData* TakeTraceDataIfTraced(CWyLogger& logger, unsigned int uId) {
  CWyTraceData* pData = nullptr;
  const bool bTraced = CWyTraceSupresser::isTracing() && logger.ShouldTraceAlloc(uId, &pData);
  return bTraced ? pData : nullptr;
}

// Returns the calling thread's CWyTraceData; null if there is nothing to trace.
inline CWyTraceData* TakeTraceData(CWyLogger& logger, unsigned int uId) {
  return __builtin_expect(logger.MayTrace(uId), false) ? TakeTraceDataIfTraced(logger, uId)
                                                       : nullptr;
}
inline CWyTraceData* TakeTraceData(unsigned int uId) { return TakeTraceData(ProcessLogger(), uId); }

// Evaluated last in the statement: writes the record if nothing before has thrown.
struct CWyTraceWriter {
  void operator&(CWyTraceRecord& record) const { record.Write(); }
};

}  // namespace WyLogDetail

#endif
