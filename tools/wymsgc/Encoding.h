#ifndef WYERRLOG_TOOLS_WYMSGC_ENCODING_H
#define WYERRLOG_TOOLS_WYMSGC_ENCODING_H

// What definitions and catalogs have in common as text files.

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"

// Reports what no definition and no catalog may have: a byte order mark, bytes that are no UTF-8,
// carriage returns, other control characters. Returns false when the text is not worth reading
// further.
bool CheckEncoding(const CWySourceText& source, CWyDiagnostics& diagnostics);

#endif
