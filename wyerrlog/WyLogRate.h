#ifndef WYERRLOG_WYLOGRATE_H
#define WYERRLOG_WYLOGRATE_H

// Messages that may not fill the log, because a client or a broken disk can cause them without
// limit. Each call site has a limit of its own, for all threads together:
//
//   WY_LOG_EVERY_SECONDS(10, Login::Refused, strUser, strClient);   // at most one in ten seconds
//   WY_LOG_EVERY_N(100, Login::Refused, strUser, strClient);        // the 1st, 101st, 201st, ...
//   WY_LOG_FIRST_N(5, WySeverity::Warning, "no cache: %s", szWhy);  // the first five
//
// What follows the limit is what WyLog takes, or what WyLogText takes, with a logger first if it is
// not the process logger. Arguments are evaluated only for a line that goes out.
//
// The next line that goes out ends with how many were left out since the one before,
// "... [left out: 99]". The last line of WY_LOG_FIRST_N ends with "[further ones are left out]".
//
// A call that is left out costs one or two atomic additions and, for seconds, a reading of the
// clock without a system call.
//
// Threads: all may pass one call site at once; none waits for another. Signal handlers: not, since
// a line that goes out formats and writes. fork(2): the child begins with a copy of the counts, and
// both processes log from there on their own. Lines that were left out and are followed by no
// further line are in no count: a process that ends does not report them.
//
// The macros are statements without a result. In a template each instantiation has a limit of its
// own; in an inline function of a header each shared library can have one.

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "wyerrlog/WyLog.h"

// What a limit decides for one call.
//
// Returned by CWyLogRate and passed to LogLimited; a program that uses CWyLogRate itself logs if
// bGoesOut is true, and may add uLeftOut to its own text.
struct WyRateDecision {
  bool bGoesOut;           // the call writes its line
  bool bLast;              // no later call goes out
  std::uint64_t uLeftOut;  // calls since the last one that went out
};

// The state of one call site; constant-initialized, so that a static one needs no lock. Several
// threads may call its operations. Each call that is left out is counted in exactly one later line.
//
// A program uses it directly for a limit that is not one of a call site, such as one for each
// client:
//
//   if (client.rate.EverySeconds(60).bGoesOut) WyLog(Login::Refused, strUser, client.strName);
//
// Not copyable, since it contains atomics. Throws nothing, allocates nothing.
class CWyLogRate {
 public:
  constexpr CWyLogRate() = default;

  // The first call, and each n-th after it. 0 counts as 1. After 2^64 calls the count begins again;
  // a line may then come early.
  WyRateDecision EveryN(std::uint64_t uCount) {
    const std::uint64_t uCall = m_uCalls.fetch_add(1, std::memory_order_relaxed);
    return Decide(uCall % (uCount != 0 ? uCount : 1) == 0, false);
  }

  // The first n calls. bLast is true for the n-th call alone. With 0 no call goes out, and so none
  // is the last.
  WyRateDecision FirstN(std::uint64_t uCount) {
    // Not counted further: the number would begin again after 2^64 calls.
    if (m_uCalls.load(std::memory_order_relaxed) >= uCount) return {false, false, 0};
    const std::uint64_t uCall = m_uCalls.fetch_add(1, std::memory_order_relaxed);
    return {uCall < uCount, uCall + 1 == uCount, 0};
  }

  // The first call, and the first one that is at least so many seconds after the last line.
  // Fractions count: 0.5. Zero or a negative number lets every call out. Time in which the machine
  // sleeps does not count (CLOCK_MONOTONIC), and setting the clock changes nothing. Larger than
  // some 292 years is undefined.
  WyRateDecision EverySeconds(double dSeconds) {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const std::int64_t iNow = now.tv_sec * std::int64_t{1000000000} + now.tv_nsec;
    std::int64_t iNext = m_iNext.load(std::memory_order_relaxed);
    // Of several threads that find the time over, the one that sets the next time logs.
    const bool bGoesOut =
        iNow >= iNext &&
        m_iNext.compare_exchange_strong(iNext, iNow + static_cast<std::int64_t>(dSeconds * 1e9),
                                        std::memory_order_relaxed);
    return Decide(bGoesOut, false);
  }

 private:
  // The count is taken and set to zero in one operation, so that a call that is left out at the
  // same moment is in this line's count or in the next one's, never in both. Relaxed order
  // suffices: no other memory is published by it.
  WyRateDecision Decide(bool bGoesOut, bool bLast) {
    if (bGoesOut) return {true, bLast, m_uLeftOut.exchange(0, std::memory_order_relaxed)};
    m_uLeftOut.fetch_add(1, std::memory_order_relaxed);
    return {false, false, 0};
  }

  // Only as far as needed: FirstN stops, EverySeconds does not count.
  std::atomic<std::uint64_t> m_uCalls{0};
  std::atomic<std::uint64_t> m_uLeftOut{0};
  std::atomic<std::int64_t> m_iNext{0};  // CLOCK_MONOTONIC, nanoseconds
};

namespace WyLogDetail {

// Puts what was left out at the end of a line. Returns false if memory allocation fails. Not
// inline, to keep the code of a call site small: it is needed for few lines. The message is
// formatted already, so that the note comes behind its text and before the newline.
[[gnu::noinline]] inline bool AppendRate(CWyErrLogMessage& line, const WyRateDecision& decision) {
  if (decision.uLeftOut == 0 && !decision.bLast) return true;
  char szNote[64];
  if (decision.bLast) {
    std::snprintf(szNote, sizeof szNote, " [further ones are left out]\n");
  } else {
    std::snprintf(szNote, sizeof szNote, " [left out: %llu]\n",
                  static_cast<unsigned long long>(decision.uLeftOut));
  }
  std::string_view text(line.GetBuffer(), static_cast<std::size_t>(line.GetBufferLen()));
  if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  const std::unique_ptr<char[]> pLine(new (std::nothrow) char[text.size() + sizeof szNote]);
  if (pLine == nullptr) return false;
  text.copy(pLine.get(), text.size());
  std::memcpy(pLine.get() + text.size(), szNote, std::strlen(szNote) + 1);
  line.SetFormattedMessage(pLine.get());
  return true;
}

// Logs a statement with what was left out at its end. On failure of an allocation the line is lost
// with its count; the statement has no result to report it.
inline auto LogWithRate(CWyLogger& logger, const WyRateDecision& decision) {
  return [&](const Statement& statement) {
    CWyErrLogMessage line(logger.ShouldUseLocalTime());
    return statement.Format(line) && AppendRate(line, decision) && logger.LogErrMsg(line);
  };
}

template <typename... Arguments>
WyMessageAt Place(unsigned int uMessageId, const WyCallSite& where, const Arguments&...) {
  return {uMessageId, where};
}
template <WyMessageForm form, unsigned int uId, WyArgument... kinds, typename... Arguments>
WyMessageAt Place(const WyTypedMessage<form, uId, kinds...>& message, const WyCallSite& where,
                  const Arguments&...) {
  return Checked<WyMessageForm::Translated>(message.At(where), Types<Arguments...>());
}

// A severity, which would be an identifier too, begins a text.
template <typename T>
inline constexpr bool IsMessageId =
    std::is_convertible_v<const T&, unsigned int> && !std::is_same_v<T, WySeverity::Number>;

// One line that a limit has let through: of a message, or of a text.
template <typename Message, typename... Arguments>
std::enable_if_t<IsMessageId<Message>, bool> LogLimited(const WyRateDecision& decision,
                                                        const WyCallSite& where, CWyLogger& logger,
                                                        const Message& message,
                                                        const Arguments&... arguments) {
  return WithStatement<Arguments...>(Place(message, where, arguments...),
                                     LogWithRate(logger, decision), ToText(arguments)...);
}
template <typename Message, typename... Arguments>
std::enable_if_t<IsMessageId<Message>, bool> LogLimited(const WyRateDecision& decision,
                                                        const WyCallSite& where,
                                                        const Message& message,
                                                        const Arguments&... arguments) {
  return LogLimited(decision, where, *theLogger(), message, arguments...);
}

inline bool LogLimited(const WyRateDecision& decision, const WyCallSite& where, CWyLogger& logger,
                       WySeverity::Number severity, const char* pszFormat, ...)
    __attribute__((format(printf, 5, 6)));
inline bool LogLimited(const WyRateDecision& decision, const WyCallSite& where,
                       WySeverity::Number severity, const char* pszFormat, ...)
    __attribute__((format(printf, 4, 5)));

inline bool LogLimitedVA(const WyRateDecision& decision, const WyCallSite& where, CWyLogger& logger,
                         WySeverity::Number severity, const char* pszFormat, va_list args)
    __attribute__((format(printf, 5, 0)));
inline bool LogLimitedVA(const WyRateDecision& decision, const WyCallSite& where, CWyLogger& logger,
                         WySeverity::Number severity, const char* pszFormat, va_list args) {
  return WithTextVA({severity, where}, LogWithRate(logger, decision), pszFormat, args);
}
inline bool LogLimited(const WyRateDecision& decision, const WyCallSite& where, CWyLogger& logger,
                       WySeverity::Number severity, const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bLogged = LogLimitedVA(decision, where, logger, severity, pszFormat, args);
  va_end(args);
  return bLogged;
}
inline bool LogLimited(const WyRateDecision& decision, const WyCallSite& where,
                       WySeverity::Number severity, const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bLogged = LogLimitedVA(decision, where, *theLogger(), severity, pszFormat, args);
  va_end(args);
  return bLogged;
}

}  // namespace WyLogDetail

// A function-local static is a limit for each expansion of the macro. It is constant-initialized,
// so that the compiler adds no guard variable and no lock. The names begin with "wy": arguments may
// use names of the caller's scope, which the macro must not hide.
// NOLINTBEGIN(bugprone-macro-parentheses): the limit is a call of a member
#define WY_LOG_LIMITED(limit, ...)                                                      \
  do {                                                                                  \
    static CWyLogRate s_wyRate;                                                         \
    const WyRateDecision wyDecision = s_wyRate.limit;                                   \
    if (wyDecision.bGoesOut) WyLogDetail::LogLimited(wyDecision, WY_HERE, __VA_ARGS__); \
  } while (false)
// NOLINTEND(bugprone-macro-parentheses)

// Logs the first call of this place and every n-th after it. Like the two below it has no result: a
// line that cannot be written is dropped. n is an integer expression, evaluated at each call.
#define WY_LOG_EVERY_N(n, ...) WY_LOG_LIMITED(EveryN(n), __VA_ARGS__)

// Logs the first n calls of this place. For what is worth knowing once, such as a missing optional
// file. The n-th line ends with the note that it is the last.
#define WY_LOG_FIRST_N(n, ...) WY_LOG_LIMITED(FirstN(n), __VA_ARGS__)

// Logs at most one call of this place in so many seconds. For what lasts: one line in so many
// seconds shows that it goes on, and its count how often.
#define WY_LOG_EVERY_SECONDS(seconds, ...) WY_LOG_LIMITED(EverySeconds(seconds), __VA_ARGS__)

#endif
