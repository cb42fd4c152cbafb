// Logging in one statement, as hosts do it.

#include <gmock/gmock.h>
#include <wyxlate/WyXlate.h>

#include <filesystem>
#include <stdexcept>
#include <utility>
#if __has_include(<source_location>)
#include <source_location>
#endif

#include "TestComponentMessages.h"
#include "test_support/FailingMemory.h"
#include "test_support/HostOutput.h"
#include "test_support/TempDirectory.h"
#include "test_support/Tracing.h"
#include "wyerrlog/WyLog.h"

namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

enum Message : unsigned int {
  Text = WyMessageId(LogId, WySeverity::Warning, 1),  // its first argument
  Many = TestComponent::CopyRefused,
};

// The message in a log event, without what stands before the key.
std::string Body(const std::string& strEvent) { return strEvent.substr(strEvent.rfind('[')); }

class FrontEnd : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_logger.SetLogOutput(new HostOutput(m_log))); }

  void TurnTracingOn(std::string_view configuration) {
    ASSERT_TRUE(EnableTrace(m_logger, new HostOutput(m_trace), configuration));
    m_trace.Forget();
  }

  OutputScript m_log, m_audit, m_trace;
  CWyLogger m_logger;
};

// ---- Names --------------------------------------------------------------------------------------

// The compiler's name of a field: "... = WyField::User; ...".
template <WyField::Number Field>
std::string NameOf() {
  const std::string strFunction = __PRETTY_FUNCTION__;
  const std::size_t uStart = strFunction.find("WyField::", strFunction.find("Field = "));
  return strFunction.substr(uStart, strFunction.find_first_of(";]", uStart) - uStart);
}

template <std::size_t... Fields>
std::vector<std::string> NamesOf(std::index_sequence<Fields...>) {
  return {NameOf<static_cast<WyField::Number>(Fields)>()...};
}

TEST(Names, OfTheDataFieldsAreThoseOfTheKnownTable) {
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  ASSERT_TRUE(GetKnownDataFields(&iCount, &pRows));
  std::vector<std::string> known;
  for (const auto* p = pRows; p != pRows + iCount; ++p) {
    known.emplace_back(std::string("WyField::") + p->pszName);
  }
  EXPECT_EQ(NamesOf(std::make_index_sequence<WyField::Count>()), known);
}

// ---- Messages -----------------------------------------------------------------------------------

TEST_F(FrontEnd, TakesArgumentsOfAllKinds) {
  const TempDirectory directory;
  directory.Write("wytest.properties",
                  "wytest-00005={0}|{1}|{2}|{3}|{4}|{5}|{6}|{7}|{8}|{9}|{10}|{11}|{12}");
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(directory.Path("").c_str()));
  const char* const pszNothing = nullptr;
  const std::string_view cut("four\0five", 9);
  EXPECT_TRUE(WyLog(m_logger, Many, "one", std::string("two"), std::string_view("three").substr(2),
                    cut, pszNothing, 'c', -6, 18446744073709551615u, static_cast<short>(8), false,
                    -0.1, 1e30f, std::filesystem::path("/p")));
  ASSERT_THAT(m_log.Events(), ElementsAre("open", MatchesRegex("log .*\n")));
  EXPECT_EQ(Body(m_log.Events().back()),
            "[wytest-00005] one|two|ree|four|<null>|c|-6|18446744073709551615|8|false|-0.1|1e+30|"
            "/p\n");
}

TEST_F(FrontEnd, TellsThePlaceOfTheCall) {
  const auto logForOthers = [&](WyCallSite where = WyCallSite::Here()) {
    WyLog(m_logger, {Text, where}, "x");
  };
  std::vector<std::string> expected = {"open"};
  const auto expect = [&](int iLine) {
    expected.push_back("[WyLog_test.cpp:" + std::to_string(iLine) + "][WARNING][wy-log-00000] x\n");
  };
  WyLog(m_logger, Text, "x"), expect(__LINE__);
  WyLog(m_logger, {Text, WY_HERE}, "x"), expect(__LINE__);
  logForOthers(), expect(__LINE__);
#ifdef __cpp_lib_source_location
  WyLog(m_logger, {Text, std::source_location::current()}, "x"), expect(__LINE__);
#endif
  const auto events = m_log.Events();
  ASSERT_EQ(events.size(), expected.size());
  for (std::size_t i = 0; i < events.size(); ++i) EXPECT_THAT(events[i], HasSubstr(expected[i]));
}

// ---- Trace records ------------------------------------------------------------------------------

TEST_F(FrontEnd, EvaluatesNothingWhenTheComponentIsNotTraced) {
  int iEvaluated = 0;
  const auto trace = [&] { WY_TRACE(m_logger, LogId).Set(WyField::User, ++iEvaluated); };
  trace();
  TurnTracingOn("components: Log/Legacy\ndata: User\n");
  EXPECT_TRUE(m_logger.MayTrace(LogId)) << "not known yet";
  trace();
  EXPECT_FALSE(m_logger.MayTrace(LogId));
  trace();
  EXPECT_EQ(iEvaluated, 0);
  EXPECT_THAT(m_trace.Events(), IsEmpty());
  TurnTracingOn("components: Log\ndata: User\n");
  trace();
  m_logger.DisableTrace(false);
  trace();
  EXPECT_EQ(iEvaluated, 1);
}

TEST_F(FrontEnd, TracesValuesOfAllKinds) {
  TurnTracingOn(
      "components: Log\ndata: User Group Domain Realm Policy Rule State Result Message\n");
  int iUnasked = 0;
  WY_TRACE(m_logger, LegacyId)
      .Set(WyField::User, std::string("alice"))
      .Set(WyField::Group, std::string_view("editors, all").substr(0, 7))
      .Set(WyField::Domain, 4000000000u)
      .Set(WyField::Realm, 0.5f)
      .Set(WyField::Policy, true)
      .Set(WyField::Rule, -7L)
      .Set(WyField::State, [] { return std::string("computed"); })
      .Set(WyField::Data, [&] { return ++iUnasked; })
      .Message("%s may", "alice")
      .With([](CWyTraceRecord& record) { record.Set(WyField::Result, std::string_view()); });
  EXPECT_THAT(
      m_trace.Events(),
      ElementsAre("log [alice][editors][4000000000][0.500000][true][-7][computed][][alice may]\n"));
  EXPECT_EQ(iUnasked, 0) << "no value is computed for a field that is not shown";
  const std::string strLong(5000, 'x');
  WY_TRACE(m_logger, LegacyId).Set(WyField::User, std::string_view(strLong));
  EXPECT_EQ(m_trace.Events().back(), "log [" + strLong + "][][][][][][][][]\n");
}

TEST_F(FrontEnd, FillsInWhatItKnows) {
  TurnTracingOn("components: Log\ndata: Function SrcFile Pid Tid Date Time PreciseTime\n");
  WY_TRACE(m_logger, LogId);
  const int iLine = __LINE__ - 1;
  WY_TRACE(m_logger, LogId).At({"a/b.cpp", 0, "f"}).Set(WyField::Tid, "t").Set(WyField::Pid, 5);
  constexpr const char* Clock = "\\]\\[../../....\\]\\[..:..:..\\]\\[..:..:..\\....\\]\n";
  EXPECT_THAT(
      m_trace.Events(),
      ElementsAre(MatchesRegex("log \\[TestBody\\]\\[WyLog_test.cpp:" + std::to_string(iLine) +
                               "\\]\\[" + std::to_string(getpid()) + "\\]\\[[0-9]+" + Clock),
                  MatchesRegex(std::string("log \\[f\\]\\[b.cpp\\]\\[5\\]\\[t") + Clock)));
}

TEST_F(FrontEnd, DropsARecordAtTheFirstFieldThatItsFilterRejects) {
  TurnTracingOn("components: Log\ndata: User Rule Message\nUser:==alice\n");
  int iComputed = 0;
  for (const char* pszUser : {"alice", "bob", "alice"}) {
    WY_TRACE(m_logger, LogId)
        .Set(WyField::Rule, 1)
        .Set(WyField::User, pszUser)
        .Set(WyField::Message, [&] { return ++iComputed; });
  }
  WY_TRACE(m_logger, LogId).Set(WyField::User, "alice");
  EXPECT_THAT(m_trace.Events(),
              ElementsAre("log [alice][1][1]\n", "log [alice][1][2]\n", "log [alice][][]\n"));
}

TEST_F(FrontEnd, TracesNothingElseMeanwhile) {
  TurnTracingOn("components: Log\ndata: User\n");
  const auto trace = [&](const char* pszUser) {
    WY_TRACE(m_logger, LogId).Set(WyField::User, pszUser);
    return pszUser;
  };
  m_trace.onLog = [&] { trace("in the output"); };
  WY_TRACE(m_logger, LogId).Set(WyField::User, trace("alice"));
  EXPECT_THAT(m_trace.Events(), ElementsAre("log [alice]\n"));
  EXPECT_TRUE(CWyTraceSupresser::isTracing());
}

TEST_F(FrontEnd, LeavesNothingBehindWhenSomethingThrows) {
  TurnTracingOn("components: Log\ndata: User Rule\n");
  const auto fail = []() -> const char* { throw std::runtime_error("no value"); };
  const auto traceRule = [&] { WY_TRACE(m_logger, LogId).Set(WyField::Rule, 1); };
  const auto throwInArgument = [&] {
    WY_TRACE(m_logger, LogId).Set(WyField::User, "alice").Set(WyField::Rule, fail());
  };
  const auto throwInFunction = [&] {
    WY_TRACE(m_logger, LogId).Set(WyField::User, "bob").Set(WyField::Rule, fail);
  };
  EXPECT_THROW(throwInArgument(), std::runtime_error);
  EXPECT_THROW(throwInFunction(), std::runtime_error);
  EXPECT_TRUE(CWyTraceSupresser::isTracing());
  traceRule();
  EXPECT_THAT(m_trace.Events(), ElementsAre("log [][1]\n"));
}

// ---- All of it ----------------------------------------------------------------------------------

TEST_F(FrontEnd, AllocatesNothingAfterTheFirstRounds) {
  const auto* const pszLong = "a text that is longer than those that fit into a string object";
  const auto discard = [&] { return m_logger.NewLogOutput(2, [](const char*, int) {}); };
  ASSERT_TRUE(m_logger.SetLogOutput(discard()) && m_logger.EnableAuditLogRollover(discard()));
  ASSERT_TRUE(EnableTrace(m_logger, discard(), "components: Log\ndata: User Rule Message Date\n"));
  FailingMemory::FailAt(1, false);
  const auto logAll = [&] {
    WyLog(m_logger, Text, std::string_view(pszLong), 7, 1.5, pszLong);
    WyAudit(m_logger, "%s %d\n", pszLong, 7);
    WY_TRACE(m_logger, LogId).Set(WyField::User, std::string_view(pszLong)).Message("%s", pszLong);
  };
  for (int i = 0; i < 2; ++i) logAll();
  FailingMemory::During(logAll);
  EXPECT_FALSE(FailingMemory::HasFailed());
}

}  // namespace
