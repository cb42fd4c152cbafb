#ifndef WYERRLOG_TOOLS_WYMSGC_DEFINITIONCHECK_H
#define WYERRLOG_TOOLS_WYMSGC_DEFINITIONCHECK_H

// What the statements of a definition have to agree on.

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wymsgc/Definition.h"

// Checks a definition whose texts have been read, and puts its messages and sub-components in the
// order of their numbers.
void CheckDefinition(const CWySourceText& source, WyDefinition& definition,
                     CWyDiagnostics& diagnostics);

#endif
