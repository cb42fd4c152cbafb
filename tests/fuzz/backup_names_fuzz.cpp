// Rolls a log file over in a directory full of names.
//
// The first line is the log file's name, the others are those of the files beside it. What is a
// backup is said a second time here; nothing else may be touched, and of the backups the newest
// are kept.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

using fuzz::Require;
using Names = std::set<std::string>;

// A name that a file can have, and that leaves room for a stamp.
bool IsFileName(std::string_view name) {
  return !name.empty() && name.size() <= 200 && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == name.npos;
}

std::string Extension(const std::string& strName) {
  const std::size_t uDot = strName.rfind('.');
  return uDot == strName.npos ? "" : strName.substr(uDot);
}

// The stem, "_" with eight digits, "_" with six, perhaps "_" with any number of digits, perhaps "."
// with anything; and the log file's extension in the end.
bool IsBackup(const std::string& strName, const std::string& strLogName) {
  static const std::regex s_behindStem(R"(_\d{8}_\d{6}(_\d*)?(\.[\s\S]*)?)");
  const std::string strExtension = Extension(strLogName);
  const std::string strStem = strLogName.substr(0, strLogName.size() - strExtension.size());
  return strName.size() >= strLogName.size() + 16 && strName.starts_with(strStem) &&
         Extension(strName) == strExtension &&
         std::regex_match(strName.substr(strStem.size()), s_behindStem);
}

// By stamp, then by the number behind it, then by name.
bool IsOlder(const std::string& strFirst, const std::string& strSecond, std::size_t uStem) {
  const auto key = [uStem](const std::string& strName) {
    std::size_t u = uStem + 16;
    while (u < strName.size() && (strName[u] == '_' || strName[u] == '0')) ++u;
    const std::size_t uEnd = std::min(strName.find_first_not_of("0123456789", u), strName.size());
    return std::tuple(strName.substr(uStem, 16), uEnd - u, strName.substr(u, uEnd - u), strName);
  };
  return key(strFirst) < key(strSecond);
}

Names Minus(const Names& from, const Names& taken) {
  Names left;
  std::set_difference(from.begin(), from.end(), taken.begin(), taken.end(),
                      std::inserter(left, left.end()));
  return left;
}

// The names that a rollover must leave when it keeps so many backups with the new one; 0: all.
Names ExpectedToStay(const Names& beside, const std::string& strLogName, std::size_t uMaxBackups) {
  const std::size_t uStem = strLogName.size() - Extension(strLogName).size();
  std::vector<std::string> backups;
  std::copy_if(beside.begin(), beside.end(), std::back_inserter(backups),
               [&](const std::string& strName) { return IsBackup(strName, strLogName); });
  if (uMaxBackups == 0 || backups.size() < uMaxBackups) return beside;
  std::sort(backups.begin(), backups.end(),
            [uStem](const std::string& a, const std::string& b) { return IsOlder(a, b, uStem); });
  backups.resize(backups.size() - uMaxBackups + 1);
  return Minus(beside, Names(backups.begin(), backups.end()));
}

void CheckRollover(const std::string& strLogName, const Names& beside, int iMaxBackups) {
  const TempDirectory directory;
  for (const std::string& strName : beside) directory.Write(strName, strName);
  directory.Write(strLogName, "the log");

  CWyFileOutput output;
  Require(output.SetParams(directory.Path(strLogName).c_str(), 4, 1, iMaxBackups));
  Require(output.Open());
  Require(output.Close());

  const Names stayed = ExpectedToStay(beside, strLogName, static_cast<std::size_t>(iMaxBackups));
  Names after = directory.Names();
  Require(after.erase(strLogName) == 1 && directory.Read(strLogName).empty());
  const Names created = Minus(after, stayed);
  Require(created.size() == 1 && IsBackup(*created.begin(), strLogName));
  Require(directory.Read(*created.begin()) == "the log");
  Require(Minus(stayed, after).empty());
  for (const std::string& strName : stayed) Require(directory.Read(strName) == strName);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  constexpr std::size_t MaxFiles = 20;
  std::string_view input = fuzz::Text(pData, uSize);
  const std::string strLogName(fuzz::Take(input, '\n'));
  if (!IsFileName(strLogName)) return 0;

  Names beside;
  CWyFileOutput output;
  for (const std::string& strName : fuzz::SplitLines(input)) {
    if (!IsFileName(strName)) continue;
    Require(output.IsBackedUpFile(strName.c_str(), strLogName.c_str()) ==
            IsBackup(strName, strLogName));
    if (strName != strLogName && beside.size() < MaxFiles) beside.insert(strName);
  }
  CheckRollover(strLogName, beside, static_cast<int>(uSize % 4));
  return 0;
}
