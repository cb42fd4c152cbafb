// Files that are read line by line.

#include "wyerrlog/WyFileUtil.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

#include "test_support/TempDirectory.h"

namespace {

using Lines = std::vector<std::string>;

TEST(File, ComesBackLineByLineAndLongLinesInPieces) {
  const std::pair<const char*, Lines> rows[] = {{"", {}},
                                                {"\n", {"\n"}},
                                                {"ab\ncd", {"ab\n", "cd"}},
                                                {"abcd\n", {"abcd", "\n"}},
                                                {"abcdefg\r\nh\n", {"abcd", "efg\r", "\n", "h\n"}}};
  for (const auto& [pszContent, pieces] : rows) {
    const TempDirectory directory;
    directory.Write("lines", pszContent);
    CWyFile file;
    EXPECT_TRUE(file.OpenFile(directory.Path("lines").c_str(), CWyFile::Read));
    char szPiece[4 + 1];
    Lines read;
    while (file.ReadLine(szPiece, 4) > 0) read.emplace_back(szPiece);
    EXPECT_EQ(file.ReadLine(szPiece, 4), 0) << "the end stays the end";
    EXPECT_EQ(read, pieces);
  }
}

TEST(File, IsTruncatedAppendedToOrReadAsTheModeSays) {
  const TempDirectory directory;
  char szText[] = "new";
  const std::tuple<int, bool, const char*> rows[] = {
      {3, false, ""}, {2, true, "new"}, {2, true, "newnew"}, {1, true, "new"}, {4, false, "new"}};
  for (const auto& [iMode, bOpens, pszContent] : rows) {
    CWyFile file;
    EXPECT_EQ(file.OpenFile(directory.Path("file").c_str(), iMode), bOpens) << iMode;
    EXPECT_EQ(file.WriteFile(szText, 3), bOpens && iMode != 3 ? 3 : -1) << iMode;
    EXPECT_EQ(directory.Read("file"), pszContent);
  }
}

TEST(File, RefusesToReadAndWriteWithoutAFileABufferOrASize) {
  const TempDirectory directory;
  char szBuffer[] = "kept";
  CWyFile file;
  EXPECT_FALSE(file.OpenFile(nullptr, CWyFile::Read));
  EXPECT_EQ(file.ReadLine(szBuffer, 4), -1);
  ASSERT_TRUE(file.OpenFile(directory.Path("").c_str(), CWyFile::Read));  // a directory
  EXPECT_EQ(file.WriteFile(nullptr, 4), -1);
  for (const int iSize : {4, 0, -5}) EXPECT_EQ(file.ReadLine(szBuffer, iSize), -1) << iSize;
}

}  // namespace
