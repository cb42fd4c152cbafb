// What the library keeps for each thread: whether it traces, and the host's request context.

#include <cstdint>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyTraceData.h"

namespace {

// The slot's value in a thread that does not trace: any but null, which means that it traces.
constexpr std::intptr_t NotTracing = 1717;

// Constructed before and destroyed after every other object of the library, so that those find them
// at any time. When they are gone, at the end of the process, the system refuses their keys:
// threads that still run trace, and have no context.
[[gnu::init_priority(101)]] CpaTls s_isTracing(nullptr);
[[gnu::init_priority(101)]] CpaTls s_requestContext(nullptr);

}  // namespace

bool CWyTraceSupresser::isTracing() {
  return reinterpret_cast<std::intptr_t>(s_isTracing.GetValue()) != NotTracing;
}

void CWyTraceSupresser::setTracing(bool bTracing) {
  s_isTracing.SetValue(bTracing ? nullptr : reinterpret_cast<void*>(NotTracing));
}

void* CWyRequestContext::GetRequestContextData() { return s_requestContext.GetValue(); }

void CWyRequestContext::SetRequestContextData(void* pData) { s_requestContext.SetValue(pData); }
