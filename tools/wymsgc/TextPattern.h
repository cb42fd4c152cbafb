#ifndef WYERRLOG_TOOLS_WYMSGC_TEXTPATTERN_H
#define WYERRLOG_TOOLS_WYMSGC_TEXTPATTERN_H

// The texts of messages: "{name}" in a translated text is an argument, "{{" and "}}" are braces; in
// a printf pattern the conversions have to fit the arguments.

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wymsgc/Definition.h"

// Takes the texts of all messages apart and checks them against their arguments.
void ReadTexts(const CWySourceText& source, WyDefinition& definition, CWyDiagnostics& diagnostics);

#endif
