#include <gtest/gtest.h>
#include <wyxlate/WyXlate.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// Formats into a buffer of exactly the promised size, so that a sanitizer sees a byte too many.
std::string Format(const char* pattern, std::vector<const char*> arguments,
                   unsigned long size = 200) {
  std::vector<char> buffer(size + 1, '?');
  const int iLength =
      CWyXlate::FormatMessage(buffer.data(), size, pattern, arguments.size(), arguments.data());
  EXPECT_EQ(iLength, static_cast<int>(std::strlen(buffer.data())));
  return buffer.data();
}

TEST(FormatMessage, ReplacesPlaceholdersByArguments) {
  EXPECT_EQ(Format("{0}", {"Server started"}), "Server started");
  EXPECT_EQ(Format("{1} before {0}, {1} again", {"a", "b"}), "b before a, b again");
  EXPECT_EQ(
      Format("{12}{1}{2}", {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"}),
      "1212");
  EXPECT_EQ(Format("[{0}][{1}]", {nullptr, ""}), "[][]");
  EXPECT_EQ(Format("{0}", {"{0} 'quoted' {1}"}), "{0} 'quoted' {1}") << "arguments are no patterns";
  EXPECT_EQ(Format("", {"a"}), "");
}

TEST(FormatMessage, CopiesEverythingElseInBracesAsItStands) {
  for (const char* pattern :
       {"{1}", "{13}", "{99999999999999999999}", "{18446744073709551616}", "{x}", "{0,number}",
        "{it''s}", "{-0}", "{ 0}", "{}", "{", "}", "a { b", "{0", "{{", "}{"}) {
    EXPECT_EQ(Format(pattern, {"a"}), pattern);
  }
  EXPECT_EQ(Format("{{0}} {x{0}}", {"a"}), "{a} {xa}");
  EXPECT_EQ(Format("{13}", std::vector<const char*>(14, "a")), "{13}");
}

TEST(FormatMessage, SingleQuotesQuote) {
  EXPECT_EQ(Format("it''s {0}", {"a"}), "it's a");
  EXPECT_EQ(Format("'{0}' is {0}", {"a"}), "{0} is a");
  EXPECT_EQ(Format("'{0} it''s' {0}", {"a"}), "{0} it's a");
  EXPECT_EQ(Format("it's {0}", {"a"}), "its {0}") << "an open quote quotes to the end";
  EXPECT_EQ(Format("''{0}''", {"a"}), "'a'");
  EXPECT_EQ(Format("'''{0}'''", {"a"}), "'{0}'");
  EXPECT_EQ(Format("{0}'", {"a"}), "a");
}

TEST(FormatMessage, CutsAtTheSizeWhereverThatIs) {
  const char* pattern = "ab{0}''{x}";
  const std::string whole = "abcde'{x}";
  for (unsigned long size = 0; size <= whole.size() + 1; ++size) {
    EXPECT_EQ(Format(pattern, {"cde"}, size), whole.substr(0, size));
  }
  EXPECT_EQ(Format("\xC3\xBC", {}, 1), "\xC3");
}

TEST(FormatMessage, ToleratesNullPointers) {
  char buffer[] = "unchanged";
  const char* argument = "a";
  EXPECT_EQ(CWyXlate::FormatMessage(nullptr, 5, "a", 1, &argument), -1);
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, 5, nullptr, 1, &argument), -1);
  EXPECT_STREQ(buffer, "unchanged");
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, 5, "{0}", 1, nullptr), 3);
  EXPECT_STREQ(buffer, "{0}");
}

TEST(FormatMessage, AcceptsSizesBeyondItsResultType) {
  char buffer[8];
  const char* argument = "a";
  EXPECT_EQ(CWyXlate::FormatMessage(buffer, ~0ul, "{0}{0}", 1, &argument), 2);
  EXPECT_STREQ(buffer, "aa");
}

}  // namespace
