#ifndef WYERRLOG_WYREQUESTSCOPE_H
#define WYERRLOG_WYREQUESTSCOPE_H

// The fields of a request, for every record that its thread writes while it serves the request:
//
//   void Serve(const Request& request) {
//     WyRequestScope scope(WyField::TransactionID, request.strId, WyField::User, request.strUser);
//     ...  // at any depth: WY_TRACE(...) and WY_AUDIT(...) carry both fields
//   }
//
// A trace record shows them if its configuration has their columns, a typed audit record always
// (WyAuditRecord.h). A value that the statement sets itself counts in its record. Scopes nest: an
// inner one adds fields, or replaces those of the same number until it ends.
//
// Another thread that goes on with the request takes the fields over explicitly:
//
//   pool.Run([fields = WyRequestScope::Fields()] {
//     WyRequestScope scope(fields);
//     ...
//   });
//
// A thread without a scope pays a load and a comparison for each record. A forked child has the
// scopes of the thread that forked.

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyLogField.h"
#include "wyerrlog/WyToText.h"

// One field of a request, with a copy of its value.
struct WyRequestField {
  WyField::Number field;  // which one
  bool bNumber;           // the value is a number, or true or false
  std::string strValue;   // not escaped yet
};

// The fields of one scope, or of all scopes of a thread; copied and moved as values.
using WyRequestFields = std::vector<WyRequestField>;

// An object on the stack of the thread whose records it changes. Scopes of a thread are destroyed
// in the reverse order of their construction; one that is left over, of a Java caller for instance,
// does no harm but that its fields stay. Each is used by its thread alone.
class WYERRLOG_API WyRequestScope {
 public:
  // Fields and their values in turn, of any type that WyLog takes as an argument; copied. Throws
  // std::bad_alloc if there is no memory for them.
  template <typename Value, typename... More>
  explicit WyRequestScope(WyField::Number field, const Value& value, const More&... more) {
    AddAll(field, value, more...);
    Enter();
  }
  // The fields that Fields() has returned, usually on another thread.
  explicit WyRequestScope(WyRequestFields fields) : m_fields(std::move(fields)) { Enter(); }
  ~WyRequestScope();  // the fields are as before the scope
  WyRequestScope(const WyRequestScope&) = delete;
  WyRequestScope& operator=(const WyRequestScope&) = delete;

  // Adds a field that becomes known while the request is served, its user for instance, or replaces
  // the value that this scope has for it.
  template <typename Value>
  WyRequestScope& Set(WyField::Number field, const Value& value) {
    return Set(MakeField(field, value));
  }
  // The same with a field that Fields() has returned, for instance.
  WyRequestScope& Set(WyRequestField field) {
    for (WyRequestField& present : m_fields) {
      if (present.field != field.field) continue;
      present = std::move(field);
      return *this;
    }
    m_fields.push_back(std::move(field));
    return *this;
  }

  // Returns copies of the fields of the calling thread's scopes, each field once; empty without a
  // scope. Throws std::bad_alloc.
  static WyRequestFields Fields();

  // Calls visit(field) for the fields of the calling thread's scopes, from the innermost scope
  // outwards: of a field that several scopes have, the first counts.
  template <typename Visit>
  static void ForEachField(const Visit& visit) {
    for (const WyRequestScope* p = Innermost(); p != nullptr; p = p->m_pOuter) {
      for (const WyRequestField& field : p->m_fields) visit(field);
    }
  }

  // Returns false if no thread of the process has ever had a scope.
  static bool IsInUse() { return s_bInUse.load(std::memory_order_relaxed); }

 private:
  static const WyRequestScope* Innermost();
  void Enter();

  template <typename Value>
  static WyRequestField MakeField(WyField::Number field, const Value& value) {
    using Shown = WyLogDetail::Shown<Value>;
    const auto text = WyLogDetail::ToText(value);
    const WyLogDetail::TextRef ref = text.Ref();
    return {field, std::is_arithmetic_v<Shown> && !std::is_same_v<Shown, char>,
            std::string(ref.pszText != nullptr ? ref.pszText : "", ref.uSize)};
  }
  template <typename Value, typename... More>
  void AddAll(WyField::Number field, const Value& value, const More&... more) {
    m_fields.push_back(MakeField(field, value));
    if constexpr (sizeof...(more) != 0) AddAll(more...);
  }

  static std::atomic<bool> s_bInUse;

  WyRequestFields m_fields;
  mutable const WyRequestScope* m_pOuter = nullptr;
};

#endif
