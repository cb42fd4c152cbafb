// Where a component library is looked for.

#include <gtest/gtest.h>
#include <wyi18n/wyi18n.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "wyerrlog/WyErrLogUtil.h"

namespace {

std::vector<std::string> g_tried;
std::string g_strPresent = "none";  // the one library that there is

}  // namespace

// In the place of the platform library's.
void* WyLoadLibrary(const char* pszName) {
  g_tried.emplace_back(pszName);
  return g_tried.back() == g_strPresent ? &g_strPresent : nullptr;
}

namespace {

using Names = std::vector<std::string>;

// The names tried, one after another, as long as none is found.
Names Tried(std::string strName) {
  g_tried.clear();
  EXPECT_EQ(WyErrLogUtilLoadLibrary(strName.data()), nullptr);
  return g_tried;
}

void SetRoot(const std::string& strRoot) { setenv("ORVA_WA_ROOT", strRoot.c_str(), 1); }

TEST(LoadLibrary, TriesEndingPrefixAndDirectory) {
  SetRoot("/opt/wa");
  const std::vector<Names> rows = {
      {"wylog", "wylog.so", "libwylog.so", "/opt/wa/bin/libwylog.so"},
      {"libwylog.so", "/opt/wa/bin/libwylog.so"},
      {"WYLOG.DLL", "WYLOG.SO", "libWYLOG.SO", "/opt/wa/bin/libWYLOG.SO"},
      {"wylog.dll", "wylog.so", "libwylog.so", "/opt/wa/bin/libwylog.so"},
      {"wylog.dll.1", "libwylog.dll.1", "/opt/wa/bin/libwylog.dll.1"},
      {"plugins/wylog", "plugins/wylog.so"},
      {"./wylog"},  // the dot of the directory
      {"", ".so", "lib.so", "/opt/wa/bin/lib.so"},
  };
  for (const Names& row : rows) EXPECT_EQ(Tried(row.front()), row);
  for (g_strPresent = "libwylog.so"; std::string strName : {"wylog", "libwylog.so"}) {
    EXPECT_EQ(WyErrLogUtilLoadLibrary(strName.data()), &g_strPresent);
    EXPECT_EQ(g_tried.back(), "libwylog.so") << "nothing is tried after it";
  }
}

TEST(LoadLibrary, TheDirectoryIsFixedByTheFirstCallThatFindsIt) {
  unsetenv("ORVA_WA_ROOT");
  EXPECT_EQ(Tried("libx.so"), Names({"libx.so"}));
  SetRoot(std::string(4090, 'r'));  // too long: as if unset
  EXPECT_EQ(Tried("libx.so"), Names({"libx.so"}));
  SetRoot("/opt/wa/");
  EXPECT_EQ(Tried("libx.so"), Names({"libx.so", "/opt/wa/bin/libx.so"}));
  SetRoot("/elsewhere");
  EXPECT_EQ(Tried("libx.so"), Names({"libx.so", "/opt/wa/bin/libx.so"}));
}

// Of a name, 4095 bytes count; the ending must not be written behind the buffer that holds them.
TEST(LoadLibrary, NamesOfAnyLengthAreTriedWithoutOverrun) {
  SetRoot("/opt/wa");
  for (const std::size_t uLength : {4090u, 4091u, 4095u, 4096u, 100000u}) {
    const std::string strName(uLength, 'n');
    const std::string strKept = strName.substr(0, 4095) + ".so";
    EXPECT_EQ(Tried(strName), Names({strName, strKept, "lib" + strKept})) << uLength;
    EXPECT_EQ(Tried(strName + ".dll").front(), strName + ".dll");
  }
}

}  // namespace
