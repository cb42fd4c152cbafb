#ifndef WYERRLOG_WYAUDITRECORD_H
#define WYERRLOG_WYAUDITRECORD_H

// Audit records with typed fields, one line each, which programs read back without guessing:
//
//   WY_AUDIT("login").Set("user", strUser).Set("client", strAddress).Set("status", 403);
//
// writes, in the format Logfmt and in the format Json,
//
//   time=2026-11-23T11:59:17.123+01:00 pid=4711 tid=38380928 request="7f3a" event="login"
//       user="alice" client="127.0.0.1" status=403
//   {"time":"2026-11-23T11:59:17.123+01:00","pid":4711,"tid":38380928,"request":"7f3a",
//       "event":"login","fields":{"user":"alice","client":"127.0.0.1","status":403}}
//
// each without the line break. Values are JSON values in both formats: texts always in quotes, with
// control characters, quotes and backslashes escaped and invalid UTF-8 replaced by U+FFFD; numbers,
// true, false and null never. So no value can end its record, or begin another field.
//
// The fields of the thread's WyRequestScope follow the statement's own: TransactionID as "request",
// the others under their names, unless the statement sets a field of that name. docs/formats.md
// describes the formats.

#include <array>
#include <cstddef>
#include <string_view>
#include <type_traits>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyToText.h"

class CWyLogger;

// The form of typed audit records.
enum class WyAuditFormat : int { Logfmt, Json };

// Chooses the form for all loggers of the process, from the next record on; Logfmt at first.
// Thread-safe.
WYERRLOG_API void WySetAuditFormat(WyAuditFormat format);

// WY_AUDIT(event) and WY_AUDIT(logger, event) begin a statement that writes one record to the audit
// log of the process logger, or of another one; the rest of the statement sets its fields. A host
// that must not act without an audit record writes it itself, and tests the result:
//
//   if (!WY_AUDIT("grant").Set("user", strUser).Write()) return Refuse(strUser);
#define WY_AUDIT(...) (CWyAuditRecord{__VA_ARGS__})

// One record while it is filled, on one thread. Time, process, thread and request are those of the
// moment at which it is constructed. Memory for it is that of the thread's messages; if memory
// allocation fails the record is not written.
class WYERRLOG_API CWyAuditRecord {
 public:
  // A record of the event, a short constant name.
  explicit CWyAuditRecord(std::string_view event);
  CWyAuditRecord(CWyLogger& logger, std::string_view event);

  // Writes the record unless Write has done so. A record whose statement is left by an exception is
  // not written. Throws what a host's output throws.
  ~CWyAuditRecord() noexcept(false);
  CWyAuditRecord(const CWyAuditRecord&) = delete;
  CWyAuditRecord& operator=(const CWyAuditRecord&) = delete;

  // Adds a field. The value is of any type that WyLog takes as an argument; a null text and a
  // missing optional value are null. A text is written whole, with its zero bytes. WyRaw(text) is
  // written as it stands: it must be a JSON value on one line. A key consists of letters, digits,
  // "_", "-" and "."; any other byte becomes "_". A key that the record has already gets a number:
  // "user", "user_2".
  template <typename Value>
  CWyAuditRecord& Set(std::string_view key, const Value& value) {
    using Shown = WyLogDetail::Shown<Value>;
    const auto text = WyLogDetail::ToText(value);
    const WyLogDetail::TextRef ref = text.Ref();
    if constexpr (std::is_same_v<Shown, WyRawText>) {
      Add(key, ref, Kind::Raw);
    } else if constexpr (std::is_arithmetic_v<Shown> && !std::is_same_v<Shown, char>) {
      Add(key, ref, Kind::Number);
    } else {
      Add(key, ref, Kind::Text);
    }
    return *this;
  }

  // Writes the record, once: returns true if the logger's output has taken it. Returns false also
  // without an output, if memory allocation fails, and after the first call.
  bool Write();

  // Gives the record up: neither Write nor the destructor writes it.
  void Drop() { m_bWritten = true; }

 private:
  enum class Kind { Text, Number, Raw };

  void Add(std::string_view key, const WyLogDetail::TextRef& value, Kind kind);
  WYERRLOG_LOCAL void Begin(std::string_view event);
  WYERRLOG_LOCAL void AddRequest();
  WYERRLOG_LOCAL void AppendTime();
  WYERRLOG_LOCAL void AppendHead(std::string_view name);
  WYERRLOG_LOCAL void AppendKey(std::string_view key);
  WYERRLOG_LOCAL void AppendValue(const WyLogDetail::TextRef& value, Kind kind);
  WYERRLOG_LOCAL unsigned int CountKey(std::string_view key);

  static constexpr std::size_t RememberedKeys = 32;

  CWyLogger& m_logger;
  CWyErrLogMessage m_record;
  WyAuditFormat m_format;
  int m_iExceptions;  // under way when the statement began
  bool m_bWritten = false;
  bool m_bFirst = true;
  std::size_t m_uKeys = 0;
  std::array<std::size_t, RememberedKeys> m_auKeys;  // hashes
};

#endif
