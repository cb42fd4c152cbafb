#ifndef WYERRLOG_TOOLS_WYMSGC_BUNDLE_H
#define WYERRLOG_TOOLS_WYMSGC_BUNDLE_H

// What a translation is checked against: the messages of a bundle with their keys, arguments and
// English texts. It is created from a definition, or from an installed manifest.

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/wymsgc/Definition.h"

struct WyBundleMessage {
  enum class Kind { Translated, Printf, Retired };

  unsigned int uNumber = 0;
  std::string strKey;
  std::string strName;
  Kind kind = Kind::Translated;
  std::vector<std::string> arguments;  // names
  std::string strPattern;              // the English text in the form of a bundle
};

class CWyBundle {
 public:
  CWyBundle(std::string strName, std::vector<WyBundleMessage> messages);

  const std::string& Name() const { return m_strName; }
  const std::vector<WyBundleMessage>& Messages() const { return m_messages; }

  // The message with that key; null if there is none.
  const WyBundleMessage* Find(const std::string& strKey) const;

  // The key that is most like an unknown one; empty if none is near.
  std::string_view NearestKey(std::string_view key) const;

 private:
  std::string m_strName;
  std::vector<WyBundleMessage> m_messages;
  std::unordered_map<std::string, std::size_t> m_byKey;
};

CWyBundle MakeBundle(const WyDefinition& definition);

#endif
