// Files that are read line by line.

#include "wyerrlog/WyFileUtil.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "test_support/TempDirectory.h"

namespace {

using Lines = std::vector<std::string>;

// What ReadLine reads piece by piece up to the end of the file, with room for `iSize` bytes.
Lines Pieces(const std::string& strPath, int iSize) {
  CWyFile file;
  EXPECT_TRUE(file.OpenFile(strPath.c_str(), CWyFile::Read));
  std::vector<char> buffer(static_cast<std::size_t>(iSize) + 1);
  Lines lines;
  while (file.ReadLine(buffer.data(), iSize) > 0) lines.emplace_back(buffer.data());
  EXPECT_EQ(file.ReadLine(buffer.data(), iSize), 0) << "the end stays the end";
  return lines;
}

TEST(File, ComesBackLineByLineAndLongLinesInPieces) {
  const TempDirectory directory;
  const std::string strPath = directory.Path("lines");
  const struct {
    const char* pszContent;
    Lines lines;
  } rows[] = {{"", {}},
              {"\n", {"\n"}},
              {"ab\ncd", {"ab\n", "cd"}},
              {"abcd\n", {"abcd", "\n"}},
              {"abcdefg\r\nh\n", {"abcd", "efg\r", "\n", "h\n"}}};
  for (const auto& row : rows) {
    directory.Write("lines", row.pszContent);
    EXPECT_EQ(Pieces(strPath, 4), row.lines) << row.pszContent;
  }
}

TEST(File, ModesTruncateAppendAndRead) {
  const TempDirectory directory;
  const std::string strPath = directory.Path("file");
  const struct {
    int iMode;
    bool bOpened;
    const char* pszContent;
  } rows[] = {{3, false, nullptr}, {2, true, "new"}, {2, true, "newnew"}, {0, true, "new"},
              {1, true, "new"},    {3, true, "new"}, {4, false, "new"},   {-1, false, "new"}};
  char szText[] = "new";
  for (const auto& row : rows) {
    CWyFile file;
    EXPECT_EQ(file.OpenFile(strPath.c_str(), row.iMode), row.bOpened) << row.iMode;
    const int iWritten = row.bOpened && row.iMode != 3 ? 3 : -1;
    EXPECT_EQ(file.WriteFile(szText, 3), iWritten) << row.iMode;
    EXPECT_EQ(directory.Names().size(), row.pszContent != nullptr);
    EXPECT_EQ(directory.Read("file"), row.pszContent != nullptr ? row.pszContent : "");
  }
  CWyFile file;
  EXPECT_FALSE(file.OpenFile(nullptr, CWyFile::Read));
}

TEST(File, RefusesToReadAndWriteWithoutAFileABufferOrASize) {
  const TempDirectory directory;
  directory.Write("file", "text");
  char szBuffer[] = "kept";
  CWyFile file;
  EXPECT_EQ(file.ReadLine(szBuffer, 4), -1);
  EXPECT_EQ(file.WriteFile(szBuffer, 4), -1);
  ASSERT_TRUE(file.OpenFile(directory.Path("file").c_str(), CWyFile::Read));
  EXPECT_EQ(file.ReadLine(nullptr, 4), -1);
  EXPECT_EQ(file.WriteFile(nullptr, 4), -1);
  EXPECT_EQ(file.ReadLine(szBuffer, 0), -1);
  EXPECT_EQ(file.ReadLine(szBuffer, -5), -1);
  EXPECT_STREQ(szBuffer, "kept");
  file.CloseFile();
  EXPECT_EQ(file.ReadLine(szBuffer, 4), -1);
  CWyFile folder;  // opens, but cannot be read
  ASSERT_TRUE(folder.OpenFile(directory.Path("").c_str(), CWyFile::Read));
  EXPECT_EQ(folder.ReadLine(szBuffer, 4), -1);
}

}  // namespace
