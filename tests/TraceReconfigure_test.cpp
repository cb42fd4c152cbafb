// Tracing while configurations, outputs and loggers come and go.

#include <gmock/gmock.h>
#include <wyi18n/wyi18n.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <list>
#include <memory>

#include "test_support/Sanitizer.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"

// In the place of the platform's: without a search for plug-ins, loggers are made quickly.
__attribute__((visibility("default"))) void* WyLoadLibrary(const char*) { return nullptr; }

namespace {

using namespace test_support;

// ---- What threads write, and what may arrive ----------------------------------------------------

// A record shows its number in each of its fields, one of them a long one.
const std::string Filler(1500, '.');

std::string Numbered(const char* pszStart, const std::string& strNumber) {
  return pszStart + strNumber + "#";
}

struct Shape {
  const char* pszConfiguration;
  TraceOptions options;
  // The record of that number.
  std::string (*Record)(const std::string& strNumber);
};

const Shape Shapes[] = {
    {"components: Log/Legacy\ndata: Message, User\n",
     {},
     [](const auto& n) {
       return "[" + Numbered("m", n) + "][" + Numbered("u", n) + Filler + "]\n";
     }},
    {"components: Log\ndata: User, Function, Message\nUser: @@....\nMessage: !=m7#\n",
     {.iFormat = 2, .pszDelimiter = " a delimiter of more than fifteen bytes "},
     [](const auto& n) {
       const std::string strBetween = " a delimiter of more than fifteen bytes ";
       return Numbered("u", n) + Filler + strBetween + Numbered("f", n) + strBetween +
              Numbered("m", n) + "\n";
     }},
    {"components: Log/Legacy\ndata: Function\n",
     {.iFormat = 3},
     [](const auto& n) {
       return "<TraceMessage>\n\t<Function>" + Numbered("f", n) + "</Function>\n</TraceMessage>\n";
     }},
};

struct Arrivals {
  std::atomic<int> iWhole{0};
  std::atomic<int> iBroken{0};
};

bool IsWhole(const std::string& strText) {
  const size_t uNumber = strText.find_first_of("0123456789");
  const std::string strNumber = strText.substr(uNumber, strText.find('#') - uNumber);
  return std::any_of(std::begin(Shapes), std::end(Shapes),
                     [&](const Shape& shape) { return shape.Record(strNumber) == strText; });
}

void Arrive(const char* pszText, int, void* pParam) {
  auto& arrivals = *static_cast<Arrivals*>(pParam);
  const std::string strText = pszText;
  if (strText.find('#') == std::string::npos) return;  // a title line
  ++(IsWhole(strText) ? arrivals.iWhole : arrivals.iBroken);
}

void WriteRecord(CWyTraceData& record, const std::string& strNumber) {
  const CWyTraceSupresser suppress;
  if (record.SetFieldValue(FunctionField, Numbered("f", strNumber).c_str()) &&
      record.SetFieldValue(MessageField, Numbered("m", strNumber).c_str()) &&
      record.SetFieldValue(UserField, (Numbered("u", strNumber) + Filler).c_str()) &&
      record.Format()) {
    record.Log();
  }
  record.LeaveNoBody();
}

void WriteRecords(CWyLogger& logger, CWyTraceData& own, const std::string& strNumber) {
  CWyTraceData* pData = nullptr;
  if (logger.ShouldTraceAlloc(LegacyId, &pData)) WriteRecord(*pData, strNumber);
  own.SetLogger(&logger);
  if (logger.ShouldTrace(LegacyId, &own)) WriteRecord(own, strNumber);
}

void Reconfigure(CWyLogger& logger, Arrivals& arrivals, int iRound) {
  const Shape& shape = Shapes[static_cast<size_t>(iRound) % std::size(Shapes)];
  CWyLogOutput* const pOutput = logger.NewLogOutput(4, Arrive, &arrivals);
  CWyLogOutput* const pSecond =
      iRound % 4 == 0 ? logger.NewLogOutput(4, Arrive, &arrivals) : nullptr;
  EXPECT_TRUE(EnableTrace(logger, pOutput, shape.pszConfiguration, shape.options, pSecond));
  if (iRound % 5 == 0) logger.DisableTrace(iRound % 10 == 0);
  if (iRound % 7 != 0) return;
  CWyLogOutput* const pRefused = logger.NewLogOutput(1, "/nowhere/trace", 1, 0, 0);
  EXPECT_FALSE(EnableTrace(logger, pRefused, shape.pszConfiguration));
  logger.DeleteLogOutput(pRefused);
}

// ---- Tests --------------------------------------------------------------------------------------

TEST(TraceReconfigure, LeavesEveryRecordWholeInOneOfTheShapes) {
  constexpr int Rounds = IsSanitized ? 200 : 2000;
  Arrivals arrivals;
  CWyLogger first, second;
  std::atomic<bool> bStop{false};
  std::list<TestThread> threads;
  for (int iThread = 0; iThread < 8; ++iThread) {
    threads.emplace_back([&, iThread] {
      const auto pOwn = std::make_unique<CWyTraceData>();
      for (int i = iThread; !bStop; i += 8) {
        WriteRecords(i % 3 == 0 ? second : first, *pOwn, std::to_string(i));
        std::this_thread::yield();
      }
    });
  }
  for (int i = 0; i < Rounds; ++i) Reconfigure(i % 3 == 0 ? second : first, arrivals, i);
  EXPECT_TRUE(
      EnableTrace(first, first.NewLogOutput(4, Arrive, &arrivals), Shapes[0].pszConfiguration));
  bStop = true;
  threads.clear();
  EXPECT_EQ(arrivals.iBroken, 0);
  EXPECT_GT(arrivals.iWhole, 100);
}

TEST(TraceReconfigure, LeavesThreadsAndRecordsUsableThatOutliveTheirLogger) {
  Arrivals arrivals;
  const auto pOwn = std::make_unique<CWyTraceData>();
  for (int i = 0; i < (IsSanitized ? 100 : 1000); ++i) {
    auto pLogger = std::make_unique<CWyLogger>();
    const Shape& shape = Shapes[1];
    ASSERT_TRUE(EnableTrace(*pLogger, pLogger->NewLogOutput(4, Arrive, &arrivals),
                            shape.pszConfiguration, shape.options));
    std::atomic<bool> bTraced{false};
    // Comes to its end while the logger does.
    const TestThread thread([&] {
      WriteRecords(*pLogger, *pOwn, "1");
      bTraced = true;
      bTraced.notify_one();
    });
    bTraced.wait(false);
    pLogger.reset();
  }
  // The tables, names, filters and the delimiter are still there.
  const WyTraceComponentInfo* const pComponent = pOwn->GetComponentInfo("Log/Legacy");
  ASSERT_NE(pComponent, nullptr);
  EXPECT_STREQ(pComponent->pszName, "Log/Legacy");
  EXPECT_TRUE(pOwn->ComponentSelected(LegacyId));
  EXPECT_FALSE(pOwn->SetFieldValue(MessageField, "m7#"));
  EXPECT_TRUE(pOwn->SetFieldValue(MessageField, "m1#"));
  EXPECT_TRUE(pOwn->SetFieldValue(FunctionField, "f1#"));
  EXPECT_TRUE(pOwn->SetFieldValue(UserField, ("u1#" + Filler).c_str()));
  EXPECT_EQ(Line(*pOwn, 0), Shapes[1].Record("1"));
}

}  // namespace
