#ifndef WYLOGCTL_TRANSLATION_H
#define WYLOGCTL_TRANSLATION_H

// Showing a log in another language: the text of a record is parsed by the pattern of its key,
// and assembled again by the pattern of the other language.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/wylogctl/Manifest.h"

// A pattern as the texts between its placeholders, and which argument each placeholder is.
class CWyTextPattern {
 public:
  explicit CWyTextPattern(const std::string& strPattern);

  enum class Result { NoMatch, Unique, Ambiguous };

  // Takes a text apart; the arguments by their numbers. Ambiguous when they could be others.
  Result Match(std::string_view text, std::vector<std::string>& arguments) const;

  // How many bytes of a text must be as the pattern says.
  std::size_t LiteralSize() const;

 private:
  bool FromLeft(std::string_view text, std::vector<std::string_view>& values) const;
  bool FromRight(std::string_view text, std::vector<std::string_view>& values) const;

  std::vector<std::string> m_literals;  // one more than placeholders
  std::vector<std::size_t> m_placeholders;
};

class CWyTranslator {
 public:
  // Returns false, with the error reported, if no catalog has the language.
  bool Set(CWyContext& context, const CWyManifests& manifests, const std::string& strLanguage);
  bool IsSet() const { return m_pManifests != nullptr; }

  enum class Result { Translated, Same, Ambiguous, Unknown };

  // The record's text in the language. Otherwise than Translated it is the original.
  Result Translate(const WyRecord& record, std::string& strText);

 private:
  struct Entry {
    std::vector<CWyTextPattern> sources;
    std::string strTarget;
  };
  const Entry* Find(std::string_view key);

  const CWyManifests* m_pManifests = nullptr;
  std::string m_strLanguage;
  std::map<std::string, std::optional<Entry>, std::less<>> m_entries;
};

#endif
