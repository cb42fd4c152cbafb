// The trace record: ids, long values and the clock. Its layouts, filters and values of all kinds
// are the fuzz target trace_record's.

#include <gmock/gmock.h>

#include <climits>
#include <ctime>
#include <thread>

#include "test_support/Footprint.h"
#include "test_support/Tracing.h"

namespace {

using test_support::InMemoryFile;
using test_support::Line;
using test_support::NewConfiguration;
using testing::MatchesRegex;

enum FieldNumber : unsigned int { Message, SrcFile, Pid, Tid, Date, Time, PreciseTime, User = 9 };

std::string Value(CWyTraceData& data, unsigned int uId) {
  return data.GetDataFieldInfo(uId)->pszValue;
}

std::string Times(size_t uCount, char c) { return std::string(uCount, c); }

TEST(TraceRecord, KeepsNoLargeTextWhenItIsEmptied) {
  CWyTraceData record;
  record = *NewConfiguration("components\ndata: Message\n");
  const std::string strLarge(1000000, 'x');
  const std::size_t uBefore = test_support::MemoryInUse();
  EXPECT_TRUE(record.SetFieldValue(Message, strLarge.c_str()) && record.Format());
  EXPECT_TRUE(record.LeaveNoBody());
  EXPECT_LT(test_support::MemoryInUse(), uBefore + (std::size_t{64} << 10));

  std::string strLogged;
  CWyLogger logger;
  ASSERT_TRUE(test_support::EnableTrace(logger,
                                        logger.NewLogOutput(
                                            4,
                                            [](const char* pszText, int, void* pText) {
                                              *static_cast<std::string*>(pText) = pszText;
                                            },
                                            &strLogged),
                                        "components\ndata: Message\n"));
  record.SetLogger(&logger);
  EXPECT_TRUE(record.SetFieldValue(Message, "small") && record.Format() && record.Log());
  EXPECT_EQ(strLogged, "[small]\n");
}

TEST(TraceRecord, AsksTheSystemForIdsAndRefusesFieldsThatDoNotExist) {
  CWyTraceData record;
  EXPECT_TRUE(record.SetFieldValue(Pid, 0) && record.SetFieldValue(Tid, 0));
  EXPECT_EQ(Value(record, Pid), std::to_string(getpid()));
  EXPECT_EQ(Value(record, Tid), std::to_string(static_cast<unsigned int>(pthread_self())));
  EXPECT_TRUE(record.SetFieldValue(Pid, 7u));
  EXPECT_EQ(Value(record, Pid), "7") << "the int overload alone asks the system";
  for (const unsigned int uId : {66u, UINT_MAX}) {
    EXPECT_FALSE(record.SetFieldValue(uId, 1) || record.SetFieldValue(uId, 1u) ||
                 record.SetFieldValue(uId, 1.0) || record.SetFieldValue(uId, "x") ||
                 record.SetFieldValue(uId, true) || record.TestDataFilter(uId));
  }
  EXPECT_FALSE(record.AssembleTraceMessage(nullptr, 0));
}

TEST(TraceRecord, KeepsLongValuesInMemoryOfTheirOwn) {
  CWyTraceData record;
  record = *NewConfiguration("components\ndata User\n");
  const WyTraceDataFieldInfo& user = *record.GetDataFieldInfo(User);
  record.SetFieldValue(User, Times(1023, 'a').c_str());
  EXPECT_EQ(user.pszValue, user.szValue);
  const std::string strLong = Times(1023, 'b') + "c";
  record.SetFieldValue(User, strLong.c_str());
  EXPECT_TRUE(user.bValueAllocated);
  EXPECT_EQ(Line(record, 0), "[" + strLong + "]\n");
  record.SetFieldValue(User, user.pszValue);
  EXPECT_EQ(Value(record, User), strLong) << "set from itself";
  record.SetFieldValue(User, user.pszValue + 100);
  EXPECT_EQ(Value(record, User), strLong.substr(100));
  EXPECT_NE(user.pszValue, user.szValue) << "a buffer that is there is used again";
  record.SetFieldValue(65, strLong.c_str());  // released by the destructor
}

TEST(TraceRecord, WritesWhatAHostHasMadeOfAValue) {
  CWyTraceData record;
  record = *NewConfiguration("components\ndata User, Message\n");
  WyTraceDataFieldInfo& user = *record.GetDataFieldInfo(User);
  EXPECT_TRUE(record.SetFieldValue(User, "alice") && record.SetFieldValue(Message, "m"));
  strcpy(user.pszValue, "alexander");
  EXPECT_EQ(Line(record, 0), "[alexander][m]\n");
  strcpy(user.pszValue, "al");
  EXPECT_TRUE(record.SetFieldValue(Message, Times(5000, 'x').c_str()));
  user.pszValue[5] = 'x';  // where the value ended that SetFieldValue stored
  EXPECT_EQ(Line(record, 0), "[al][" + Times(5000, 'x') + "]\n");
  char szTheirs[] = "theirs";
  for (char* const pszValue : {szTheirs, static_cast<char*>(nullptr)}) {
    user.pszValue = pszValue;
    EXPECT_EQ(Line(record, 0).substr(0, 8), pszValue != nullptr ? "[theirs]" : "[][xxxxx");
  }
  EXPECT_TRUE(record.LeaveNoBody());
  EXPECT_EQ(user.pszValue, user.szValue);
  EXPECT_EQ(Line(record, 0), "[][]\n");
}

// What a logger with the configuration writes of the second of two records whose fields are set
// from ints one after the other, or "(dropped)".
std::string ClockRecord(std::string_view config, bool bLocal = false,
                        const std::vector<unsigned int>& fields = {Date, Time, PreciseTime}) {
  std::string strText;
  const auto take = [](const char* pszText, int, void* pText) {
    *static_cast<std::string*>(pText) = pszText;
  };
  const InMemoryFile file(config);
  CWyLogger logger;
  CWyLogOutput* pOutput = logger.NewLogOutput(4, take, &strText);
  CWyTraceData* pData = nullptr;
  if (!logger.EnableTrace(pOutput, 0, nullptr, file.Path(), bLocal, false, false) ||
      !logger.ShouldTraceAlloc(0x01000000, &pData)) {
    return "(not traced)";
  }
  for (int i = 0; i < 2; ++i) {
    for (const unsigned int uId : fields) {
      if (!pData->SetFieldValue(uId, 0)) return "(dropped)";
    }
    EXPECT_TRUE(pData->Format() && pData->Log());
    pData->LeaveNoBody();
  }
  return strText;
}

TEST(TraceRecord, ReadsTheClockAtTheHighestTracedClockFieldAndFiltersAllThree) {
  const std::string strDate = "\\[[0-9][0-9]/[0-9][0-9]/20[0-9][0-9]\\]";
  const std::string strTime = "\\[[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\]";
  EXPECT_THAT(ClockRecord("components Log\ndata Date Time"),
              MatchesRegex(strDate + strTime + "\n"));
  EXPECT_THAT(ClockRecord("components Log\ndata Date"), MatchesRegex(strDate + "\n"));
  EXPECT_EQ(ClockRecord("components Log\ndata Date PreciseTime", false, {Date, Time}), "[][]\n");
  EXPECT_EQ(ClockRecord("components Log\ndata User\nTime ==x"), "[]\n") << "none is traced";
  for (const char* pszFilter : {"Date !@/20", "Time ==x", "PreciseTime !@."}) {
    EXPECT_EQ(ClockRecord("components Log\ndata Date\nTime @@:\n" + std::string(pszFilter)),
              "(dropped)");
  }
}

TEST(TraceRecord, ShowsOneReadingOfTheClockInItsTimeBase) {
  ASSERT_EQ(setenv("TZ", "TST-5:30", 1), 0);
  tzset();
  for (const bool bLocal : {false, true}) {
    const std::string strRecord = ClockRecord("components Log\ndata Date Time PreciseTime", bLocal);
    tm shown{};
    const char* pszRest = strptime(strRecord.c_str(), "[%m/%d/%Y][%H:%M:%S][", &shown);
    ASSERT_NE(pszRest, nullptr) << strRecord;
    EXPECT_NEAR(difftime(timegm(&shown), time(nullptr)), bLocal ? 5.5 * 3600 : 0, 60);
    EXPECT_THAT(pszRest, MatchesRegex(strRecord.substr(13, 8) + "\\.[0-9][0-9][0-9]\\]\n"));
  }
}

// ---- What the library keeps per thread ----------------------------------------------------------

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
  CWyRequestContext::SetRequestContextData(&iMine);
  std::thread([&iMine] {
    EXPECT_EQ(CWyRequestContext::GetRequestContextData(), nullptr);
    CWyRequestContext::SetRequestContextData(&iMine + 1);
    EXPECT_TRUE(CWyTraceSupresser::isTracing()) << "a slot of its own";
  }).join();
  EXPECT_EQ(CWyRequestContext::GetRequestContextData(), &iMine);
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
