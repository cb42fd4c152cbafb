// What programmers reach for: no forged lines, arguments of own types, typed audit records, the
// scope of a request, rate limits.

#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "test_support/FailingMemory.h"
#include "test_support/HostOutput.h"
#include "test_support/Tracing.h"
#include "wyerrlog/WyErrorChain.h"
#include "wyerrlog/WyLogRate.h"

namespace app {

enum class Result { Accepted, Refused };
inline const char* WyToText(Result result) {
  return result == Result::Accepted ? "accepted" : "re\nfused";
}
struct Point {
  int x;
};
inline std::string WyToText(const Point& point) { return "x=" + std::to_string(point.x); }
enum Color : char { Red = 'r' };

}  // namespace app

namespace {

using namespace test_support;
using nlohmann::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

constexpr unsigned int Text = WyMessageId(LogId, WySeverity::Warning, 1);  // its first argument

class FrontEnd : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_logger.SetLogOutput(new HostOutput(m_log)));
    ASSERT_TRUE(m_logger.EnableAuditLogRollover(new HostOutput(m_audit)));
    m_log.Forget();
    m_audit.Forget();
  }

  void Trace(std::string_view fields, int iLayout = WyTraceLayout::Brackets) {
    TraceOptions options;
    options.iFormat = iLayout;
    const std::string strConfig = "components: Log\ndata: " + std::string(fields) + "\n";
    ASSERT_TRUE(EnableTrace(m_logger, new HostOutput(m_trace), strConfig, options));
    m_trace.Forget();
  }

  // The texts of the records, and forgets them; of messages what follows the key.
  static std::vector<std::string> Take(OutputScript& script) {
    std::vector<std::string> texts;
    for (const std::string& strEvent : script.Events()) {
      const std::size_t uKey = strEvent.find("wy-log-00000] ");
      texts.push_back(strEvent.substr(uKey != std::string::npos ? uKey + 14 : 4));
    }
    script.Forget();
    return texts;
  }
  std::string Logged() { return Take(m_log).back(); }

  OutputScript m_log, m_audit, m_trace;
  CWyLogger m_logger;
};

// ---- Forged lines -------------------------------------------------------------------------------

// What an attacker sends, and how WyLog, WyLogText and WY_TRACE show it.
const std::pair<std::string, std::string> Attacks[] = {
    {"a\nb", "a\\x0ab"},
    {"a\r\nb", "a\\x0d\\x0ab"},
    {"\x1b[2J\x1b]0;t\x07", "\\x1b[2J\\x1b]0;t\\x07"},
    {"tab\tback\bDEL\x7f", "tab\\x09back\\x08DEL\\x7f"},
    {"C1 \xc2\x9b"
     "2J \xc2\x85.",
     "C1 \\xc2\\x9b2J \\xc2\\x85."},
    {"8-bit \x9b"
     "2J",
     "8-bit \\x9b2J"},
    {"\xe2\x80\xa8 and \xe2\x80\xa9", "\\xe2\\x80\\xa8 and \\xe2\\x80\\xa9"},
    {"overlong \xc0\x8a \xe0\x80\x8a \xf0\x80\x80\x8a",
     "overlong \\xc0\\x8a \\xe0\\x80\\x8a \\xf0\\x80\\x80\\x8a"},
    {"cut \xe2\x80", "cut \\xe2\\x80"},
    {"cut \xc2", "cut \\xc2"},
    {"\xa8 rest of a cut one", "\\xa8 rest of a cut one"},
    {"surrogate \xed\xa0\x80, beyond \xf4\x90\x80\x80",
     "surrogate \\xed\\xa0\\x80, beyond \\xf4\\x90\\x80\\x80"},
    {"sixteen bytes and\n", "sixteen bytes and\\x0a"},
    {"\nseventeen bytes, 2", "\\x0aseventeen bytes, 2"},
    {"1234567\n", "1234567\\x0a"},
    {"\x1f"
     "234567",
     "\\x1f234567"},
    {"123\n", "123\\x0a"},
    {"\n", "\\x0a"},
    {"[1/2][Mon Nov 16 2026 17:16:13][a.cpp:1][ERROR][k] M\xc3\xbcller \xe2\x82\xac "
     "\xf0\x9f\x98\x80 ~",
     "[1/2][Mon Nov 16 2026 17:16:13][a.cpp:1][ERROR][k] M\xc3\xbcller \xe2\x82\xac "
     "\xf0\x9f\x98\x80 ~"},
};

TEST_F(FrontEnd, NoArgumentBeginsALineOrSteersATerminal) {
  Trace("User Group Domain Message TransactionID");
  for (const auto& attack : Attacks) {
    const auto& strSent = attack.first;
    const auto& strShown = attack.second;
    SCOPED_TRACE(strShown);
    WyLog(m_logger, Text, strSent);
    WyLog(m_logger, Text, std::string_view(strSent));
    WyLog(m_logger, Text, std::optional<const char*>(strSent.c_str()));
    WyLog(m_logger, Text, std::filesystem::path(strSent));
    WyLog(m_logger, Text, std::runtime_error(strSent));
    WyLogText(m_logger, WySeverity::Warning, "%s", strSent.c_str());
    WY_LOG_FIRST_N(100, m_logger, Text, strSent);
    WY_LOG_FIRST_N(100, m_logger, WySeverity::Warning, "%s", strSent.c_str());
    EXPECT_THAT(Take(m_log), testing::Each(strShown + "\n"));

    const WyRequestScope scope(WyField::TransactionID, strSent);
    WY_TRACE(m_logger, LogId)
        .Set(WyField::User, strSent)
        .Set(WyField::Group, std::string_view(strSent))
        .Set(WyField::Domain, [&] { return strSent.c_str(); })
        .Message("%s", strSent.c_str());
    std::string strRecord;
    for (int i = 0; i < 5; ++i) strRecord += "[" + strShown + "]";
    EXPECT_THAT(Take(m_trace), ElementsAre(strRecord + "\n"));
    EXPECT_EQ(WyEscape(strSent), strShown);

    for (const auto format : {WyAuditFormat::Logfmt, WyAuditFormat::Json}) {
      WySetAuditFormat(format);
      WY_AUDIT(m_logger, strSent).Set("user", strSent).Set(strSent, 1);
      const std::string strAudit = Take(m_audit).back();
      EXPECT_EQ(WyEscape(strAudit), strAudit.substr(0, strAudit.size() - 1) + "\\x0a");
    }
  }
}

TEST_F(FrontEnd, WritesRawTextsAndThoseOfTheProgramAsTheyStand) {
  WyLog(m_logger, Text, WyRaw("a\nb\x1b"));
  WyLogText(m_logger, WySeverity::Error, WyRaw(std::string("c\nd")));
  Trace("User");
  WY_TRACE(m_logger, LogId).Set(WyField::User, WyRaw("e\nf"));
  EXPECT_THAT(Take(m_log), ElementsAre("a\nb\x1b\n", "c\nd\n"));
  EXPECT_THAT(Take(m_trace), ElementsAre("[e\nf]\n"));
}

TEST_F(FrontEnd, AllocatesOnlyToEscapeAndDropsTheLineIfItCannot) {
  ASSERT_TRUE(m_logger.SetLogOutput(m_logger.NewLogOutput(2, [](const char*, int) {})));
  for (int i = 0; i < 2; ++i) WyLog(m_logger, Text, "the thread's memory");
  const auto logWithoutMemory = [this](const char* pszText) {
    FailingMemory::FailAt(1, true);
    return FailingMemory::During([&] { return WyLog(m_logger, Text, pszText); });
  };
  EXPECT_TRUE(logWithoutMemory("M\xc3\xbcller"));
  EXPECT_FALSE(logWithoutMemory("forged\n"));
}

// ---- Arguments ----------------------------------------------------------------------------------

template <typename Value>
std::string Shown(const Value& value) {
  return std::string(WyLogDetail::CpaArgument<Value>(value).View());
}

struct Nested {
  static void Throw() {
    try {
      throw std::runtime_error("disk\nfull");
    } catch (...) {
      std::throw_with_nested(std::system_error(5, std::generic_category(), "cannot open"));
    }
  }
};

TEST_F(FrontEnd, TakesArgumentsOfOnesOwnTypes) {
  EXPECT_EQ(Shown(app::Result::Accepted), "accepted");
  EXPECT_EQ(Shown(app::Result::Refused), "re\\x0afused");
  EXPECT_EQ(Shown(app::Point{4}), "x=4");
  EXPECT_EQ(Shown(app::Red), std::to_string('r'));
  EXPECT_EQ(Shown(WyTraceLayout::Xml), "3");
  EXPECT_EQ(Shown(std::optional<app::Point>()), "<null>");
  EXPECT_EQ(Shown(std::optional<app::Point>(app::Point{7})), "x=7");
  EXPECT_EQ(Shown(make_error_code(std::errc::permission_denied)), "Permission denied (generic:13)");
  try {
    Nested::Throw();
  } catch (const std::exception& exception) {
    EXPECT_EQ(Shown(exception), "cannot open: Input/output error: disk\\x0afull");
    CWyError errors;
    WyAddErrors(errors, WySeverity::Error, exception);
    EXPECT_EQ(errors.GetLastError(), 5);
    ASSERT_TRUE(theLogger()->SetLogOutput(new HostOutput(m_log)));
    m_log.Forget();
    EXPECT_TRUE(errors.LogMessages());
    EXPECT_THAT(Take(m_log), ElementsAre("disk\\x0afull\n", "cannot open: Input/output error\n"));
    theLogger()->DisableLog();
  }
}

// ---- Typed audit records ------------------------------------------------------------------------

TEST_F(FrontEnd, WritesTypedAuditRecordsThatReadBack) {
  WySetAuditFormat(WyAuditFormat::Json);
  const std::string strUser("a\"\\\n\0\x7f\xc2\x9b\xff", 9);
  EXPECT_TRUE(WY_AUDIT(m_logger, "login")
                  .Set("user", strUser)
                  .Set("status", 403)
                  .Set("large", 18446744073709551615u)
                  .Set("share", 0.25)
                  .Set("ok", true)
                  .Set("none", std::optional<int>())
                  .Set("nan", 0.0 / 0.0)
                  .Set("a key=", 'c')
                  .Set("status", app::Result::Accepted)
                  .Set("list", WyRaw("[1,2]"))
                  .Write());
  const json record = json::parse(Take(m_audit).back());
  EXPECT_THAT(record["time"].get<std::string>(),
              MatchesRegex("....-..-..T..:..:..[.]...([+-]..:..|Z)"));
  EXPECT_EQ(record["pid"], getpid());
  EXPECT_TRUE(record["tid"].is_number_unsigned());
  EXPECT_EQ(record["event"], "login");
  const std::string strRead("a\"\\\n\0\x7f\xc2\x9b\xef\xbf\xbd", 11);
  EXPECT_EQ(record["fields"]["user"], strRead);
  json fields = record["fields"];
  fields.erase("user");
  fields.erase("nan");
  EXPECT_EQ(fields,
            json::parse(R"({"status":403,"large":18446744073709551615,"share":0.25,"ok":true,
      "none":null,"a_key_":"c","status_2":"accepted","list":[1,2]})"));

  WySetAuditFormat(WyAuditFormat::Logfmt);
  WY_AUDIT(m_logger, "end").Set("user", "a b=\"c\"").Set("status", 200);
  EXPECT_THAT(Take(m_audit).back(), MatchesRegex("time=[^ ]+ pid=[0-9]+ tid=[0-9]+ event=\"end\" "
                                                 "user=\"a b=.\"c.\"\" status=200\n"));
  const auto getValue = []() -> int { throw std::runtime_error("no"); };
  EXPECT_THROW(WY_AUDIT(m_logger, "x").Set("y", getValue()), std::runtime_error);
  EXPECT_TRUE(m_audit.Events().empty());
  m_audit.bLogs = false;
  EXPECT_FALSE(WY_AUDIT(m_logger, "refused").Write());
}

TEST_F(FrontEnd, TracesAJsonObjectOnEachLine) {
  Trace("User Group Rule Resource ResponseTime Pid Message", WyTraceLayout::Json);
  const std::string strBytes("\"\\\x01\xc2\x9b\xe2\x80\xa8\xff M\xc3\xbcller");
  for (const bool bNumber : {true, false}) {
    CWyTraceData* pData = nullptr;
    ASSERT_TRUE(m_logger.ShouldTraceAlloc(LogId, &pData));
    pData->SetLogger(&m_logger);
    pData->SetFieldValue(WyField::User, strBytes.c_str());
    if (bNumber) pData->SetFieldValue(WyField::Rule, -7);
    if (!bNumber) pData->SetFieldValue(WyField::Rule, "-7");
    pData->SetFieldValue(WyField::Group, true);
    pData->SetFieldValue(WyField::ResponseTime, 0.5);
    pData->SetFieldValue(WyField::Pid, 0);
    ASSERT_TRUE(pData->Format() && pData->Log());
    pData->CleanUpData();
    const std::vector<std::string> lines = Take(m_trace);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].find('\n'), lines[0].size() - 1);
    const json record = json::parse(lines[0]);
    EXPECT_EQ(record["User"], "\"\\\x01\xc2\x9b\xe2\x80\xa8\xef\xbf\xbd M\xc3\xbcller");
    EXPECT_EQ(record["Rule"], bNumber ? json(-7) : json("-7"));
    EXPECT_EQ(record["Group"], true);
    EXPECT_EQ(record["ResponseTime"], 0.5);
    EXPECT_EQ(record["Pid"], getpid());
    EXPECT_FALSE(record.contains("Resource") || record.contains("Message"));
  }
}

// ---- Requests -----------------------------------------------------------------------------------

TEST_F(FrontEnd, CarriesTheFieldsOfTheRequest) {
  Trace("TransactionID User Rule");
  const auto record = [this](const char* pszUser = nullptr) {
    if (pszUser != nullptr) {
      WY_TRACE(m_logger, LogId).Set(WyField::User, pszUser);
    } else {
      WY_TRACE(m_logger, LogId);
    }
    WY_AUDIT(m_logger, "e");
    const std::string strAudit = Take(m_audit).back();
    return Take(m_trace).back() + strAudit.substr(strAudit.find(' ', strAudit.find(" tid=") + 1));
  };
  EXPECT_EQ(record(), "[][][]\n event=\"e\"\n");
  {
    WyRequestScope outer(WyField::TransactionID, "7f", WyField::Rule, 2);
    EXPECT_EQ(record("bob"), "[7f][bob][2]\n request=\"7f\" event=\"e\" Rule=2\n");
    outer.Set(WyField::User, std::string("alice"));
    {
      const WyRequestScope inner(WyField::Rule, 3);
      EXPECT_EQ(record(), "[7f][alice][3]\n request=\"7f\" event=\"e\" Rule=3 User=\"alice\"\n");
      std::thread([&record, fields = WyRequestScope::Fields()] {
        EXPECT_EQ(record(), "[][][]\n event=\"e\"\n");
        const WyRequestScope scope(fields);
        EXPECT_EQ(record(), "[7f][alice][3]\n request=\"7f\" event=\"e\" Rule=3 User=\"alice\"\n");
      }).join();
    }
    EXPECT_EQ(record(), "[7f][alice][2]\n request=\"7f\" event=\"e\" Rule=2 User=\"alice\"\n");
  }
  EXPECT_EQ(record(), "[][][]\n event=\"e\"\n");
}

// ---- Rate limits --------------------------------------------------------------------------------

TEST_F(FrontEnd, LimitsACallSiteAndSaysWhatWasLeftOut) {
  int iEvaluated = 0;
  for (int i = 0; i < 7; ++i) {
    WY_LOG_EVERY_N(3, m_logger, Text, ++iEvaluated);
    WY_LOG_FIRST_N(2, m_logger, WySeverity::Error, "first %d", i);
    WY_LOG_EVERY_SECONDS(1000, m_logger, Text, "seconds");
  }
  EXPECT_THAT(Take(m_log),
              ElementsAre("1\n", "first 0\n", "seconds\n", "first 1 [further ones are left out]\n",
                          "2 [left out: 2]\n", "3 [left out: 2]\n"));
  for (int i = 0; i < 2; ++i) WY_LOG_EVERY_SECONDS(0, m_logger, Text, "no limit");
  EXPECT_THAT(Take(m_log), ElementsAre("no limit\n", "no limit\n"));
}

TEST_F(FrontEnd, CountsEveryCallOfAllThreadsOnce) {
  constexpr std::uint64_t Calls = 20000;
  CWyLogRate rate;
  std::atomic<std::uint64_t> uCounted{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (std::uint64_t u = 0; u < Calls; ++u) {
        const WyRateDecision decision = rate.EveryN(7);
        if (decision.bGoesOut) uCounted += 1 + decision.uLeftOut;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  WyRateDecision last{};
  std::uint64_t uFurther = 0;
  while (!last.bGoesOut) last = rate.EveryN(7), ++uFurther;
  EXPECT_EQ(uCounted + 1 + last.uLeftOut, 4 * Calls + uFurther);
}

}  // namespace
