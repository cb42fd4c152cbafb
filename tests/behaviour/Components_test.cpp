// The message components of the repository, loaded by the process logger as any host loads them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wyerrlog/WyLogger.h>

#include <string>

namespace {

using ::testing::HasSubstr;

TEST(Components, AreListedWithTheirSubComponentsForTraceConfigurations) {
  const std::string strList = theLogger()->GetAvailableComponents();
  EXPECT_THAT(strList,
              HasSubstr(" | wytestcomponent ; Messages for tests : Parser ; Reads requests&"
                        "A_name_of_exactly_31_characters ; Fills its array&"
                        "Writer ; Writes answers | "));
}

}  // namespace
