// Files that are read line by line.

#include "wyerrlog/WyFileUtil.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "test_support/TempDirectory.h"

namespace {

TEST(File, IsWrittenAsTheModeSays) {
  const TempDirectory directory;
  const std::string strPath = directory.Path("file");
  char szText[] = "new";
  const std::pair<int, const char*> rows[] = {{3, ""}, {2, "new"}, {2, "newnew"}, {1, "new"}};
  for (const auto& [iMode, pszContent] : rows) {
    CWyFile file;
    EXPECT_EQ(file.OpenFile(strPath.c_str(), iMode), iMode != 3) << iMode;
    EXPECT_EQ(file.WriteFile(szText, 3), iMode != 3 ? 3 : -1) << iMode;
    EXPECT_EQ(directory.Read("file"), pszContent);
  }
}

TEST(File, RefusesToReadAndWriteWithoutAFileABufferOrASize) {
  const TempDirectory directory;
  char szBuffer[] = "kept";
  CWyFile file;
  EXPECT_FALSE(file.OpenFile(nullptr, CWyFile::Read) || file.OpenFile("/dev/null", 4));
  EXPECT_EQ(file.ReadLine(szBuffer, 4), -1);
  ASSERT_TRUE(file.OpenFile(directory.Path("").c_str(), CWyFile::Read));  // a directory
  EXPECT_EQ(file.WriteFile(nullptr, 4), -1);
  for (const int iSize : {4, 0, -5}) EXPECT_EQ(file.ReadLine(szBuffer, iSize), -1) << iSize;
}

}  // namespace
