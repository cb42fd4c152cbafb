#ifndef WYERRLOG_INTERNAL_WYTRACEJSON_H
#define WYERRLOG_INTERNAL_WYTRACEJSON_H

// Trace records in the layout Json: one object on one line, its members named after the fields.

#include <string_view>

class CWyTextBuffer;

// Begin, one call for each field, end; the line then ends with a newline.
void WyBeginTraceJson(CWyTextBuffer& buffer);
void WyAppendTraceJsonField(CWyTextBuffer& buffer, bool bFirst, std::string_view name,
                            std::string_view value, bool bNumber);
void WyEndTraceJson(CWyTextBuffer& buffer);

#endif
