// Bundle files as people write them. Escapes, continued lines and patterns in all combinations are
// the fuzz targets' bundle_file and message_pattern.

#include <gtest/gtest.h>

#include <string>
#include <utility>

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
      "\xEF\xBB\xBFmark=none\n"
      "# comment = no\n"
      "  ! comment too \\\n"
      "a=1\n"
      "b : 2 \n"
      "\t c\t3 4\n"
      "=empty key\n"
      "twice=first\n"
      "twice\n"
      "last=open \\",
      {{"mark", "none"},
       {"a", "1"},
       {"b", "2 "},
       {"c", "3 4"},
       {"", "empty key"},
       {"twice", ""},
       {"last", "open "}});
}

TEST(Properties, EscapesStandForTheirCharactersAndMalformedOnesLoseNothingElse) {
  ExpectValues(
      "controls=\\t\\n\\r\\f\\\\\\q\\'\n"
      "unicode=\\u20ac\\uD83D\\uDE00\xFC\n"
      "short=\\u12\n"
      "nohex=\\u12G4!\n"
      "highs=\\uD83D\\uD83D\\uDE00\n"
      "low=\\uDE00!\n"
      "zero=a\\u0000!\n",
      {{"controls", "\t\n\r\f\\q'"},
       {"unicode", "\xE2\x82\xAC\xF0\x9F\x98\x80\xFC"},
       {"short", "u12"},
       {"nohex", "u12G4!"},
       {"highs", "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
       {"low", "\xEF\xBF\xBD!"},
       {"zero", "a\xEF\xBF\xBD!"}});
}

TEST(FormatMessage, ToleratesNullPointersAndSizesBeyondItsResultType) {
  char buffer[] = "unchanged";
  const char* argument = "a";
  EXPECT_EQ(CWyXlate::FormatMessage(nullptr, 5, "a", 1, &argument), -1);
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, 5, nullptr, 1, &argument), -1);
  EXPECT_STREQ(buffer, "unchanged");
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, 5, "{0}", 1, nullptr), 3);
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, ~0ul, "{0}{0}", 1, &argument), 2);
}

}  // namespace
