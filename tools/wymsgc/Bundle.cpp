// Keys are found by hash; the nearest key, which needs a comparison with each, only for a misspelt
// one.
#include "tools/wymsgc/Bundle.h"

#include <utility>

#include "tools/common/EditDistance.h"

CWyBundle::CWyBundle(std::string strName, std::vector<WyBundleMessage> messages)
    : m_strName(std::move(strName)), m_messages(std::move(messages)) {
  for (std::size_t u = 0; u < m_messages.size(); ++u) m_byKey.emplace(m_messages[u].strKey, u);
}

const WyBundleMessage* CWyBundle::Find(const std::string& strKey) const {
  const auto found = m_byKey.find(strKey);
  return found == m_byKey.end() ? nullptr : &m_messages[found->second];
}

std::string_view CWyBundle::NearestKey(std::string_view key) const {
  std::vector<std::string_view> keys;
  for (const WyBundleMessage& message : m_messages) {
    if (message.kind == WyBundleMessage::Kind::Translated) keys.push_back(message.strKey);
  }
  // Retired messages and those that are not translated are no proposals: the entry would be wrong
  // again.
  return NearestName(key, keys);
}

CWyBundle MakeBundle(const WyDefinition& definition) {
  std::vector<WyBundleMessage> messages;
  messages.reserve(definition.messages.size());
  for (const WyMessageEntry& entry : definition.messages) {
    WyBundleMessage message;
    message.uNumber = entry.uNumber;
    message.strKey = MessageKey(definition, entry);
    message.strName = entry.name;
    for (const WyArgumentEntry& argument : entry.arguments) {
      message.arguments.emplace_back(argument.name);
    }
    if (entry.bRetired) {
      message.kind = WyBundleMessage::Kind::Retired;
    } else if (entry.bPrintf) {
      message.kind = WyBundleMessage::Kind::Printf;
    } else {
      message.strPattern = BundlePattern(entry);
    }
    messages.push_back(std::move(message));
  }
  return {std::string(definition.bundle), std::move(messages)};
}
