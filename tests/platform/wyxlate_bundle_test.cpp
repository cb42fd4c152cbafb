#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/BundleText.h"
#include "platform/TestDirectory.h"

namespace {

// A directory with the files that the test writes, set as the resource directory.
class BundleTest : public testing::Test {
 protected:
  void SetDirectory() { ASSERT_TRUE(CWyXlate::SetResourceDirectory(m_directory.Name())); }

  // A bundle with one key, "file", in files of these suffixes; its value is the suffix.
  void WriteFiles(const std::string& bundle, std::initializer_list<const char*> suffixes) {
    for (const std::string suffix : suffixes) {
      m_directory.Write(bundle + suffix + ".properties", "file=" + suffix);
    }
    SetDirectory();
  }

  std::string FileOf(const char* locale) { return BundleText("agent", locale, "file"); }

  const TestDirectory m_directory;
};

TEST_F(BundleTest, EachKeyComesFromTheMostSpecialFileThatHasIt) {
  m_directory.Write("agent_de_DE.properties", "a=Deutschland");
  m_directory.Write("agent_de.properties", "a=deutsch\nb=deutsch");
  m_directory.Write("agent.properties", "a=base\nb=base\nc=base");
  SetDirectory();
  EXPECT_EQ(BundleText("agent", "de_DE", "a"), "Deutschland");
  EXPECT_EQ(BundleText("agent", "de_DE", "b"), "deutsch");
  EXPECT_EQ(BundleText("agent", "de_DE", "c"), "base");
  EXPECT_EQ(BundleText("agent", "de_DE", nullptr), "no key");
  EXPECT_EQ(BundleText("agent", "de_AT", "a"), "deutsch");
  EXPECT_EQ(BundleText("agent", "fr", "a"), "base");
}

TEST_F(BundleTest, LocaleNamesAreReadInBothSpellings) {
  WriteFiles("agent", {"_de_DE", "_de_DE_U", "_zh_Hant_TW", "_zh_Hant", "_es_419",
                       "_ca_Latn_ES_VALENCIA", ""});
  for (const char* locale :
       {"de_DE.UTF-8", "de-DE", "DE_de@euro", "de-DE-u-co-phonebk", "de_DE@collation=phonebook"}) {
    EXPECT_EQ(FileOf(locale), "_de_DE") << locale;
  }
  EXPECT_EQ(FileOf("zh-Hant-TW"), "_zh_Hant_TW");
  EXPECT_EQ(FileOf("ZH_HANT_HK.Big5"), "_zh_Hant");
  EXPECT_EQ(FileOf("es-419"), "_es_419");
  EXPECT_EQ(FileOf("ca-latn-es-valencia-x-cut"), "_ca_Latn_ES_VALENCIA");
  EXPECT_EQ(FileOf("zh-TW"), "");
}

TEST_F(BundleTest, LocalesThatNameNoLanguageMeanEnglish) {
  WriteFiles("agent", {"_en", ""});
  for (const char* locale : {"C", "POSIX", "C.UTF-8", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(FileOf(locale), "_en");
  }
}

TEST_F(BundleTest, WhatIsNoLocaleHasTheBaseFileAlone) {
  // Were the name put into a path as it is, "/trap" would find the second file.
  std::filesystem::create_directory(m_directory.Path("agent_"));
  m_directory.Write("agent_/trap.properties", "file=trap");
  WriteFiles("agent", {"_de", ""});
  const std::string strLong(1 << 20, 'x');
  for (const char* locale :
       {"/trap", "..", "de/../x", "de.x/..", "de__DE", "1a", strLong.c_str()}) {
    EXPECT_EQ(FileOf(locale), "") << locale;
  }
}

TEST_F(BundleTest, BundleNamesDoNotLeaveTheDirectory) {
  std::filesystem::create_directory(m_directory.Path("sub"));
  for (const char* file : {"sub/agent", "agent", "sub/.hidden", "sub/a..b"}) {
    m_directory.Write(std::string(file) + ".properties", "file=there");
  }
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(m_directory.Path("sub").c_str()));
  const std::string absolute = m_directory.Path("agent");
  for (const char* bundle : {"../agent", "./agent", ".hidden", "a..b", "", absolute.c_str()}) {
    EXPECT_EQ(BundleText(bundle, "en", "file"), "no bundle") << bundle;
  }
  EXPECT_EQ(BundleText(nullptr, "en", "file"), "no bundle");
  EXPECT_EQ(BundleText("agent", "en", "file"), "there");
}

TEST_F(BundleTest, FilesThatCannotBeReadCountAsMissing) {
  WriteFiles("agent", {""});
  std::filesystem::create_directory(m_directory.Path("agent_fr.properties"));
  ASSERT_EQ(::mkfifo(m_directory.Path("pipe.properties").c_str(), 0644), 0);
  EXPECT_EQ(FileOf("fr"), "");
  EXPECT_EQ(BundleText("pipe", "en", "file"), "no bundle") << "and no waiting for its writer";
  EXPECT_FALSE(CWyXlate::SetResourceDirectory(m_directory.Path("missing").c_str()));
  EXPECT_FALSE(CWyXlate::SetResourceDirectory(nullptr));
}

TEST_F(BundleTest, ReadsNothingAgainUntilTheDirectoryIsSetAgain) {
  WriteFiles("agent", {""});
  EXPECT_EQ(FileOf("de") + BundleText("server", "de", "file"), "no bundle");
  m_directory.Write("agent_de.properties", "file=new");
  m_directory.Write("server.properties", "file=new");
  EXPECT_EQ(FileOf("de") + BundleText("server", "de", "file"), "no bundle");
  SetDirectory();
  EXPECT_EQ(FileOf("de") + BundleText("server", "de", "file"), "newnew");
}

TEST_F(BundleTest, HeldBundleOutlivesItsDirectoryAndCrowdedCache) {
  m_directory.Write("agent.properties", "a=first");
  SetDirectory();
  CWyXlateBundle* pHeld = CWyXlate::GetBundle("agent", "en");
  ASSERT_NE(pHeld, nullptr);
  const char* pszText = pHeld->Lookup("a");
  for (int i = 0; i < 5000; ++i) {
    ASSERT_EQ(CWyXlate::GetBundle(("missing" + std::to_string(i)).c_str(), "en"), nullptr);
  }
  m_directory.Write("missing0.properties", "a=late");
  EXPECT_EQ(BundleText("missing0", "en", "a"), "late") << "still remembered";
  m_directory.Write("agent.properties", "a=second");
  SetDirectory();
  EXPECT_EQ(BundleText("agent", "en", "a"), "second");
  std::filesystem::remove_all(m_directory.Path("agent.properties"));
  EXPECT_STREQ(pszText, "first");
  EXPECT_EQ(pHeld->Lookup("a"), pszText);
  pHeld->Release();
}

TEST_F(BundleTest, ShortageOfDescriptorsIsNotRemembered) {
  WriteFiles("agent", {""});
  rlimit limit;
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{0, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string during = FileOf("en");
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(during, "no bundle");
  EXPECT_EQ(FileOf("en"), "");
}

}  // namespace
