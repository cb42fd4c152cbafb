#ifndef WYERRLOG_TOOLS_WYMSGC_DEFINITIONREADER_H
#define WYERRLOG_TOOLS_WYMSGC_DEFINITIONREADER_H

// Reads a definition and checks it by itself. Whatever is wrong is reported; the reader goes on
// behind it, so that one run reports everything.

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wymsgc/Definition.h"

// The definition in `source`. It may be used further only if `diagnostics` has no errors.
WyDefinition ReadDefinition(const CWySourceText& source, CWyDiagnostics& diagnostics);

#endif
