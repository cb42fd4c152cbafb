#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/BundleText.h"
#include "platform/TestDirectory.h"

namespace {

// Reads the text as the file of a bundle, which must have these keys and values.
void ExpectValues(const std::string& content,
                  std::initializer_list<std::pair<const char*, const char*>> values) {
  const TestDirectory directory;
  directory.Write("file.properties", content);
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(directory.Name()));
  for (const auto& [key, value] : values) EXPECT_EQ(BundleText("file", "en", key), value) << key;
}

TEST(Properties, KeysAndValuesAreSeparatedInEveryWayTheFormatKnows) {
  ExpectValues(
      "# comment = no\n"
      "  ! comment too \\\n"
      "a=1\n"
      "b : 2 \n"
      "\t c\t3 4\n"
      "e\\ \\=\\:==5\n"
      "\n"
      "=empty key\n"
      "twice=first\n"
      "twice",
      {{"a", "1"}, {"b", "2 "}, {"c", "3 4"}, {"e =:", "=5"}, {"", "empty key"}, {"twice", ""}});
}

TEST(Properties, EscapesStandForTheirCharactersAndMalformedOnesLoseNothingElse) {
  ExpectValues(
      "controls=\\t\\n\\r\\f\\\\\\q\\'\n"
      "unicode=\\u20ac\\uD83D\\uDE00\xFC\n"
      "\\u006Bey\\=1=escaped key\n"
      "short=\\u12\n"
      "nohex=\\u12G4!\n"
      "highs=\\uD83D\\uD83D\\uDE00\n"
      "low=\\uDE00!\n"
      "zero=a\\u0000!\n",
      {{"controls", "\t\n\r\f\\q'"},
       {"unicode", "\xE2\x82\xAC\xF0\x9F\x98\x80\xFC"},
       {"key=1", "escaped key"},
       {"short", "u12"},
       {"nohex", "u12G4!"},
       {"highs", "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
       {"low", "\xEF\xBF\xBD!"},
       {"zero", "a\xEF\xBF\xBD!"}});
}

TEST(Properties, LinesContinueAfterAnOddNumberOfBackslashesAndEndInAnyWay) {
  ExpectValues(
      "\xEF\xBB\xBFone=Server \\\r\n    started \\\n\t# on port\r"
      "two=ends in \\\\\n\r"
      "split\\\r  Key=\\\\\\\n more\n"
      "last=open \\",
      {{"one", "Server started # on port"},
       {"two", "ends in \\"},
       {"splitKey", "\\more"},
       {"last", "open "}});
}

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
