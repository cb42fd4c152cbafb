#ifndef WYLOGCTL_TABLE_H
#define WYLOGCTL_TABLE_H

// Results of a few columns, printed as -o asks for: aligned for people, as JSON, or as CSV.
//
//   CWyTable table(context, {"key", "count"});
//   table.Row({"login-00001", std::uint64_t{5}});
//   table.End();

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/wylogctl/Context.h"

// A text, a number, or nothing: absent in JSON.
using WyCell = std::variant<std::monostate, std::string, std::uint64_t>;

class CWyTable {
 public:
  CWyTable(CWyContext& context, std::vector<std::string> columns);

  // One value for each column. `strBehind` is printed behind the row, for people alone.
  void Row(std::vector<WyCell> cells, std::string strBehind = "");
  void End();

 private:
  void PrintJson(const std::vector<WyCell>& cells);
  void PrintCsv(const std::vector<WyCell>& cells);
  void PrintRows();

  CWyContext& m_context;
  std::vector<std::string> m_columns;
  std::vector<std::vector<std::string>> m_rows;
  std::vector<std::string> m_behind;
  std::vector<bool> m_numbers;  // columns of numbers, aligned to the right
};

#endif
