// The names of backups, assembled and parsed. What is parsed are the names of all files in the
// log's directory, which other programs choose, so nothing is assumed of their length or digits:
// numbers stay decimal texts, because one in a file name may exceed every integer type.

#include "wyerrlog/internal/WyBackupName.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr size_t StampLength = 16;  // "_YYYYMMDD_hhmmss"

// Not isdigit(3), which follows the process's locale.
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Only the form is tested, not whether the digits are a date: a stamp of an unset clock is one,
// too. Requires: StampLength characters, which Matches has checked.
bool IsStamp(std::string_view strText) {
  for (size_t i = 0; i < StampLength; ++i) {
    const bool bUnderscore = i == 0 || i == 9;
    if (bUnderscore ? strText[i] != '_' : !IsDigit(strText[i])) return false;
  }
  return true;
}

// A lone underscore passes; Number then returns the empty text, which stands for 0.
bool IsSuffix(std::string_view strText) {
  if (strText.empty()) return true;
  return strText[0] == '_' && std::all_of(strText.begin() + 1, strText.end(), IsDigit);
}

std::string_view ExtensionOf(std::string_view strName) {
  const size_t uDot = strName.rfind('.');
  return uDot == std::string_view::npos ? std::string_view() : strName.substr(uDot);
}

}  // namespace

CWyBackupName::CWyBackupName(std::string_view strFileName)
    : m_strStem(strFileName), m_strExtension(ExtensionOf(strFileName)) {
  m_strStem.remove_suffix(m_strExtension.size());
}

bool CWyBackupName::Matches(std::string_view strEntry) const {
  // The length first: the parts behind it are cut out at fixed places.
  return strEntry.size() >= m_strStem.size() + StampLength + m_strExtension.size() &&
         strEntry.starts_with(m_strStem) && IsStamp(Stamp(strEntry)) &&
         IsSuffix(Suffix(strEntry)) && ExtensionOf(strEntry) == m_strExtension;
}

std::string_view CWyBackupName::Stamp(std::string_view strBackup) const {
  return strBackup.substr(m_strStem.size(), StampLength);
}

std::string_view CWyBackupName::Suffix(std::string_view strBackup) const {
  strBackup.remove_prefix(m_strStem.size() + StampLength);
  return strBackup.substr(0, strBackup.find('.'));
}

// "_1" and "_01" are the same number, which programs with another number of digits may have
// written.
std::string_view CWyBackupName::Number(std::string_view strBackup) const {
  std::string_view strSuffix = Suffix(strBackup);
  strSuffix.remove_prefix(std::min(strSuffix.find_first_not_of("_0"), strSuffix.size()));
  return strSuffix;
}

// A total order: names with equal stamps and numbers ("_1" and "_01") are compared as texts.
bool CWyBackupName::IsOlder(std::string_view strFirst, std::string_view strSecond) const {
  const int iStamps = Stamp(strFirst).compare(Stamp(strSecond));
  if (iStamps != 0) return iStamps < 0;
  const std::string_view strFirstNumber = Number(strFirst);
  const std::string_view strSecondNumber = Number(strSecond);
  if (strFirstNumber != strSecondNumber) return IsLower(strFirstNumber, strSecondNumber);
  return strFirst < strSecond;
}

// Two digits at least: up to 99 backups of a second are in order in a listing of the directory.
std::string CWyBackupName::Make(std::string_view strStamp, std::string_view strNumber) const {
  std::string strName(m_strStem);
  strName += strStamp;
  if (!strNumber.empty()) strName += strNumber.size() < 2 ? "_0" : "_";
  strName += strNumber;
  strName += m_strExtension;
  return strName;
}

std::string CWyBackupName::MakeStamp(const tm& time) {
  // Room for six ints of any value: a wrong clock may return such a time.
  char szStamp[96];
  const int iLength =
      snprintf(szStamp, sizeof szStamp, "_%04d%02d%02d_%02d%02d%02d", time.tm_year + 1900,
               time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
  return std::string(szStamp, static_cast<size_t>(iLength));
}

// The empty text, which stands for no number, is followed by 1.
std::string CWyBackupName::NextNumber(std::string_view strNumber) {
  std::string strNext(strNumber);
  for (size_t i = strNext.size(); i > 0; --i) {
    char& cDigit = strNext[i - 1];
    if (cDigit != '9') {
      ++cDigit;
      return strNext;
    }
    cDigit = '0';
  }
  return "1" + strNext;
}

// Without leading zeros a longer number is the higher one.
bool CWyBackupName::IsLower(std::string_view strNumber, std::string_view strOther) {
  if (strNumber.size() != strOther.size()) return strNumber.size() < strOther.size();
  return strNumber < strOther;
}
