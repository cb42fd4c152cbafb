#ifndef WYERRLOG_WYERRLOGMESSAGE_H
#define WYERRLOG_WYERRLOGMESSAGE_H

// One message on its way from a caller to an output: an error-log line, a trace record or an audit
// record.
//
//   CWyErrLogMessage msg;
//   msg.FormatLogProlog(__FILE__, __LINE__, 0);
//   msg.FormatMessage(0x0300C001u, "alice", "/reports");
//   theLogger()->LogErrMsg(msg);
//
// writes the line
//
//   [12345/4106012416][Mon Nov 16 2026 17:16:13][agent.cpp:41][ERROR][login-00001] ...
//
// WyLog, WyAudit and WY_TRACE (WyLog.h) do this in one statement each; the class is for callers
// that need the text itself, or collect several pieces.
//
// Texts are byte strings with a zero byte at their end, in the caller's encoding (the product uses
// UTF-8); lengths are in bytes without it.

#include <cstdarg>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include "wyerrlog/WyErrLogPort.h"

class CWyLogger;
class CWyMessageLookup;
class CWyTextBuffer;
class CWyThreadStamp;
namespace WyLogDetail {
struct Statement;
}

// The layouts of trace records: the `iFormat` of CWyErrLogMessage::BeginTraceFormat,
// CWyLogger::EnableTrace and WyInitLogger. With any other number a record is one newline.
namespace WyTraceLayout {
enum Number : int {
  Brackets = 0,    // [11/16/2026][17:16:13][Login accepted]
  FixedWidth = 1,  // values padded with blanks or cut to their columns, two blanks between them
  Delimited = 2,   // values with a separator between them
  Xml = 3,         // an element for each field inside an element, on lines of their own
  // One JSON object on a line, {"User":"alice","Rule":2}: every text escaped, numbers as numbers,
  // fields without a value left out. The number is "JSON" in ASCII: no program has used it for a
  // layout that does not exist.
  Json = 0x4A534F4E,
};
}  // namespace WyTraceLayout

// A growable byte string that may hold zero bytes.
class CpaStream {
 public:
  // Appends a character, also a zero byte. The appending operations throw std::bad_alloc.
  CpaStream& operator<<(char c) {
    m_strBytes.push_back(c);
    return *this;
  }
  // Appends a text; a null text appends "<null>".
  CpaStream& operator<<(const char* pszText) {
    m_strBytes.append(pszText != nullptr ? pszText : "<null>");
    return *this;
  }
  // The same as a named operation.
  template <typename T>
  CpaStream& append(T value) {
    return *this << value;
  }
  // Empties the string.
  void clear() { m_strBytes.clear(); }
  // The bytes, followed by a zero byte; valid until the string changes or is destroyed.
  const char* c_str() const { return m_strBytes.c_str(); }

 private:
  friend class CpaArgList;
  friend class CWyErrLogMessage;

  std::string m_strBytes;
};

// The text arguments of one message: at most 13; further ones are dropped without notice. For one
// thread at a time.
class CpaArgList {
 public:
  static constexpr unsigned long MaxArguments = 13;  // what a list holds

  // Copies the argument's text; a null pointer counts as "<null>". Returns this list. If memory
  // allocation fails the list stays as it is, and the next message that is formatted with it is not
  // written.
  template <typename T>
  CpaArgList& add(const T& argument) {
    static_assert(std::is_convertible_v<const T&, const char*>, "message arguments are texts");
    const char* const pszText = argument;
    // With its terminator, in one piece.
    const std::string_view text(pszText != nullptr ? pszText : "<null>");
    AddText({text.data(), text.size() + 1}, {});
    return *this;
  }
  // The same with a text up to its first zero byte.
  CpaArgList& add(std::string_view argument) {
    AddText(argument.substr(0, argument.find('\0')), {"\0", 1});
    return *this;
  }
  // Empties the list.
  CpaArgList& clear() {
    m_stream.clear();
    m_uCount = 0;
    m_bIncomplete = false;
    m_pStatement = nullptr;
    return *this;
  }
  // Stores pointers to the texts in the caller's array, which has room for 13, and returns their
  // number. The list owns the texts: the pointers stay valid until it changes or is destroyed.
  unsigned long toArgv(const char** ppszArguments) const {
    const char* const pszFirst = m_stream.c_str();
    for (unsigned long i = 0; i < m_uCount; ++i) ppszArguments[i] = pszFirst + m_auStarts[i];
    return m_uCount;
  }

 private:
  friend class CWyErrLogMessage;

  void AddText(std::string_view text, std::string_view terminator) {
    if (m_uCount >= MaxArguments) return;
    std::string& strBytes = m_stream.m_strBytes;
    m_auStarts[m_uCount] = strBytes.size();
    try {
      strBytes.append(text);
      if (!terminator.empty()) strBytes.append(terminator);
      ++m_uCount;
    } catch (const std::bad_alloc&) {
      m_bIncomplete = true;
    }
  }

  unsigned long m_uCount = 0;
  CpaStream m_stream;
  std::size_t m_auStarts[MaxArguments];  // of the texts in the stream
  bool m_bIncomplete = false;
  // While the list is empty: the statement that still has the arguments, if there is one.
  const WyLogDetail::Statement* m_pStatement = nullptr;
};

// A message is constructed by its caller, usually on the stack, formatted, passed to a log call and
// destroyed. It is used by one thread at a time, takes no lock and is never copied. Constructing
// one for each record is cheap: a thread's messages reuse the memory of the ones before.
//
// If memory allocation fails for a piece of its text, a message is incomplete: formatters return
// false, and log calls do not write it and return false, until CleanUpMessage or another operation
// that replaces the text. Only FormatAuditMessage and FormatTraceMessage throw (std::bad_alloc).
//
// Looking messages up (FormatLogMessage, FormatMessage and their kin) always asks the process
// logger, theLogger(), whichever logger the message is written to afterwards. At process exit, once
// that logger is released, no message is found.
//
// A forked child may go on with a message of the thread that forked; prologs that the child formats
// have its own process id.
class WYERRLOG_API CWyErrLogMessage {
 public:
  // An empty message; dates are in local time or UTC as the process logger has it at this moment
  // (see CWyLogger::UseLocalTime).
  CWyErrLogMessage();
  // An empty message with local time (true) or UTC, for a logger chosen at run time: pass that
  // logger's ShouldUseLocalTime().
  explicit CWyErrLogMessage(bool bUseLocalTime);
  virtual ~CWyErrLogMessage();
  CWyErrLogMessage(const CWyErrLogMessage&) = delete;
  CWyErrLogMessage& operator=(const CWyErrLogMessage&) = delete;

  // ---- The text ---------------------------------------------------------------------------------

  // Empties the text for the next record and sets the type to 0; the time base, the arguments and
  // the identifier used last stay. Always returns true.
  bool CleanUpMessage();

  // The text, never null. The message owns it; it stays valid until the message changes or is
  // destroyed. A callback that needs it for longer copies it.
  const char* GetBuffer() const;
  int GetBufferLen() const;  // bytes
  int GetStringLen() const;  // the same

  // The arguments of asynchronous callbacks: the same text as GetBuffer(), still owned by the
  // message, and the function that they call with it when they no longer need it, which does
  // nothing.
  const char* ReleaseBuffer() const;
  static void FreeBuffer(char* pszText);

  // Replaces the text by a copy of `pszText`, which may lie within the present text; null leaves it
  // unchanged.
  void SetFormattedMessage(const char* pszText);

  // ---- Error-log line: prolog -------------------------------------------------------------------

  // Replaces the text by the start of an error-log line:
  //
  //   [pid/tid][Mon Nov 16 2026 17:16:13][file:line]
  //
  // Only the part of `pszPath` after its last "/" is shown; it must not be null. A line of 0 or
  // less is left out. `iType` is stored and has no effect. Returns false if the time cannot be read
  // or converted (the text is then "[pid/tid][") or memory allocation fails; the caller may format
  // the message all the same.
  bool FormatLogProlog(const char* pszPath, int iLine, int iType);

  // ---- Error-log line: message ------------------------------------------------------------------

  // Messages with printf patterns: appends "[SEVERITY] ", the component's pattern for the
  // identifier formatted with the arguments (at most 4095 bytes), and a newline. SEVERITY is INFO,
  // WARNING, ERROR or INVALID MESSAGE TYPE. Returns false, and appends nothing, if there is no such
  // message.
  //
  // Requires: the pattern's conversions fit the arguments. The compiler cannot check that.
  bool FormatLogMessage(int iId, ...);
  bool FormatLogMessageVA(int iId, va_list args);

  // The same with texts that replace the "%s" of the pattern one after another; nothing else in the
  // pattern is interpreted. A "%s" inside a text is replaced by the next text. The length has no
  // limit. Requires: the first `iCount` entries of the array are not null; the array may be null.
  bool FormatLogMessage(int iId, char** ppszArguments, int iCount);

  // Translated messages: appends "[SEVERITY][key] ", the text of the message in the administrator's
  // language (that of WyGetAdminLocale: LC_ALL, LC_MESSAGES or LANG) with "{0}", "{1}", ...
  // replaced by the arguments (at most 4095 bytes), and a newline. Returns GetBuffer(), never null:
  // a text that is not found is shown as "missing component library", "missing message key" or the
  // key itself. The identifier 0 means the one used last; without new arguments those of the last
  // call are used again.
  const char* FormatMessage(unsigned int uId);

  // The same with these arguments, which are texts; those after the 13th are dropped.
  template <typename A1, typename... An>
  const char* FormatMessage(unsigned int uId, const A1& first, const An&... others) {
    m_args.clear();
    m_args.add(first);
    (m_args.add(others), ...);
    return FormatMessage(uId);
  }

  // Stores the translated text for a locale ("de_DE.UTF-8", "de-DE"), without severity and newline,
  // in the caller's buffer of `uSize` bytes, cut to fit; the message's own text stays. The
  // arguments are those of the last FormatMessage. Returns the message's key, which stays valid
  // until the process logger is released. For a null buffer or a size of 0 nothing is stored.
  const char* PreformatMessage(unsigned int uId, const char* pszLocale, char* pszOut,
                               unsigned long uSize);

  // Returns "INFO", "WARN", "ERROR" or "UNKNOWN": the severity of the last message that
  // FormatMessage, PreformatMessage or one of the trace forms looked up. The text is constant.
  const char* GetMsgSeverity() const;

  // ---- Texts for trace records ------------------------------------------------------------------

  // Appends a blank and the printf-formatted message, without severity and newline. Returns false
  // if there is no such message.
  bool FormatLogMessageForTrace(int iId, ...);

  // Replaces the text by "[key] " and the English text of the message; see FormatMessage. Returns
  // GetBuffer().
  const char* FormatMessageForTrace(unsigned int uId);

  // ---- Trace records ----------------------------------------------------------------------------

  // A record in one of the layouts of WyTraceLayout: begin, one call for each field, end. It is
  // appended to the text. Values are escaped in the layout Json alone, not in Xml, and are texts
  // there: numbers need CWyTraceData. CWyTraceData::Format does
  // this for the fields of a record; by hand it reads
  //
  //   msg.BeginTraceFormat(WyTraceLayout::Delimited, false, ";");
  //   msg.FormatTraceField("alice", "User");
  //   msg.FormatTraceField("12", "ResponseTime");
  //   msg.EndTraceFormat();  // alice;12 and a newline
  //
  // The tag is the separator of the layout Delimited and the name of the outer element of the
  // layout Xml. It is not copied: it must live until EndTraceFormat; a null tag counts as an empty
  // one, and so does a null value.
  void BeginTraceFormat(int iFormat, bool bUseLocalTime, const char* pszTag);
  void FormatTraceField(const char* pszValue, const char* pszName);  // all but FixedWidth
  void FormatTraceField(const char* pszValue, int iWidth);           // FixedWidth; bytes
  void EndTraceFormat();

  // ---- Audit records and free texts -------------------------------------------------------------

  // Replaces the text by the printf-formatted record; it has no prolog, no newline and no limit of
  // length of its own. Use a fresh message for each record: a record of 4096 bytes and more is
  // appended to the text that the message has. Returns false, and changes nothing, for a null or
  // empty format. Throws std::bad_alloc if memory allocation fails: an audit record is never cut in
  // silence.
  bool FormatAuditMessage(const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));
  bool FormatAuditMessageVA(const char* pszFormat, va_list args)
      __attribute__((format(printf, 2, 0)));

  // Returns a printf-formatted text, cut to 4095 bytes, in memory that the caller owns and passes
  // to FreeFormattedMessage (null is allowed there); null for a null or empty format. Throws
  // std::bad_alloc if memory allocation fails.
  [[nodiscard]] static char* FormatTraceMessage(const char* pszFormat, ...)
      __attribute__((format(printf, 1, 2)));
  static void FreeFormattedMessage(const char* pszText);

  // ---- Helpers ----------------------------------------------------------------------------------

  // Each writes a text with a zero byte at its end into the caller's buffer of `iSize` bytes.
  // Returns false for a null buffer and for a size below the number given. Thread-safe; a forked
  // child obtains its own process id.
  static bool GetPid(char* pszBuffer, int iSize);  // 10: this process's id (getpid)
  static bool GetTid(char* pszBuffer, int iSize);  // 15: the low 32 bits of pthread_self

  // 25: the current time (gettimeofday(2)), local (localtime_r(3)) or UTC (gmtime_r(3)). Form 0 is
  // "11/16/2026", 1 "17:16:13", 2 "17:16:13.005", any other "Mon Nov 16 2026 17:16:13". Returns
  // false also if the time cannot be read or does not fit.
  static bool GetTime(int iForm, char* pszBuffer, bool bLocal, int iSize);

  // 25: the given time as "Mon Nov 16 2026 17:16:13", in English whatever the process's locale.
  // Returns false also for a null time and for a weekday or month that does not exist.
  static bool GetDateTime(const tm* pTime, char* pszBuffer, int iSize);

  // Returns the part of a path after its last "/", a pointer into the argument. Requires: not null.
  static const char* PathnameFindFilePart(const char* pszPath);

 private:
  WYERRLOG_LOCAL void SetId(unsigned int uId);
  WYERRLOG_LOCAL char* BeginProlog(CWyThreadStamp& stamp, std::size_t uMore);
  WYERRLOG_LOCAL bool WriteProlog(std::string_view file, int iLine);
  // Replaces the text by the line. The message may go on to use the statement's texts.
  WYERRLOG_LOCAL void FormatStatement(const WyLogDetail::Statement& statement);
  WYERRLOG_LOCAL bool AppendOwn(const WyLogDetail::Statement& statement);
  WYERRLOG_LOCAL void OwnArguments();
  WYERRLOG_LOCAL void AppendLookedUp();
  WYERRLOG_LOCAL void WriteText(const char* pszPattern, char* pszOut, unsigned long uSize);
  WYERRLOG_LOCAL bool AppendByPrintf(unsigned int uId, va_list args);
  WYERRLOG_LOCAL bool AppendPrintf(const char* pszPattern, va_list args);
  WYERRLOG_LOCAL void FormatAudit(const char* pszFormat, va_list args);
  WYERRLOG_LOCAL const char* Translate(const CWyMessageLookup& lookup, unsigned int uId,
                                       const char* pszLocale, char* pszOut, unsigned long uSize);

  friend class CWyFileOutput;
  friend class CWyLogger;
  friend class CWyTraceData;
  friend class CWyAuditRecord;
  friend struct WyLogDetail::Statement;

  struct WYERRLOG_LOCAL Memory;

  // CleanUpMessage for a message that is used again: also frees a buffer above the size that
  // messages keep.
  WYERRLOG_LOCAL void CleanUpAndShrink();
  // Returns true if memory allocation failed for a part of the text.
  WYERRLOG_LOCAL bool IsIncomplete() const;
  WYERRLOG_LOCAL void SetTraceLayout(int iFormat, bool bUseLocalTime, const char* pszTag) {
    m_nTraceFormat = iFormat;
    m_bUseLocalTime = bUseLocalTime;
    m_pszTraceTag = pszTag;
    m_bFirstField = iFormat != WyTraceLayout::Delimited;
  }

  Memory* m_pMemory;         // owned; the thread's next message reuses it
  CWyTextBuffer* m_pBuffer;  // within m_pMemory
  int m_nType = 0;
  int m_nTraceFormat = 0;
  bool m_bUseLocalTime;
  const char* m_pszTraceTag = nullptr;
  bool m_bFirstField = true;
  int m_nSeverity = 0;
  CpaArgList& m_args;  // within m_pMemory
  unsigned int m_nMsgId = 0;
};

#endif
