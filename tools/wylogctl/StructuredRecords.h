#ifndef WYLOGCTL_STRUCTUREDRECORDS_H
#define WYLOGCTL_STRUCTUREDRECORDS_H

// Records that say themselves what is what: traces in the layout Json, and typed audit records in
// JSON or logfmt. Nothing in them is ambiguous: a record is what was logged, or it is torn.

#include <string_view>

#include "tools/wylogctl/Record.h"

// The record of one line, without its newline.
void WyParseTraceJson(WyRecord& record, std::string_view body);
void WyParseTypedAudit(WyRecord& record, std::string_view body);

#endif
