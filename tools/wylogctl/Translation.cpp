// A text is matched from the left and from the right. The places of the placeholders are the same
// both ways exactly when there is one way to match, because each finds the first, and the last,
// that fits.

#include "tools/wylogctl/Translation.h"

#include <wyxlate/WyXlate.h>

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t MaxArguments = 13;
// A message has at most 4095 bytes; filled with arguments of another language it may be longer.
constexpr std::size_t MaxText = 65536;

// Fills a pattern's placeholders by the rules of the translation library itself.
std::string Fill(const std::string& strPattern, const std::vector<std::string>& arguments) {
  std::vector<const char*> pointers;
  pointers.reserve(arguments.size());
  for (const std::string& strArgument : arguments) pointers.push_back(strArgument.c_str());
  std::string strText(MaxText, '\0');
  const int iSize = CWyXlate::FormatMessage(strText.data(), MaxText - 1, strPattern.c_str(),
                                            pointers.size(), pointers.data());
  strText.resize(iSize > 0 ? static_cast<std::size_t>(iSize) : 0);
  return strText;
}

// "de" for "de_DE" and "de-AT".
std::string LanguageOf(const std::string& strLocale) {
  return strLocale.substr(0, strLocale.find_first_of("_-"));
}

}  // namespace

// Each placeholder is filled with a mark and its number, and the result cut at the marks. In this
// way the library's own formatter decides what a placeholder is. \x01 is in no pattern: the
// compiler of messages refuses control characters.
CWyTextPattern::CWyTextPattern(const std::string& strPattern) {
  std::vector<std::string> marks;
  for (std::size_t i = 0; i < MaxArguments; ++i) {
    marks.push_back(std::string("\x01") + static_cast<char>('A' + i));
  }
  std::string strFilled = Fill(strPattern, marks);
  std::string_view rest = strFilled;
  for (;;) {
    const std::size_t u = rest.find('\x01');
    m_literals.emplace_back(rest.substr(0, u));
    if (u == std::string_view::npos || u + 1 >= rest.size()) return;
    m_placeholders.push_back(static_cast<std::size_t>(rest[u + 1] - 'A'));
    rest.remove_prefix(u + 2);
  }
}

std::size_t CWyTextPattern::LiteralSize() const {
  std::size_t uSize = 0;
  for (const std::string& strLiteral : m_literals) uSize += strLiteral.size();
  return uSize;
}

bool CWyTextPattern::FromLeft(std::string_view text, std::vector<std::string_view>& values) const {
  for (std::size_t i = 0; i < m_placeholders.size(); ++i) {
    const std::string& strNext = m_literals[i + 1];
    const bool bLast = i + 1 == m_placeholders.size();
    const std::size_t u =
        bLast ? text.size() - std::min(strNext.size(), text.size()) : text.find(strNext);
    if (u == std::string_view::npos || text.substr(u, strNext.size()) != strNext) return false;
    values.push_back(text.substr(0, u));
    text.remove_prefix(u + strNext.size());
  }
  return true;
}

bool CWyTextPattern::FromRight(std::string_view text, std::vector<std::string_view>& values) const {
  text = text.substr(0, text.size() - m_literals.back().size());
  for (std::size_t i = m_placeholders.size(); i-- > 0;) {
    if (i == 0) {
      values.push_back(text);
      break;
    }
    const std::string& strBefore = m_literals[i];
    const std::size_t u = text.rfind(strBefore);
    if (u == std::string_view::npos) return false;
    values.push_back(text.substr(u + strBefore.size()));
    text = text.substr(0, u);
  }
  std::reverse(values.begin(), values.end());
  return true;
}

// A placeholder that is used twice must have one value at both places.
CWyTextPattern::Result CWyTextPattern::Match(std::string_view text,
                                             std::vector<std::string>& arguments) const {
  arguments.assign(MaxArguments, "");
  if (m_placeholders.empty()) {
    return text == m_literals[0] ? Result::Unique : Result::NoMatch;
  }
  if (!text.starts_with(m_literals[0])) return Result::NoMatch;
  text.remove_prefix(m_literals[0].size());
  std::vector<std::string_view> left;
  std::vector<std::string_view> right;
  if (!FromLeft(text, left)) return Result::NoMatch;
  if (!FromRight(text, right) || left != right) return Result::Ambiguous;
  std::array<bool, MaxArguments> seen{};
  for (std::size_t i = 0; i < left.size(); ++i) {
    std::string& strArgument = arguments[m_placeholders[i]];
    if (seen[m_placeholders[i]] && strArgument != left[i]) return Result::NoMatch;
    seen[m_placeholders[i]] = true;
    strArgument = left[i];
  }
  return Result::Unique;
}

bool CWyTranslator::Set(CWyContext& context, const CWyManifests& manifests,
                        const std::string& strLanguage) {
  std::string strKnown;
  bool bFound = strLanguage == "en";
  for (const WyKnownComponent& component : manifests.Components()) {
    for (const std::string& strLocale : manifests.Locales(component)) {
      bFound = bFound || strLocale == strLanguage || LanguageOf(strLocale) == strLanguage;
      const std::string strEntry = " " + (strLocale.empty() ? "en" : strLocale);
      if (strKnown.find(strEntry) == std::string::npos) strKnown += strEntry;
    }
  }
  if (!bFound) {
    context.Error("--lang " + strLanguage + ": no catalog in this language; there are:" +
                  (strKnown.empty() ? " none (--messages DIR says where they are)" : strKnown));
    return false;
  }
  m_pManifests = &manifests;
  m_strLanguage = strLanguage;
  return true;
}

const CWyTranslator::Entry* CWyTranslator::Find(std::string_view key) {
  const auto known = m_entries.find(key);
  if (known != m_entries.end()) return known->second ? &*known->second : nullptr;
  auto& entry = m_entries[std::string(key)];
  const WyKnownMessage* const pMessage = m_pManifests->ByKey(key);
  if (pMessage == nullptr) return nullptr;
  Entry made;
  for (const WyTranslation& text : m_pManifests->Translations(*pMessage)) {
    // No text in this catalog.
    if (text.uLine == 0) continue;
    made.sources.emplace_back(text.strText);
    const std::string strLocale = text.strLocale.empty() ? "en" : text.strLocale;
    if (strLocale == m_strLanguage ||
        (made.strTarget.empty() && LanguageOf(strLocale) == LanguageOf(m_strLanguage))) {
      made.strTarget = text.strText;
    }
  }
  if (!made.strTarget.empty()) entry = std::move(made);
  return entry ? &*entry : nullptr;
}

CWyTranslator::Result CWyTranslator::Translate(const WyRecord& record, std::string& strText) {
  strText = record.text;
  if (record.key.empty()) return Result::Same;
  const Entry* const pEntry = Find(record.key);
  if (pEntry == nullptr) return Result::Unknown;
  std::optional<std::string> result;
  bool bMatched = false;
  std::vector<std::string> arguments;
  for (const CWyTextPattern& pattern : pEntry->sources) {
    const auto match = pattern.Match(record.text, arguments);
    if (match == CWyTextPattern::Result::NoMatch) continue;
    if (match == CWyTextPattern::Result::Ambiguous) return Result::Ambiguous;
    std::string strMade = Fill(pEntry->strTarget, arguments);
    // Two languages whose patterns both match, and give two texts.
    if (bMatched && strMade != *result) return Result::Ambiguous;
    result = std::move(strMade);
    bMatched = true;
  }
  if (!bMatched) return Result::Unknown;
  const bool bSame = *result == strText;
  strText = *result;
  return bSame ? Result::Same : Result::Translated;
}
