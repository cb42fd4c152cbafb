// The message components of the repository, loaded by the process logger as any host loads them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wyerrlog/WyLogger.h>
#include <wyxlate/WyXlate.h>

#include <atomic>
#include <string>
#include <thread>

#include "TestComponentMessages.h"
#include "test_support/TempDirectory.h"

namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

std::string Started() {
  CWyErrLogMessage msg(false);
  return msg.FormatMessage(TestComponent::ServerStarted, "8080");
}

TEST(Components, AreListedWithTheirSubComponentsForTraceConfigurations) {
  const std::string strList = theLogger()->GetAvailableComponents();
  EXPECT_THAT(strList,
              HasSubstr(" | wytestcomponent ; Messages for tests : Parser ; Reads requests&"
                        "A_name_of_exactly_31_characters ; Fills its array&"
                        "Writer ; Writes answers | "));
}

// What a thread remembers of a message must be gone when the change is complete.
TEST(Components, ChangeWhileAnotherThreadLogsTheirMessages) {
  const TempDirectory first;
  const TempDirectory second;
  first.Write("wytest.properties", "wytest-00001=first {0}\n");
  second.Write("wytest.properties", "wytest-00001=second {0}\n");
  const auto set = [](const TempDirectory& directory) {
    ASSERT_TRUE(CWyXlate::SetResourceDirectory(directory.Path("").c_str()));
  };
  set(first);
  const std::string strFirst = Started();
  ASSERT_THAT(strFirst, HasSubstr("] first 8080\n"));
  set(second);
  const std::string strSecond = Started();
  ASSERT_THAT(strSecond, HasSubstr("] second 8080\n"));
  const std::string strMissing = "[INFO][wy-log-00001] missing component library\n";

  std::atomic<int> iChanges{0};
  std::atomic<int> iSeen{0};  // the number of changes before the last message began
  constexpr int Changes = 50;
  std::thread logging([&] {
    for (int iBefore = 0; iBefore < Changes; iSeen = iBefore) {
      iBefore = iChanges;
      EXPECT_THAT(Started(), AnyOf(strFirst, strSecond, strMissing));
    }
  });
  for (int i = 0; i < Changes; ++i) {
    theLogger()->Release();
    EXPECT_EQ(Started(), strMissing);
    set(i % 2 == 0 ? first : second);
    theLogger()->Init();
    EXPECT_EQ(Started(), i % 2 == 0 ? strFirst : strSecond);
    iChanges = i + 1;
    while (iSeen < i) std::this_thread::yield();
  }
  logging.join();
}

}  // namespace
