#include <wyi18n/wyi18n.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(WyLoadLibraryTest, AnswersNullForNamesOfNoLibrary) {
  EXPECT_EQ(WyLoadLibrary(nullptr), nullptr);
  EXPECT_EQ(WyLoadLibrary(""), nullptr) << "not the program itself";
  EXPECT_EQ(WyLoadLibrary("libno-such-library.so"), nullptr);
  EXPECT_EQ(WyLoadLibrary("/proc/self/status"), nullptr);
}

TEST(CWyGetEnvTest, KeepsTheValueItFound) {
  ::setenv("WYI18N_TEST", "/opt/product", 1);
  const CWyGetEnv root("WYI18N_TEST");
  ::unsetenv("WYI18N_TEST");
  EXPECT_STREQ(root.c_str(), "/opt/product");
  EXPECT_EQ(CWyGetEnv("WYI18N_TEST").c_str(), nullptr);
  EXPECT_EQ(CWyGetEnv(nullptr).c_str(), nullptr);
}

TEST(WyGetAdminLocaleTest, IsTheFirstVariableThatSaysSomething) {
  ::setenv("LC_ALL", "de_DE.UTF-8", 1);
  ::setenv("LC_MESSAGES", "fr_FR", 1);
  ::setenv("LANG", "ja_JP", 1);
  EXPECT_STREQ(WyGetAdminLocale(), "de_DE.UTF-8");
  ::setenv("LC_ALL", "", 1);
  EXPECT_STREQ(WyGetAdminLocale(), "fr_FR");
  ::unsetenv("LC_MESSAGES");
  EXPECT_STREQ(WyGetAdminLocale(), "ja_JP");
  ::unsetenv("LC_ALL");
  ::setenv("LANG", "", 1);
  EXPECT_STREQ(WyGetAdminLocale(), "en");
}

}  // namespace
