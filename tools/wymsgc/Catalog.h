#ifndef WYERRLOG_TOOLS_WYMSGC_CATALOG_H
#define WYERRLOG_TOOLS_WYMSGC_CATALOG_H

// Catalogs: the translations of a bundle, one file for each locale, read with the library's own
// reader of such files.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wymsgc/Bundle.h"
#include "tools/wymsgc/LockFile.h"

struct WyTranslation {
  std::string strText;
  WyLocation where;  // of the text
};

struct WyCatalog {
  std::string strFile;
  std::string strLocale;                               // "de_DE"; empty for the English texts
  std::map<unsigned int, WyTranslation> translations;  // by message number
  bool bReadable = true;  // false: the file is not worth reading, and has been reported
};

// The locale that a file name gives, "de" for "store_de.properties"; nothing, and a report, when
// the name is none of a catalog of the bundle. The English texts have an empty one; `bEnglish`
// allows them.
std::optional<std::string> LocaleOfCatalog(const std::string& strFile, const std::string& strBundle,
                                           bool bEnglish, CWyDiagnostics& diagnostics);

// Reads a catalog and checks each of its entries against its message.
WyCatalog ReadCatalog(const CWySourceText& source, const std::string& strLocale,
                      const CWyBundle& bundle, CWyDiagnostics& diagnostics);

// Reports what only all catalogs together show: messages that are not translated, also not in a
// more general locale, and locales in `required` without a catalog.
void CheckCompleteness(const std::vector<WyCatalog>& catalogs, const CWyBundle& bundle,
                       const std::set<std::string>& required, const WyLocation& definition,
                       CWyDiagnostics& diagnostics);

// Reports translations made from another source text than today's.
void CheckFreshness(const WyCatalog& catalog, const CWyBundle& bundle,
                    const LockedTranslations& locked, CWyDiagnostics& diagnostics);

// The state of the translations for the lock file. A translation that has not changed keeps the
// source text that it was made from, unless its locale is in `reviewed`.
LockedTranslations StateOfTranslations(const std::vector<WyCatalog>& catalogs,
                                       const CWyBundle& bundle, const LockedTranslations& before,
                                       const std::set<std::string>& reviewed);

#endif
