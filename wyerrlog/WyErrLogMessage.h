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
//   [12345/139872916542208][Mon Nov 16 2026 17:16:13][agent.cpp:41][ERROR][login-00001] ...
//
// Texts are byte strings ended by a zero byte; lengths are bytes without it.

#include <cstdarg>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include "wyerrlog/WyErrLogPort.h"

class CWyLogger;
class CWyMessageLookup;
class CWyTextBuffer;

// The layouts of trace records: the `iFormat` of CWyErrLogMessage::BeginTraceFormat,
// CWyLogger::EnableTrace and WyInitLogger. Any other number gives records of one newline.
namespace WyTraceLayout {
enum Number : int {
  Brackets = 0,    // [11/16/2026][17:16:13][Login accepted]
  FixedWidth = 1,  // values padded with blanks or cut to their columns, two blanks between them
  Delimited = 2,   // values with a separator between them
  Xml = 3,         // an element for each field inside an element, on lines of their own
};
}  // namespace WyTraceLayout

// A growable byte string that may hold zero bytes.
class CpaStream {
 public:
  // Appends a character, a zero byte too.
  CpaStream& operator<<(char c) {
    m_strBytes.push_back(c);
    return *this;
  }
  // Appends a text; a null text appends "<null>".
  CpaStream& operator<<(const char* pszText) {
    m_strBytes.append(pszText != nullptr ? pszText : "<null>");
    return *this;
  }
  // The same under a name.
  template <typename T>
  CpaStream& append(T value) {
    return *this << value;
  }
  // Empties the string.
  void clear() { m_strBytes.clear(); }
  // The bytes, and a zero byte behind them; valid until the string changes.
  const char* c_str() const { return m_strBytes.c_str(); }

 private:
  friend class CpaArgList;
  friend class CWyErrLogMessage;

  std::string m_strBytes;
};

// The text arguments of one message: at most 13, further ones are dropped without notice.
class CpaArgList {
 public:
  static constexpr unsigned long MaxArguments = 13;  // what a list holds

  // Copies the argument's text; a null pointer counts as "<null>". Answers this list. Without
  // memory for the text the list stays as it is, and the next message made with it is not written.
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
    return *this;
  }
  // Fills the caller's array, which has room for 13 pointers, and answers how many it filled. The
  // pointers stay valid until the list changes.
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
};

// A message is made by its caller, usually on the stack, formatted, passed to one log call and
// destroyed. It is used by one thread at a time, takes no locks and is never copied. Making one for
// each record is cheap: a thread lends its messages the memory of the ones before.
//
// Without memory for a piece of its text a message is incomplete: formatters answer false, and log
// calls do not write it and answer false, until CleanUpMessage or another formatter that replaces
// the text. Nothing throws but FormatAuditMessage and FormatTraceMessage, as they say.
//
// Looking messages up (FormatLogMessage, FormatMessage and their kin) always asks the process
// logger, theLogger(), whichever logger the message is written to afterwards. At process exit, once
// that logger is released, it finds none.
//
// A forked child may go on with a message of the thread that forked; prologs that it writes have
// its own process id.
class WYERRLOG_API CWyErrLogMessage {
 public:
  // An empty message; dates are in the time base of the process logger.
  CWyErrLogMessage();
  // An empty message with local time (true) or UTC, for a logger chosen at run time: pass that
  // logger's ShouldUseLocalTime().
  explicit CWyErrLogMessage(bool bUseLocalTime);
  virtual ~CWyErrLogMessage();
  CWyErrLogMessage(const CWyErrLogMessage&) = delete;
  CWyErrLogMessage& operator=(const CWyErrLogMessage&) = delete;

  // ---- The text ---------------------------------------------------------------------------------

  // Empties the text for the next record and sets the type to 0; everything else stays. Always
  // true.
  bool CleanUpMessage();

  // The text. It belongs to the message and stays valid until the message changes or is destroyed;
  // a callback that needs it for longer copies it.
  const char* GetBuffer() const;
  int GetBufferLen() const;  // bytes
  int GetStringLen() const;  // the same

  // What asynchronous callbacks receive: the same text as GetBuffer(), still owned by the message,
  // and the function to call with it when they are done, which does nothing.
  const char* ReleaseBuffer() const;
  static void FreeBuffer(char* pszText);

  // Replaces the text by a copy; null leaves it as it is.
  void SetFormattedMessage(const char* pszText);

  // ---- Error-log line: prolog -------------------------------------------------------------------

  // Starts an error-log line afresh: "[pid/tid][Mon Nov 16 2026 17:16:13][file:line]". Only the
  // part of `pszPath` behind its last "/" is shown; it must not be null. A line of 0 or less is
  // left out. `iType` is kept and has no effect. Answers false when the process, the thread or the
  // time cannot be named; the text then ends where the failure was.
  bool FormatLogProlog(const char* pszPath, int iLine, int iType);

  // ---- Error-log line: message ------------------------------------------------------------------

  // The printf way: appends "[SEVERITY] ", the component's pattern for the identifier formatted
  // with the arguments (at most 4095 bytes), and a newline. The pattern's conversions must fit the
  // arguments. Answers false, and appends nothing, when there is no such message.
  bool FormatLogMessage(int iId, ...);
  bool FormatLogMessageVA(int iId, va_list args);

  // The same with texts that replace the "%s" of the pattern one after another; nothing else in the
  // pattern is special. A "%s" inside a text takes the next text. No limit of length. The first
  // `iCount` entries of the array must not be null.
  bool FormatLogMessage(int iId, char** ppszArguments, int iCount);

  // The translated way: appends "[SEVERITY][key] ", the text of the message in the administrator's
  // language (that of WyGetAdminLocale: LC_ALL, LC_MESSAGES or LANG) with "{0}", "{1}", ...
  // replaced by the arguments (at most 4095 bytes), and a newline. Never fails: what is not found
  // is shown as "missing component library", "missing message key" or the key itself. Answers
  // GetBuffer(). The identifier 0 means the one used last.
  const char* FormatMessage(unsigned int uId);

  // The same with these arguments, texts, of which 13 count.
  template <typename A1, typename... An>
  const char* FormatMessage(unsigned int uId, const A1& first, const An&... others) {
    m_args.clear();
    m_args.add(first);
    (m_args.add(others), ...);
    return FormatMessage(uId);
  }

  // The translated text for a locale, without line or severity, in the caller's buffer of `uSize`
  // bytes, cut to fit; the arguments are those of the last FormatMessage. Answers the message's
  // key, which stays valid while the process logger is initialised.
  const char* PreformatMessage(unsigned int uId, const char* pszLocale, char* pszOut,
                               unsigned long uSize);

  // "INFO", "WARN", "ERROR" or "UNKNOWN": the severity of the last message that FormatMessage,
  // PreformatMessage or one of the trace forms looked up.
  const char* GetMsgSeverity() const;

  // ---- Texts for trace records ------------------------------------------------------------------

  // Appends a blank and the printf-formatted message; neither severity nor newline. Answers false
  // when there is no such message.
  bool FormatLogMessageForTrace(int iId, ...);

  // Replaces the text by "[key] " and the English text of the message.
  const char* FormatMessageForTrace(unsigned int uId);

  // ---- Trace records ----------------------------------------------------------------------------

  // A record in one of the layouts of WyTraceLayout: begin, one call for each field, end. It is
  // appended to the text, values unchanged. The tag is the separator of the layout Delimited and
  // the name of the outer element of the layout Xml. It is not copied: it must live until
  // EndTraceFormat; a null tag counts as an empty one.
  void BeginTraceFormat(int iFormat, bool bUseLocalTime, const char* pszTag);
  void FormatTraceField(const char* pszValue, const char* pszName);  // all but FixedWidth
  void FormatTraceField(const char* pszValue, int iWidth);           // FixedWidth; bytes
  void EndTraceFormat();

  // ---- Audit records and free texts -------------------------------------------------------------

  // Makes the printf-formatted record the text; it has no prolog, no newline and no limit of length
  // of its own. Use a fresh message for each record: one of 4096 bytes and more is appended to what
  // the message holds. Answers false, and changes nothing, for a null or empty format. Throws
  // std::bad_alloc without memory for the record.
  bool FormatAuditMessage(const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));
  bool FormatAuditMessageVA(const char* pszFormat, va_list args)
      __attribute__((format(printf, 2, 0)));

  // A printf-formatted text of at most 4095 bytes in memory of its own, which the caller gives to
  // FreeFormattedMessage; null for a null or empty format. Throws std::bad_alloc without memory.
  [[nodiscard]] static char* FormatTraceMessage(const char* pszFormat, ...)
      __attribute__((format(printf, 1, 2)));
  static void FreeFormattedMessage(const char* pszText);

  // ---- Helpers ----------------------------------------------------------------------------------

  // Each writes a text ended by a zero byte into the caller's buffer of `iSize` bytes. Answers
  // false for a null buffer and a size below the one named.
  static bool GetPid(char* pszBuffer, int iSize);  // 10: this process's id, as getpid tells it
  static bool GetTid(char* pszBuffer, int iSize);  // 15: the low 32 bits of pthread_self

  // 25: the current time (gettimeofday), local (localtime_r) or UTC (gmtime_r). Form 0 is
  // "11/16/2026", 1 "17:16:13", 2 "17:16:13.005", any other "Mon Nov 16 2026 17:16:13". False also
  // when the time cannot be read or does not fit.
  static bool GetTime(int iForm, char* pszBuffer, bool bLocal, int iSize);

  // 25: the given time as "Mon Nov 16 2026 17:16:13", in English whatever the process's locale.
  // False also for a null time and for a weekday or month that does not exist.
  static bool GetDateTime(const tm* pTime, char* pszBuffer, int iSize);

  // The part of a path behind its last "/", within the argument.
  static const char* PathnameFindFilePart(const char* pszPath);

 private:
  WYERRLOG_LOCAL bool AppendPrintf(const char* pszPattern, va_list args);
  WYERRLOG_LOCAL const char* Translate(const CWyMessageLookup& lookup, unsigned int uId,
                                       const char* pszLocale, char* pszOut, unsigned long uSize);

  friend class CWyLogger;
  friend class CWyTraceData;

  struct WYERRLOG_LOCAL Memory;

  // CleanUpMessage for a message that lives on: also gives up memory above what messages keep.
  WYERRLOG_LOCAL void CleanUpAndShrink();
  // Whether memory was lacking for a part of the text.
  WYERRLOG_LOCAL bool IsIncomplete() const;

  Memory* m_pMemory;         // owned; handed on to the thread's next message
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
