// Reading options from a text: words between blanks, each "name=value" or a name alone. A table
// says what each name sets; whatever is not in it is refused with the name that is most like it.

#include "wyerrlog/internal/WyFileOptionsText.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>
#include <vector>

#include "wyerrlog/WyEscape.h"
#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/internal/WyEditDistance.h"

namespace {

// A value that has a name.
struct NamedValue {
  std::string_view strName;
  int iValue;
};

constexpr NamedValue Modes[] = {
    {"append", WyFileMode::Append},
    {"overwrite", WyFileMode::Overwrite},
    {"rollAtOpen", WyFileMode::RollAtOpen},
    {"appendRollBySize", WyFileMode::AppendRollBySize},
    {"rollAtOpenAndBySize", WyFileMode::RollAtOpenAndBySize},
};
constexpr NamedValue Layouts[] = {
    {"brackets", WyTraceLayout::Brackets},   {"fixedWidth", WyTraceLayout::FixedWidth},
    {"delimited", WyTraceLayout::Delimited}, {"xml", WyTraceLayout::Xml},
    {"json", WyTraceLayout::Json},
};
constexpr NamedValue Flags[] = {{"true", 1}, {"false", 0}};

constexpr int Unlimited = 1000000000;  // backups and days: beyond all use
constexpr int LargestSizeMB = 4095;    // as of WyFileOptions
constexpr int AllPermissions = 0777;

// Looks a name up. Returns false if it is not in the table.
template <size_t uCount>
bool FindValue(const NamedValue (&table)[uCount], std::string_view strName, int& iValue) {
  const auto* const pRow =
      std::find_if(std::begin(table), std::end(table),
                   [&](const NamedValue& row) { return row.strName == strName; });
  if (pRow == std::end(table)) return false;
  iValue = pRow->iValue;
  return true;
}

template <size_t uCount>
std::string ListOf(const NamedValue (&table)[uCount]) {
  std::string strList;
  for (const NamedValue& row : table) {
    strList.append(strList.empty() ? "" : ", ").append(row.strName);
  }
  return strList;
}

// Texts of a host's configuration may have control characters, and the error goes to a terminal.
std::string Quoted(std::string_view strText) { return '"' + WyEscape(strText) + '"'; }

// The setting of one option: returns an empty text, or what the value has to be.
using Setting = std::string (*)(std::string_view strValue, WyTextOptions& options);

template <int iBase>
bool ReadNumber(std::string_view strValue, int iLargest, int& iValue) {
  const char* const pEnd = strValue.data() + strValue.size();
  int iRead = 0;
  const auto result = std::from_chars(strValue.data(), pEnd, iRead, iBase);
  if (result.ec != std::errc() || result.ptr != pEnd || iRead < 0 || iRead > iLargest) return false;
  iValue = iRead;
  return true;
}

template <int WyFileOptions::*pMember, int iLargest>
std::string SetNumber(std::string_view strValue, WyTextOptions& options) {
  if (ReadNumber<10>(strValue, iLargest, options.file.*pMember)) return {};
  return "a number from 0 to " + std::to_string(iLargest);
}

template <bool WyFileOptions::*pMember>
std::string SetFlag(std::string_view strValue, WyTextOptions& options) {
  int iValue = 1;
  if (!strValue.empty() && !FindValue(Flags, strValue, iValue)) return ListOf(Flags);
  options.file.*pMember = iValue != 0;
  return {};
}

std::string SetPermissions(std::string_view strValue, WyTextOptions& options) {
  int iValue = 0;
  if (!ReadNumber<8>(strValue, AllPermissions, iValue)) return "an octal number from 0200 to 0777";
  options.file.permissions = static_cast<unsigned int>(iValue);
  return {};
}

std::string SetMode(std::string_view strValue, WyTextOptions& options) {
  return FindValue(Modes, strValue, options.file.mode) ? "" : "one of " + ListOf(Modes);
}

std::string SetLayout(std::string_view strValue, WyTextOptions& options) {
  return FindValue(Layouts, strValue, options.iLayout) ? "" : "one of " + ListOf(Layouts);
}

std::string SetDelimiter(std::string_view strValue, WyTextOptions& options) {
  options.strDelimiter = strValue;
  return strValue.empty() ? "a text" : "";
}

struct Option {
  std::string_view strName;
  Setting pfnSet;
  bool bTrace = false;  // of traces alone
};

constexpr Option Options[] = {
    {"mode", SetMode},
    {"maxSizeMB", SetNumber<&WyFileOptions::maxSizeMB, LargestSizeMB>},
    {"backups", SetNumber<&WyFileOptions::backups, Unlimited>},
    {"permissions", SetPermissions},
    {"synchronous", SetFlag<&WyFileOptions::synchronous>},
    {"daily", SetFlag<&WyFileOptions::daily>},
    {"maxAgeDays", SetNumber<&WyFileOptions::maxAgeDays, Unlimited>},
    {"shared", SetFlag<&WyFileOptions::shared>},
    {"layout", SetLayout, true},
    {"delimiter", SetDelimiter, true},
};

// ---- Words --------------------------------------------------------------------------------------

struct Word {
  std::string_view strName;
  std::string_view strValue;
};

constexpr std::string_view Blanks = " \t\r\n";

// Takes the next word off the text. Returns false at its end; a quote that is not closed has the
// rest of the text as its value.
bool TakeWord(std::string_view& strText, Word& word) {
  strText.remove_prefix(std::min(strText.find_first_not_of(Blanks), strText.size()));
  if (strText.empty()) return false;
  const size_t uName = std::min(strText.find_first_of(" \t\r\n="), strText.size());
  word = {strText.substr(0, uName), {}};
  strText.remove_prefix(uName);
  if (!strText.starts_with('=')) return true;
  strText.remove_prefix(1);
  const bool bQuoted = strText.starts_with('\'') || strText.starts_with('"');
  const std::string_view strEnd = bQuoted ? strText.substr(0, 1) : Blanks;
  if (bQuoted) strText.remove_prefix(1);
  const size_t uValue = std::min(strText.find_first_of(strEnd), strText.size());
  word.strValue = strText.substr(0, uValue);
  strText.remove_prefix(std::min(uValue + (bQuoted ? 1 : 0), strText.size()));
  return true;
}

std::string Unknown(std::string_view strName, bool bTrace) {
  std::vector<std::string_view> names;
  for (const Option& option : Options) {
    if (bTrace || !option.bTrace) names.push_back(option.strName);
  }
  const std::string_view strNearest = NearestName(strName, names);
  std::string strError = "option " + Quoted(strName) + " is unknown";
  if (!strNearest.empty()) return strError + "; did you mean " + Quoted(strNearest) + "?";
  strError += "; options are";
  for (const std::string_view strKnown : names) strError.append(" ").append(strKnown);
  return strError;
}

}  // namespace

std::string WyReadFileOptions(std::string_view strText, bool bTrace, WyTextOptions& options) {
  bool abSeen[std::size(Options)] = {};
  for (Word word; TakeWord(strText, word);) {
    const auto* const pOption =
        std::find_if(std::begin(Options), std::end(Options), [&](const Option& option) {
          return option.strName == word.strName && (bTrace || !option.bTrace);
        });
    if (pOption == std::end(Options)) return Unknown(word.strName, bTrace);
    if (std::exchange(abSeen[pOption - std::begin(Options)], true)) {
      return "option " + Quoted(word.strName) + " is there twice; remove one of the two";
    }
    const std::string strWanted = pOption->pfnSet(word.strValue, options);
    if (strWanted.empty()) continue;
    return "option " + Quoted(word.strName) + " has the value " + Quoted(word.strValue) +
           "; it must be " + strWanted;
  }
  const bool bDelimited = options.iLayout == WyTraceLayout::Delimited;
  if (bDelimited && options.strDelimiter.empty()) return "layout=delimited needs a delimiter";
  if (!bDelimited && !options.strDelimiter.empty()) {
    return "the delimiter has no effect without layout=delimited";
  }
  const char* const pszConflict = WyConflictOf(options.file);
  return pszConflict != nullptr ? pszConflict : "";
}

const char* WyConflictOf(const WyFileOptions& options) {
  const bool bBySize = options.mode == WyFileMode::AppendRollBySize ||
                       options.mode == WyFileMode::RollAtOpenAndBySize;
  const bool bRollsOver = options.mode >= WyFileMode::RollAtOpen || options.daily;
  if (bBySize && options.maxSizeMB == 0) return "this mode needs maxSizeMB of 1 or more";
  if (!bBySize && options.maxSizeMB != 0) {
    return "maxSizeMB has no effect in this mode; add mode=appendRollBySize";
  }
  if (!bRollsOver && (options.backups != 0 || options.maxAgeDays != 0)) {
    return "backups and maxAgeDays have no effect on a file that is never rolled over; add daily "
           "or mode=appendRollBySize";
  }
  if ((options.permissions & 0200) == 0) return "permissions do not let the owner write";
  if (options.shared && options.mode == WyFileMode::Overwrite) {
    return "mode=overwrite would empty a shared file under the other processes; use mode=append";
  }
  return nullptr;
}
