#ifndef WYERRLOG_TOOLS_WYMSGC_LOCKFILE_H
#define WYERRLOG_TOOLS_WYMSGC_LOCKFILE_H

// The lock file of a component: what has been released and must not change, because programs,
// catalogs and other people's scripts rely on it. It lies beside the definition, is checked in with
// it, and changes through `wymsgc lock --update` alone.
//
//   component 12 sessionstore
//   sub 1 Cleanup
//   message 1 info Opened file sessions
//   message 4 retired Closed
//   translation de 1 5d0a2c51 90ab12f0
//
// The last kind says which source text a translation was made from: checksums of both. As long as
// the translation is the same and the source text is another, the translation is out of date.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wymsgc/Definition.h"

struct WyLockedMessage {
  std::string_view severity;  // or "retired"
  std::string_view name;
  std::vector<std::string_view> arguments;
  std::string_view line;
};

struct WyLockedTranslation {
  std::uint32_t uSource, uTranslation;
};

using LockedTranslations = std::map<std::pair<std::string, unsigned int>, WyLockedTranslation>;

// The words of the messages are views into the file's text.
struct WyLock {
  std::string_view number, bundle;
  std::map<unsigned int, std::string_view> subComponents;
  std::map<unsigned int, WyLockedMessage> messages;
  LockedTranslations translations;
};

// The checksum of a text (FNV-1a).
std::uint32_t TextChecksum(std::string_view text);

// The lock in `source`; malformed lines are reported.
WyLock ReadLock(const CWySourceText& source, CWyDiagnostics& diagnostics);

// Reports what a definition changes of what is locked, at the place in the definition.
void CheckAgainstLock(const CWySourceText& definitionSource, const WyDefinition& definition,
                      const CWySourceText& lockSource, const WyLock& lock,
                      CWyDiagnostics& diagnostics);

// Reports that there is no lock file.
void ReportNoLock(const CWySourceText& definitionSource, const std::string& strLockFile,
                  CWyDiagnostics& diagnostics);

// The text of a lock file for a definition and the state of its translations.
std::string WriteLock(const WyDefinition& definition, const LockedTranslations& translations);

#endif
