// The innermost scope of each thread. The scopes themselves are on the threads' stacks and form a
// list from the inside outwards; the library keeps its head.

#include "wyerrlog/WyRequestScope.h"

#include <algorithm>

namespace {

constinit thread_local const WyRequestScope* s_pInnermost = nullptr;

}  // namespace

constinit std::atomic<bool> WyRequestScope::s_bInUse{false};

const WyRequestScope* WyRequestScope::Innermost() { return s_pInnermost; }

void WyRequestScope::Enter() {
  m_pOuter = s_pInnermost;
  s_pInnermost = this;
  // Only the thread's own records depend on it, and they follow in program order.
  if (!IsInUse()) s_bInUse.store(true, std::memory_order_relaxed);
}

// Nearly always the innermost one. A scope that Java code has left open inside this one stays in
// the list; a pointer to a destroyed scope must not.
WyRequestScope::~WyRequestScope() {
  const WyRequestScope** ppLink = &s_pInnermost;
  while (*ppLink != nullptr && *ppLink != this) ppLink = &(*ppLink)->m_pOuter;
  if (*ppLink == this) *ppLink = m_pOuter;
}

WyRequestFields WyRequestScope::Fields() {
  WyRequestFields fields;
  ForEachField([&fields](const WyRequestField& field) {
    const auto isSame = [&field](const WyRequestField& other) {
      return other.field == field.field;
    };
    if (std::none_of(fields.begin(), fields.end(), isSame)) fields.push_back(field);
  });
  return fields;
}
