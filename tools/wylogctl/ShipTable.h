#ifndef WYLOGCTL_SHIPTABLE_H
#define WYLOGCTL_SHIPTABLE_H

// What ship check prints: a table for people with the findings beside it, or rows of both for
// programs.

#include <deque>
#include <string>

#include "tools/common/Diagnostic.h"
#include "tools/wylogctl/ShipLog.h"

std::string WyBytesText(double dBytes);   // "566 kB"
std::string WyTimeText(double dSeconds);  // "18 s", "8.0 h"

void WyPrintShipLogs(CWyContext& context, const std::deque<CWyShipLog>& logs,
                     const CWyDiagnostics& diagnostics);

#endif
