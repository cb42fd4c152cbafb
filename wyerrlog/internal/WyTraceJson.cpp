// The layout's punctuation. Names are those of the known data fields, or the host's own if it
// formats a record by hand: they are escaped like values.

#include "wyerrlog/internal/WyTraceJson.h"

#include "wyerrlog/internal/WyJsonText.h"
#include "wyerrlog/internal/WyTextBuffer.h"

void WyBeginTraceJson(CWyTextBuffer& buffer) { buffer.Append('{'); }

void WyAppendTraceJsonField(CWyTextBuffer& buffer, bool bFirst, std::string_view name,
                            std::string_view value, bool bNumber) {
  if (!bFirst) buffer.Append(',');
  WyAppendJsonText(buffer, name);
  buffer.Append(':');
  if (bNumber) {
    WyAppendJsonNumber(buffer, value);
  } else {
    WyAppendJsonText(buffer, value);
  }
}

void WyEndTraceJson(CWyTextBuffer& buffer) { buffer.Append(std::string_view("}\n")); }
