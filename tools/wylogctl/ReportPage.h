#ifndef WYLOGCTL_REPORTPAGE_H
#define WYLOGCTL_REPORTPAGE_H

// The page that wylogctl report prints: one HTML file without scripts, which loads nothing.

#include <string>

#include "tools/wylogctl/ReportData.h"

std::string WyReportPage(const WyReport& report);

#endif
