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

// In place of the platform library's.
void* WyLoadLibrary(const char* pszName) {
  g_tried.emplace_back(pszName);
  return g_tried.back() == g_strPresent ? &g_strPresent : nullptr;
}

namespace {

using Names = std::vector<std::string>;

// The names tried, one after another, up to the one that is found.
Names Tried(std::string strName) {
  g_tried.clear();
  const void* const hLib = WyErrLogUtilLoadLibrary(strName.data());
  EXPECT_EQ(hLib != nullptr, g_tried.back() == g_strPresent);
  return g_tried;
}

TEST(LoadLibrary, TriesEndingPrefixAndDirectory) {
  setenv("ORVA_WA_ROOT", "/opt/wa", 1);
  const std::vector<Names> rows = {
      {"wylog", "wylog.so", "libwylog.so", "/opt/wa/bin/libwylog.so"},
      {"libwylog.so", "/opt/wa/bin/libwylog.so"},
      {"WYLOG.DLL", "WYLOG.SO", "libWYLOG.SO", "/opt/wa/bin/libWYLOG.SO"},
      {"wylog.dll.1", "libwylog.dll.1", "/opt/wa/bin/libwylog.dll.1"},
      {"plugins/wylog", "plugins/wylog.so"},
      {"./wylog"},  // the dot of the directory
      {"", ".so", "lib.so", "/opt/wa/bin/lib.so"},
  };
  for (const Names& row : rows) EXPECT_EQ(Tried(row.front()), row);
  g_strPresent = "libwylog.so";
  EXPECT_EQ(Tried("wylog.dll"), Names({"wylog.dll", "wylog.so", "libwylog.so"}));
}

TEST(LoadLibrary, TheDirectoryIsFixedByTheFirstCallThatFindsIt) {
  const Names inDirectory = {"libx.so", "/opt/wa/bin/libx.so"};
  unsetenv("ORVA_WA_ROOT");
  EXPECT_EQ(Tried("libx.so"), Names({"libx.so"}));
  setenv("ORVA_WA_ROOT", std::string(4090, 'r').c_str(), 1);  // too long: as if unset
  EXPECT_EQ(Tried("libx.so"), Names({"libx.so"}));
  for (const char* pszRoot : {"/opt/wa/", "/elsewhere"}) {
    setenv("ORVA_WA_ROOT", pszRoot, 1);
    EXPECT_EQ(Tried("libx.so"), inDirectory);
  }
  // Of a name, 4095 bytes count.
  const std::string strName(5000, 'n');
  const std::string strKept = strName.substr(0, 4095) + ".so";
  EXPECT_EQ(Tried(strName), Names({strName, strKept, "lib" + strKept}));
}

}  // namespace
