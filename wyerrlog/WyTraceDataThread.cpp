// What the library keeps for each thread: whether it traces, and the host's request context.

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyTraceData.h"

namespace {

// A plain value: every trace call sets it twice, and objects of any age ask for it.
constinit thread_local bool t_bSuppressed = false;

// Constructed before and destroyed after every other object of the library, so that those find it
// at any time. When it is gone, at the end of the process, the system refuses its key: threads that
// still run have no context.
[[gnu::init_priority(101)]] CpaTls s_requestContext(nullptr);

}  // namespace

bool CWyTraceSupresser::isTracing() { return !t_bSuppressed; }

void CWyTraceSupresser::setTracing(bool bTracing) { t_bSuppressed = !bTracing; }

void* CWyRequestContext::GetRequestContextData() { return s_requestContext.GetValue(); }

void CWyRequestContext::SetRequestContextData(void* pData) { s_requestContext.SetValue(pData); }
