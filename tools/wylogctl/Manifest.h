#ifndef WYLOGCTL_MANIFEST_H
#define WYLOGCTL_MANIFEST_H

// What is known of the messages of components: from the manifests "<Name>.messages.json" that the
// message compiler writes, and the catalogs beside them. Nothing of a component is loaded or run.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/wylogctl/Context.h"
#include "tools/wylogctl/Record.h"

struct WyMessageArgument {
  std::string strName;
  std::string strType;
};

struct WyKnownMessage {
  unsigned int uId = 0;
  std::size_t uComponent = 0;  // index in Components()
  unsigned int uNumber = 0;
  std::string strKey;
  std::string strName;
  bool bPrintf = false;
  std::string strText;  // of the source language; the pattern of a printf-style message
  std::string strAdvice;
  WySeverityRank severity = WySeverityRank::None;
  std::vector<WyMessageArgument> arguments;

  std::string IdText() const;  // "0x0C004001"
};

struct WyKnownSubcomponent {
  unsigned int uNumber = 0;
  std::string strName;
  std::string strAbout;
};

struct WyKnownComponent {
  unsigned int uNumber = 0;
  std::string strName;
  std::string strBundle;
  std::string strAbout;
  std::string strFolder;  // of the manifest and the catalogs
  std::string strFile;
  std::vector<WyKnownSubcomponent> subcomponents;
};

// One text of one message in one catalog.
struct WyTranslation {
  std::string strLocale;  // "de_DE"; empty for the catalog without a locale
  std::string strFile;
  std::size_t uLine = 0;  // 0: not in this catalog
  std::string strText;
};

class CWyManifests {
 public:
  // Reads all manifests of the folders. What cannot be read is reported to the context; a folder
  // that the user did not name may be missing.
  void Load(CWyContext& context);

  const std::vector<WyKnownComponent>& Components() const { return m_components; }
  const std::vector<WyKnownMessage>& Messages() const { return m_messages; }
  const std::vector<std::string>& Folders() const { return m_folders; }

  const WyKnownMessage* ByKey(std::string_view key) const;
  const WyKnownMessage* ById(unsigned int uId) const;
  const WyKnownComponent& ComponentOf(const WyKnownMessage& message) const {
    return m_components[message.uComponent];
  }

  // The catalogs of a component, the one without a locale first. A printf-style message is in none.
  std::vector<std::string> Locales(const WyKnownComponent& component) const;
  std::vector<WyTranslation> Translations(const WyKnownMessage& message) const;

 private:
  void LoadFolder(CWyContext& context, const std::string& strFolder, bool bRequired);
  void LoadFile(CWyContext& context, const std::string& strFolder, const std::string& strFile);

  std::vector<WyKnownComponent> m_components;
  std::vector<WyKnownMessage> m_messages;
  std::vector<std::string> m_folders;
  std::unordered_map<std::string_view, std::size_t> m_byKey;
};

#endif
