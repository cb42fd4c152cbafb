// The functions for C that fill records piece by piece: audit records, traces, and the fields of
// requests. An object of C++ that lives on the stack there is allocated here, and deleted by the
// function that ends it.

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "wyerrlog/WyLog.h"
#include "wyerrlog/internal/WyCInterface.h"

// ---- Audit records ------------------------------------------------------------------------------

struct wyerrlog_audit {
  CWyAuditRecord record;
};

namespace {

// Nothing that adds a field fails: if memory allocation fails the record remembers it, and is not
// written.
template <typename Value>
void Set(wyerrlog_audit* pAudit, const char* pszKey, const Value& value) {
  if (pAudit == nullptr) return;
  const std::string_view key = pszKey != nullptr ? pszKey : "";
  WyCallFromC(0, [&] { return pAudit->record.Set(key, value), 1; });
}

}  // namespace

int wyerrlog_set_audit_format(int format) {
  if (format != WYERRLOG_LOGFMT && format != WYERRLOG_JSON) return WyFailForC(EINVAL, 0);
  WySetAuditFormat(format == WYERRLOG_JSON ? WyAuditFormat::Json : WyAuditFormat::Logfmt);
  return 1;
}

wyerrlog_audit* wyerrlog_audit_begin(wyerrlog_logger* logger, const char* event) {
  return WyCallFromC<wyerrlog_audit*>(nullptr, [&] {
    return new wyerrlog_audit{CWyAuditRecord(WyLoggerOf(logger), event != nullptr ? event : "")};
  });
}

void wyerrlog_audit_set(wyerrlog_audit* record, const char* key, const char* text) {
  Set(record, key, text);
}

void wyerrlog_audit_set_bytes(wyerrlog_audit* record, const char* key, const char* text,
                              size_t size) {
  if (text == nullptr) return Set(record, key, text);
  Set(record, key, std::string_view(text, size));
}

void wyerrlog_audit_set_int(wyerrlog_audit* record, const char* key, int64_t value) {
  Set(record, key, value);
}

void wyerrlog_audit_set_uint(wyerrlog_audit* record, const char* key, uint64_t value) {
  Set(record, key, value);
}

void wyerrlog_audit_set_double(wyerrlog_audit* record, const char* key, double value) {
  Set(record, key, value);
}

void wyerrlog_audit_set_bool(wyerrlog_audit* record, const char* key, int value) {
  Set(record, key, value != 0);
}

void wyerrlog_audit_set_json(wyerrlog_audit* record, const char* key, const char* json) {
  Set(record, key, WyRaw(json));
}

int wyerrlog_audit_write(wyerrlog_audit* record) {
  if (record == nullptr) return WyFailForC(ENOMEM, 0);
  const int iWritten = WyCallFromC(0, [&] { return record->record.Write() ? 1 : 0; });
  const int iErrno = errno;  // free(3) of older systems changes it
  wyerrlog_audit_drop(record);
  errno = iErrno;
  return iWritten;
}

void wyerrlog_audit_drop(wyerrlog_audit* record) {
  if (record == nullptr) return;
  record->record.Drop();
  delete record;
}

int wyerrlog_audit_vtext(wyerrlog_logger* logger, const char* format, va_list arguments) {
  if (format == nullptr || *format == '\0') return WyFailForC(EINVAL, 0);
  return WyCallFromC(0, [&] { return WyAuditVA(WyLoggerOf(logger), format, arguments) ? 1 : 0; });
}

int wyerrlog_audit_text(wyerrlog_logger* logger, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int iResult = wyerrlog_audit_vtext(logger, format, args);
  va_end(args);
  return iResult;
}

// A text that is cut is escaped in memory first; if there is none the result is empty.
size_t wyerrlog_escape(char* out, size_t size, const char* text) {
  const std::string_view source = text != nullptr ? text : "<null>";
  const size_t uLength = WyLogDetail::WriteEscaped(source, nullptr);
  if (size == 0) return uLength;
  size_t uShown = uLength < size ? uLength : size - 1;
  if (uShown == uLength) {
    WyLogDetail::WriteEscaped(source, out);
  } else {
    uShown = WyCallFromC(size_t{0}, [&] { return WyEscape(source).copy(out, uShown); });
  }
  out[uShown] = '\0';
  return uLength;
}

// ---- Traces -------------------------------------------------------------------------------------

struct wyerrlog_trace {
  CWyTraceData& data;
  CWyTraceRecord record;
};

namespace {

// The numbers are those of WyField.
static_assert(int{WYERRLOG_FIELD_TRANSACTION_ID} == int{WyField::TransactionID});
static_assert(int{WYERRLOG_FIELD_TENANT} + 1 == int{WyField::Count});

bool IsField(int iField) { return iField >= 0 && iField < static_cast<int>(WyField::Count); }

template <typename Value>
void SetField(wyerrlog_trace* pTrace, int iField, const Value& value) {
  if (pTrace == nullptr || !IsField(iField)) return;
  const auto field = static_cast<WyField::Number>(iField);
  WyCallFromC(0, [&] { return pTrace->record.Set(field, value), 1; });
}

}  // namespace

int wyerrlog_is_traced(wyerrlog_logger* logger, uint32_t component_id) {
  return WyCallFromC(0, [&] { return WyLoggerOf(logger).TraceEnabled(component_id) ? 1 : 0; });
}

wyerrlog_trace* wyerrlog_trace_begin(wyerrlog_logger* logger, const char* file, int line,
                                     const char* function, uint32_t component_id) {
  return WyCallFromC<wyerrlog_trace*>(nullptr, [&]() -> wyerrlog_trace* {
    CWyTraceData* const pData = WyLogDetail::TakeTraceData(WyLoggerOf(logger), component_id);
    if (pData == nullptr) return nullptr;
    auto* const pTrace = new wyerrlog_trace{*pData, CWyTraceRecord(*pData)};
    pTrace->record.At(WyPlaceOf(file, line, function));
    return pTrace;
  });
}

int wyerrlog_trace_wants(const wyerrlog_trace* trace, int field) {
  return trace != nullptr && IsField(field) &&
                 trace->record.IsWanted(static_cast<WyField::Number>(field))
             ? 1
             : 0;
}

void wyerrlog_trace_set(wyerrlog_trace* trace, int field, const char* text) {
  SetField(trace, field, text != nullptr ? text : "");
}

void wyerrlog_trace_set_int(wyerrlog_trace* trace, int field, int64_t value) {
  SetField(trace, field, value);
}

void wyerrlog_trace_set_double(wyerrlog_trace* trace, int field, double value) {
  SetField(trace, field, value);
}

void wyerrlog_trace_message(wyerrlog_trace* trace, const char* format, ...) {
  if (format == nullptr || !wyerrlog_trace_wants(trace, WYERRLOG_FIELD_MESSAGE)) return;
  va_list args;
  va_start(args, format);
  WyCallFromC(0, [&] {
    trace->record.Set(WyField::Message, trace->data.FormatTraceMessageVA(format, args));
    return 1;
  });
  va_end(args);
}

int wyerrlog_trace_write(wyerrlog_trace* trace) {
  if (trace == nullptr) return WyFailForC(EINVAL, 0);
  const int iWritten = WyCallFromC(0, [&] { return trace->record.Write() ? 1 : 0; });
  const int iErrno = errno;
  wyerrlog_trace_drop(trace);
  errno = iErrno;
  return iWritten;
}

void wyerrlog_trace_drop(wyerrlog_trace* trace) { delete trace; }

// ---- Requests -----------------------------------------------------------------------------------

struct wyerrlog_fields {
  WyRequestFields fields;
};

struct wyerrlog_scope {
  WyRequestScope scope;
  wyerrlog_scope* pOuter;  // of the same thread
};

namespace {

// The innermost scope that the thread has begun here. Scopes are objects of a stack, which a caller
// in C may end in any order: the list finds those that lie within the one that ends.
constinit thread_local wyerrlog_scope* s_pInnermost = nullptr;

bool IsOfThisThread(const wyerrlog_scope* pScope) {
  const wyerrlog_scope* p = s_pInnermost;
  while (p != nullptr && p != pScope) p = p->pOuter;
  return p != nullptr;
}

int Replace(wyerrlog_fields* pFields, int iField, bool bNumber, std::string strValue) {
  if (pFields == nullptr || !IsField(iField)) return WyFailForC(EINVAL, 0);
  const auto field = static_cast<WyField::Number>(iField);
  for (WyRequestField& present : pFields->fields) {
    if (present.field != field) continue;
    present = {field, bNumber, std::move(strValue)};
    return 1;
  }
  pFields->fields.push_back({field, bNumber, std::move(strValue)});
  return 1;
}

template <typename Value>
int SetInScope(wyerrlog_scope* pScope, int iField, const Value& value) {
  if (pScope == nullptr || !IsField(iField)) return WyFailForC(EINVAL, 0);
  const auto field = static_cast<WyField::Number>(iField);
  return WyCallFromC(0, [&] { return pScope->scope.Set(field, value), 1; });
}

}  // namespace

wyerrlog_fields* wyerrlog_fields_new(void) {
  return WyCallFromC<wyerrlog_fields*>(nullptr, [] { return new wyerrlog_fields; });
}

wyerrlog_fields* wyerrlog_fields_current(void) {
  return WyCallFromC<wyerrlog_fields*>(
      nullptr, [] { return new wyerrlog_fields{WyRequestScope::Fields()}; });
}

void wyerrlog_fields_free(wyerrlog_fields* fields) { delete fields; }

int wyerrlog_fields_set(wyerrlog_fields* fields, int field, const char* text) {
  return WyCallFromC(0, [&] { return Replace(fields, field, false, text != nullptr ? text : ""); });
}

int wyerrlog_fields_set_int(wyerrlog_fields* fields, int field, int64_t value) {
  return WyCallFromC(0, [&] { return Replace(fields, field, true, std::to_string(value)); });
}

wyerrlog_scope* wyerrlog_scope_begin(const wyerrlog_fields* fields) {
  return WyCallFromC<wyerrlog_scope*>(nullptr, [&] {
    s_pInnermost = new wyerrlog_scope{
        WyRequestScope(fields != nullptr ? fields->fields : WyRequestFields()), s_pInnermost};
    return s_pInnermost;
  });
}

int wyerrlog_scope_set(wyerrlog_scope* scope, int field, const char* text) {
  return SetInScope(scope, field, text != nullptr ? text : "");
}

int wyerrlog_scope_set_int(wyerrlog_scope* scope, int field, int64_t value) {
  return SetInScope(scope, field, value);
}

int wyerrlog_scope_end(wyerrlog_scope* scope) {
  if (scope == nullptr || !IsOfThisThread(scope)) return WyFailForC(EINVAL, 0);
  const wyerrlog_scope* const pOuter = scope->pOuter;
  while (s_pInnermost != pOuter) {
    wyerrlog_scope* const pEnding = s_pInnermost;
    s_pInnermost = pEnding->pOuter;
    delete pEnding;
  }
  return 1;
}
