// What the library keeps for each thread: whether it traces, and the host's request context.

#include <cstdint>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyTraceData.h"

namespace {

// The value of a thread that does not trace; null is the value of one that does.
constexpr std::intptr_t falseValueInteger = 1717;

// Made before and destroyed after every other object of the library, so that whatever is used while
// others are made or destroyed finds them. When they are gone, at the end of the process, the
// system refuses their keys: threads that still run trace, and have no context.
[[gnu::init_priority(101)]] CpaTls s_isTracing(nullptr);
[[gnu::init_priority(101)]] CpaTls RequestContextTLS(nullptr);

}  // namespace

bool CWyTraceSupresser::isTracing() {
  return reinterpret_cast<std::intptr_t>(s_isTracing.GetValue()) != falseValueInteger;
}

void CWyTraceSupresser::setTracing(bool bTracing) {
  s_isTracing.SetValue(bTracing ? nullptr : reinterpret_cast<void*>(falseValueInteger));
}

void* CWyRequestContext::GetRequestContextData() { return RequestContextTLS.GetValue(); }

void CWyRequestContext::SetRequestContextData(void* pData) { RequestContextTLS.SetValue(pData); }
