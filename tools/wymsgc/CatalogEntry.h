#ifndef WYERRLOG_TOOLS_WYMSGC_CATALOGENTRY_H
#define WYERRLOG_TOOLS_WYMSGC_CATALOGENTRY_H

// One entry of a catalog, checked against its message. The pattern is parsed by the library's
// own reader, so that what is reported is what the library would do.

#include <string>

#include "platform/wyxlate/PropertiesFile.h"
#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wymsgc/Bundle.h"

// Reports malformed escapes of an entry, in its key and its value.
void CheckEscapes(const CWySourceText& source, const PropertyEntry& entry,
                  CWyDiagnostics& diagnostics);

// Reports what is wrong with the entry's text. `strText` is its value.
void CheckPattern(const CWySourceText& source, const PropertyEntry& entry,
                  const std::string& strText, const WyBundleMessage& message,
                  CWyDiagnostics& diagnostics);

// A pattern with its arguments replaced by their names in angle brackets, by the library.
std::string RenderedWithNames(const std::string& strPattern, const WyBundleMessage& message);

#endif
