// Tracing in one call, and the context of a request. one_call <configuration>
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyTraceData.h>

#include <string>

#include "SessionStoreMessages.h"

namespace {

// [request-context]
struct Request {
  std::string strUser;
};

// Called at any depth, on the thread that serves a request.
void TraceCache(int iHits) {
  const auto* pRequest = static_cast<const Request*>(CWyRequestContext::GetRequestContextData());
  WY_TRACE(SessionStore::Component)
      .Set(WyField::User, pRequest != nullptr ? pRequest->strUser : "")
      .Message("%d hits", iHits);
}

void Serve(Request& request) {
  CWyRequestContext::SetRequestContextData(&request);
  TraceCache(3);
  CWyRequestContext::SetRequestContextData(nullptr);  // the thread outlives the request
}
// [/request-context]

bool TraceFromTheStart(const char* pszConfig) {
  // [init-logger]
  const bool bAppend = true;
  const bool bLocalTime = false;
  const int iMaxSizeMB = 10;  // 0: no rollover
  const int iLayout = WyTraceLayout::Brackets;
  const int iBackups = 5;
  return WyInitLogger(bAppend, bLocalTime, iMaxSizeMB, iLayout, "", pszConfig, "./trace.log",
                      iBackups);
  // [/init-logger]
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !TraceFromTheStart(argv[1])) return 1;
  Request request{"alice"};
  Serve(request);
  TraceCache(0);
  return 0;
}
