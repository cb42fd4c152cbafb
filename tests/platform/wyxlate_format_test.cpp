#include <gtest/gtest.h>
#include <wyxlate/WyXlate.h>

#include <string>
#include <vector>

namespace {

std::string Format(const char* pattern, std::vector<const char*> arguments) {
  char buffer[200];
  CWyXlate::FormatMessage(buffer, sizeof buffer - 1, pattern, arguments.size(), arguments.data());
  return buffer;
}

TEST(FormatMessage, ReplacesPlaceholdersByArgumentsUnlessTheyAreQuoted) {
  EXPECT_EQ(Format("{1} before {0}, {1} again", {"a", "b"}), "b before a, b again");
  EXPECT_EQ(Format("[{0}][{1}][{2}]", {nullptr, ""}), "[][][{2}]");
  EXPECT_EQ(Format("{0}", {"{0} 'quoted' {1}"}), "{0} 'quoted' {1}") << "arguments are no patterns";
  EXPECT_EQ(Format("it''s '{0}' {{0}} {x", {"a"}), "it's {0} {a} {x");
}

TEST(FormatMessage, ToleratesNullPointersAndSizesBeyondItsResultType) {
  char buffer[] = "unchanged";
  const char* argument = "a";
  EXPECT_EQ(CWyXlate::FormatMessage(nullptr, 5, "a", 1, &argument), -1);
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, 5, nullptr, 1, &argument), -1);
  EXPECT_STREQ(buffer, "unchanged");
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, 5, "{0}", 1, nullptr), 3);
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, ~0ul, "{0}{0}", 1, &argument), 2);
  EXPECT_STREQ(buffer, "aa");
}

}  // namespace
