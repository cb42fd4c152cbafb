#include <gtest/gtest.h>

#include <random>
#include <string>

#include "platform/BundleText.h"
#include "platform/TestDirectory.h"

namespace {

// Reads the text as the file of a bundle.
class PropertiesTest : public testing::Test {
 protected:
  void Load(const std::string& content) {
    m_directory.Write("file.properties", content);
    ASSERT_TRUE(CWyXlate::SetResourceDirectory(m_directory.Name()));
  }
  std::string Value(const char* key) { return BundleText("file", "en", key); }

  const TestDirectory m_directory;
};

TEST_F(PropertiesTest, KeysAndValuesAreSeparatedInEveryWayTheFormatKnows) {
  Load(
      "# comment = no\n"
      "  ! comment too \\\n"
      "a=1\n"
      "b : 2 \n"
      "\t c\t3 4\n"
      "d==4\n"
      "e\\ \\=\\:=5\n"
      "f\n"
      "g=#not a comment\n"
      "\n"
      "=empty key\n"
      "twice=first\n"
      "twice=last");
  EXPECT_EQ(Value("a"), "1");
  EXPECT_EQ(Value("b"), "2 ") << "blanks at the end belong to the value";
  EXPECT_EQ(Value("c"), "3 4");
  EXPECT_EQ(Value("d"), "=4");
  EXPECT_EQ(Value("e =:"), "5");
  EXPECT_EQ(Value("f"), "");
  EXPECT_EQ(Value("g"), "#not a comment");
  EXPECT_EQ(Value(""), "empty key");
  EXPECT_EQ(Value("twice"), "last");
  EXPECT_EQ(Value("#"), "no key");
  EXPECT_EQ(Value("comment"), "no key");
}

TEST_F(PropertiesTest, EscapesStandForTheirCharacters) {
  Load(
      "controls=\\t\\n\\r\\f\\\\\\q\\'\n"
      "latin=\\u00FC\\u0041\n"
      "euro=\\u20ac\n"
      "pair=\\uD83D\\uDE00!\n"
      "utf8=\xC3\xBC\xE2\x82\xAC\n"
      "\\u006Bey\\=1=escaped key\n");
  EXPECT_EQ(Value("controls"), "\t\n\r\f\\q'");
  EXPECT_EQ(Value("latin"),
            "\xC3\xBC"
            "A");
  EXPECT_EQ(Value("euro"), "\xE2\x82\xAC");
  EXPECT_EQ(Value("pair"), "\xF0\x9F\x98\x80!");
  EXPECT_EQ(Value("utf8"), "\xC3\xBC\xE2\x82\xAC");
  EXPECT_EQ(Value("key=1"), "escaped key");
}

TEST_F(PropertiesTest, LinesContinueAfterAnOddNumberOfBackslashes) {
  Load(
      "one=Server \\\n"
      "    started \\\n"
      "\t# on port\n"
      "two=ends in \\\\\n"
      "three=\\\\\\\n"
      "  more\n"
      "split\\\n"
      "  Key=4\n"
      "last=open \\");
  EXPECT_EQ(Value("one"), "Server started # on port");
  EXPECT_EQ(Value("two"), "ends in \\");
  EXPECT_EQ(Value("three"), "\\more");
  EXPECT_EQ(Value("splitKey"), "4");
  EXPECT_EQ(Value("last"), "open ");
}

TEST_F(PropertiesTest, AnyLineEndAndAByteOrderMarkAreAccepted) {
  Load(
      "\xEF\xBB\xBF"
      "a=1\rb=2\r\nc=3 \\\r\n  4\n\r\rd=5\\\r6\r");
  EXPECT_EQ(Value("a"), "1");
  EXPECT_EQ(Value("b"), "2");
  EXPECT_EQ(Value("c"), "3 4");
  EXPECT_EQ(Value("d"), "56");
  EXPECT_EQ(Value(""), "no key");
}

TEST_F(PropertiesTest, MalformedEscapesLoseNothingElse) {
  Load(
      "short=\\u12\n"
      "nohex=\\u12G4!\n"
      "high=\\uD83D!\n"
      "low=\\uDE00!\n"
      "twoHighs=\\uD83D\\uD83D\\uDE00\n"
      "highThenLetter=\\uD83D\\u0041\n"
      "zero=a\\u0000b\n"
      "latin1=\xFC\xFF\n");
  EXPECT_EQ(Value("short"), "u12");
  EXPECT_EQ(Value("nohex"), "u12G4!");
  EXPECT_EQ(Value("high"), "\xEF\xBF\xBD!");
  EXPECT_EQ(Value("low"), "\xEF\xBF\xBD!");
  EXPECT_EQ(Value("twoHighs"), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
  EXPECT_EQ(Value("highThenLetter"),
            "\xEF\xBF\xBD"
            "A");
  EXPECT_EQ(Value("zero"),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(Value("latin1"), "\xFC\xFF");
}

TEST_F(PropertiesTest, EmptyFileIsABundleWithoutKeys) {
  Load("");
  EXPECT_EQ(Value("a"), "no key");
}

TEST_F(PropertiesTest, NoContentHarmsTheLinesAfterIt) {
  std::minstd_rand random(20);
  for (int iRound = 0; iRound < 300; ++iRound) {
    std::string content;
    for (int i = 0; i < 400; ++i) {
      // Mostly the characters that mean something, in unlikely order.
      content += random() % 4 == 0 ? static_cast<char>(random())
                                   : "\\\\\\uuD8C0 =:#!\t\r\n\f"[random() % 19];
    }
    Load(content + "\n\nkey=" + std::string(iRound == 0 ? 2 << 20 : 5, 'v'));
    ASSERT_EQ(Value("key").front(), 'v') << "round " << iRound;
  }
}

}  // namespace
