// Entries first, one by one; then what needs all catalogs, or the lock file.
#include "tools/wymsgc/Catalog.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "platform/wyxlate/LocaleName.h"
#include "platform/wyxlate/PropertiesFile.h"
#include "tools/wymsgc/CatalogEntry.h"
#include "tools/wymsgc/Encoding.h"

namespace {

using Kind = WyBundleMessage::Kind;

std::string Quoted(std::string_view word) { return '`' + std::string(word) + '`'; }

WyLocation WholeFile(const std::string& strFile) { return {strFile, 0, 0, 0, {}}; }

std::string NameOf(const WyBundleMessage& message) {
  return "message " + std::to_string(message.uNumber) + ", " + Quoted(message.strName);
}

// Whether there is something to translate: a letter outside placeholders.
bool HasWords(std::string_view pattern) {
  return std::any_of(pattern.begin(), pattern.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c & 0x80) != 0;
  });
}

// The entries are read by the library's own parser, so that what is checked is what will be loaded.
class CWyCatalogReader {
 public:
  CWyCatalogReader(const CWySourceText& source, const std::string& strLocale,
                   const CWyBundle& bundle, CWyDiagnostics& diagnostics)
      : m_source(source),
        m_bundle(bundle),
        m_diagnostics(diagnostics),
        m_catalog{source.File(), strLocale, {}, true} {}

  WyCatalog Read() {
    m_catalog.bReadable = CheckEncoding(m_source, m_diagnostics);
    if (m_catalog.bReadable) {
      VisitProperties(m_source.Text(), [this](const PropertyEntry& entry) { ReadEntry(entry); });
    }
    return std::move(m_catalog);
  }

 private:
  void ReadEntry(const PropertyEntry& entry);
  void ReportUnknown(std::string_view key, const std::string& strKey,
                     const WyBundleMessage* pMessage);
  void CheckText(const WyTranslation& translation, const WyBundleMessage& message);

  const CWySourceText& m_source;
  const CWyBundle& m_bundle;
  CWyDiagnostics& m_diagnostics;
  WyCatalog m_catalog;
  std::map<unsigned int, std::string_view> m_keys;  // where they stand
};

void CWyCatalogReader::ReadEntry(const PropertyEntry& entry) {
  CheckEscapes(m_source, entry, m_diagnostics);
  const std::string strKey = UnescapeProperty(entry.line.substr(0, entry.nKeyLength));
  const std::string_view key(entry.InText(0), std::max<std::size_t>(entry.nKeyLength, 1));
  // After unescaping: "a\u002Db" is the key "a-b" to the library.
  const WyBundleMessage* const pMessage = m_bundle.Find(strKey);
  if (pMessage == nullptr || pMessage->kind != Kind::Translated) {
    return ReportUnknown(key, strKey, pMessage);
  }
  if (const auto [first, bNew] = m_keys.emplace(pMessage->uNumber, key); !bNew) {
    m_diagnostics.Error("M212", m_source.At(key), "second entry for " + Quoted(strKey))
        .Help("the library takes the last; remove one")
        .Note(m_source.At(first->second), "the first is here");
    return;
  }
  WyTranslation translation{UnescapeProperty(entry.line.substr(entry.nValue)), {}};
  const std::string_view value = entry.line.substr(entry.nValue);
  translation.where =
      m_source.At({entry.InText(entry.nValue), std::max<std::size_t>(value.size(), 1)});
  CheckPattern(m_source, entry, translation.strText, *pMessage, m_diagnostics);
  CheckText(translation, *pMessage);
  m_catalog.translations.emplace(pMessage->uNumber, std::move(translation));
}

void CWyCatalogReader::ReportUnknown(std::string_view key, const std::string& strKey,
                                     const WyBundleMessage* pMessage) {
  WyDiagnostic& error =
      m_diagnostics.Error("M211", m_source.At(key), "unknown key " + Quoted(strKey));
  if (pMessage == nullptr) {
    error.Help(DidYouMean(m_bundle.NearestKey(strKey)));
  } else if (pMessage->kind == Kind::Retired) {
    error.Help(NameOf(*pMessage) + ", is retired; remove the entry");
  } else {
    error.Help(NameOf(*pMessage) +
               ", has a printf pattern and is not translated; remove the entry");
  }
}

void CWyCatalogReader::CheckText(const WyTranslation& translation, const WyBundleMessage& message) {
  if (translation.strText.size() > MaxTextLength) {
    m_diagnostics
        .Warning("M304", translation.where,
                 "text of " + std::to_string(translation.strText.size()) + " bytes")
        .Help("the library cuts it to " + std::to_string(MaxTextLength) + " bytes");
  }
  const bool bSame = translation.strText == message.strPattern;
  if (m_catalog.strLocale.empty()) {
    if (bSame) return;
    m_diagnostics.Warning("M310", translation.where, "not the text that the manifest has")
        .Help("manifest and catalog are of different versions; the manifest has: " +
              message.strPattern);
  } else if (bSame && HasWords(message.strPattern) && !m_catalog.strLocale.starts_with("en")) {
    m_diagnostics.Warning("M303", translation.where, "translation equal to the English text")
        .Help("translate it, or remove the entry: the library falls back to English by itself");
  }
}

// Whether `strLocale` is, or is more general than, `strOther`: "de" of "de_CH". The library looks
// up "de_CH", then "de": an entry of the general catalog serves the particular one.
bool Covers(const std::string& strLocale, const std::string& strOther) {
  return strOther == strLocale || strOther.starts_with(strLocale + '_');
}

bool IsTranslated(const std::vector<WyCatalog>& catalogs, const std::string& strLocale,
                  unsigned int uNumber) {
  return std::any_of(catalogs.begin(), catalogs.end(), [&](const WyCatalog& catalog) {
    return Covers(catalog.strLocale, strLocale) && catalog.translations.contains(uNumber);
  });
}

void ReportMissing(const WyCatalog& catalog, const WyBundleMessage& message, bool bRequired,
                   CWyDiagnostics& diagnostics) {
  const WyLocation where = WholeFile(catalog.strFile);
  const std::string strText = NameOf(message) + ", is not translated";
  WyDiagnostic& diagnostic = bRequired ? diagnostics.Error("M301", where, strText)
                                       : diagnostics.Warning("M301", where, strText);
  diagnostic.Help("add: " + message.strKey + " = " + message.strPattern);
}

}  // namespace

std::optional<std::string> LocaleOfCatalog(const std::string& strFile, const std::string& strBundle,
                                           bool bEnglish, CWyDiagnostics& diagnostics) {
  const std::string strName = std::filesystem::path(strFile).filename().string();
  constexpr std::string_view Ending = ".properties";
  const bool bOfBundle = strName.starts_with(strBundle) && strName.ends_with(Ending);
  const std::string strRest =
      bOfBundle ? strName.substr(strBundle.size(),
                                 std::max(strName.size(), strBundle.size() + Ending.size()) -
                                     strBundle.size() - Ending.size())
                : "";
  // Only where catalogs are installed: beside a definition, an English catalog would be a second
  // source of the texts.
  if (bEnglish && bOfBundle && strRest.empty()) return std::string();
  const std::string strLocale = strRest.starts_with('_') ? strRest.substr(1) : "";
  const std::string strCanonical = CanonicalLocale(strLocale);
  if (!strLocale.empty() && strCanonical == strLocale) return strLocale;
  WyDiagnostic& error =
      diagnostics.Error("M210", WholeFile(strFile),
                        Quoted(strName) + " is no catalog of the bundle " + Quoted(strBundle));
  if (bOfBundle && strRest.empty()) {
    error.Help("the English texts are in the definition; the compiler writes this file");
  } else if (!strLocale.empty() && !strCanonical.empty()) {
    error.Help(DidYouMean(strBundle + '_' + strCanonical + ".properties"));
  } else {
    error.Help("catalogs are named BUNDLE_LOCALE.properties, such as " +
               Quoted(strBundle + "_de.properties"));
  }
  return std::nullopt;
}

WyCatalog ReadCatalog(const CWySourceText& source, const std::string& strLocale,
                      const CWyBundle& bundle, CWyDiagnostics& diagnostics) {
  return CWyCatalogReader(source, strLocale, bundle, diagnostics).Read();
}

void CheckCompleteness(const std::vector<WyCatalog>& catalogs, const CWyBundle& bundle,
                       const std::set<std::string>& required, const WyLocation& definition,
                       CWyDiagnostics& diagnostics) {
  for (const WyCatalog& catalog : catalogs) {
    for (const WyBundleMessage& message : bundle.Messages()) {
      if (message.kind != Kind::Translated || !catalog.bReadable) continue;
      if (IsTranslated(catalogs, catalog.strLocale, message.uNumber)) continue;
      ReportMissing(catalog, message, required.contains(catalog.strLocale), diagnostics);
    }
  }
  for (const std::string& strLocale : required) {
    const auto isOf = [&](const WyCatalog& catalog) { return catalog.strLocale == strLocale; };
    if (std::any_of(catalogs.begin(), catalogs.end(), isOf)) continue;
    diagnostics.Error("M301", definition, "there is no catalog for `" + strLocale + '`')
        .Help("add " + Quoted(bundle.Name() + '_' + strLocale + ".properties"));
  }
}

void CheckFreshness(const WyCatalog& catalog, const CWyBundle& bundle,
                    const LockedTranslations& locked, CWyDiagnostics& diagnostics) {
  for (const WyBundleMessage& message : bundle.Messages()) {
    const auto translation = catalog.translations.find(message.uNumber);
    const auto state = locked.find({catalog.strLocale, message.uNumber});
    if (translation == catalog.translations.end() || state == locked.end()) continue;
    const bool bSourceChanged = state->second.uSource != TextChecksum(message.strPattern);
    const bool bTranslationChanged =
        state->second.uTranslation != TextChecksum(translation->second.strText);
    // A translation that was changed since was made with the present text in view; the next update
    // of the lock records that.
    if (!bSourceChanged || bTranslationChanged) continue;
    diagnostics
        .Warning("M302", translation->second.where,
                 "translation of " + NameOf(message) + ", is older than the English text")
        .Help("the English text is now: " + message.strPattern)
        .Help("if the translation still fits: `wymsgc lock --update --reviewed " +
              catalog.strLocale + '`');
  }
}

// An unchanged translation keeps the checksum of the text that it was made from: taking today's
// would hide that it is out of date. `reviewed` is a person's word that it still fits.
LockedTranslations StateOfTranslations(const std::vector<WyCatalog>& catalogs,
                                       const CWyBundle& bundle, const LockedTranslations& before,
                                       const std::set<std::string>& reviewed) {
  LockedTranslations state;
  for (const WyCatalog& catalog : catalogs) {
    for (const WyBundleMessage& message : bundle.Messages()) {
      const auto translation = catalog.translations.find(message.uNumber);
      if (translation == catalog.translations.end()) continue;
      WyLockedTranslation sums{TextChecksum(message.strPattern),
                               TextChecksum(translation->second.strText)};
      const auto old = before.find({catalog.strLocale, message.uNumber});
      const bool bUnchanged = old != before.end() && old->second.uTranslation == sums.uTranslation;
      if (bUnchanged && !reviewed.contains(catalog.strLocale)) sums.uSource = old->second.uSource;
      state[{catalog.strLocale, message.uNumber}] = sums;
    }
  }
  return state;
}
