// What the library keeps per thread: whether it traces, and the host's request context.

#include <gtest/gtest.h>

#include <thread>

#include "wyerrlog/WyTraceData.h"

namespace {

TEST(TraceSupresser, SwitchesTracingOfItsThreadOffUntilAnyHolderEnds) {
  EXPECT_TRUE(CWyTraceSupresser::isTracing());
  const CWyTraceSupresser outer;
  EXPECT_FALSE(CWyTraceSupresser::isTracing());
  std::thread([] { EXPECT_TRUE(CWyTraceSupresser::isTracing()); }).join();
  { const CWyTraceSupresser inner; }
  EXPECT_TRUE(CWyTraceSupresser::isTracing());
}

TEST(RequestContext, BelongsToTheThreadThatSetIt) {
  int iMine = 0;
  int iOther = 0;
  EXPECT_EQ(CWyRequestContext::GetRequestContextData(), nullptr);
  CWyRequestContext::SetRequestContextData(&iMine);
  std::thread([&iOther] {
    EXPECT_EQ(CWyRequestContext::GetRequestContextData(), nullptr);
    CWyRequestContext::SetRequestContextData(&iOther);
    EXPECT_TRUE(CWyTraceSupresser::isTracing()) << "a slot of its own";
  }).join();
  EXPECT_EQ(CWyRequestContext::GetRequestContextData(), &iMine);
  CWyRequestContext::SetRequestContextData(nullptr);
  EXPECT_EQ(CWyRequestContext::GetRequestContextData(), nullptr);
}

bool IsSuppressedInScope() {
  const CWyTraceSupresser suppress;
  return !CWyTraceSupresser::isTracing();
}

// Made before what has no priority, as an object of a host may be.
struct EarlyTracer {
  bool bSuppressed = IsSuppressedInScope();
};
[[gnu::init_priority(102)]] EarlyTracer s_early;

TEST(TraceSupresser, WorksBeforeOtherObjectsAreMade) { EXPECT_TRUE(s_early.bSuppressed); }

}  // namespace
