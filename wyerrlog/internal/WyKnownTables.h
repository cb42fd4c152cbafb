#ifndef WYERRLOG_INTERNAL_WYKNOWNTABLES_H
#define WYERRLOG_INTERNAL_WYKNOWNTABLES_H

// What trace configurations can select, as tables and as texts. Loggers with the same components
// share one table, so that a thousand loggers take the memory of one.

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "wyerrlog/WyTraceData.h"

// The components and sub-components, and the text of CWyLogger::GetAvailableComponents. The names
// are the table's own: the component that they come from may be gone before the table is.
struct WyComponentTable {
  std::string strText;
  std::vector<WyTraceComponentInfo> rows;
  std::deque<std::string> names;  // a deque, because the rows point at the texts

  void Add(unsigned int uId, std::string strName) {
    rows.push_back({false, uId, names.emplace_back(std::move(strName)).c_str()});
  }
};

// The data fields, and the text of CWyLogger::GetAvailableDataFields.
struct WyFieldTable {
  std::string strText;
  std::unique_ptr<WyTraceDataFieldInfo[]> pRows;
};

// Returns an equal table that another logger has, or the given one. Thread-safe.
std::shared_ptr<const WyComponentTable> WyShareTable(
    std::shared_ptr<const WyComponentTable> pTable);

// The table of the process, never destroyed. Throws std::bad_alloc. Thread-safe.
const WyFieldTable& WyKnownFields();

#endif
