#ifndef WYLOGCTL_TRACELAYOUTS_H
#define WYLOGCTL_TRACELAYOUTS_H

// The trace layouts: the values, and what of the record cannot be told for certain.

#include <string_view>

#include "tools/wylogctl/Record.h"

// The record's fields from its text without the last newline.
void WyParseTrace(WyRecord& record, std::string_view body);

#endif
