// A table for people is printed when all its rows are known, because of the widths of the columns.

#include "tools/wylogctl/Table.h"

#include <algorithm>

#include "tools/common/Utf8.h"
#include "tools/wylogctl/JsonText.h"

namespace {

std::string TextOf(const WyCell& cell) {
  if (const auto* const pText = std::get_if<std::string>(&cell)) return *pText;
  if (const auto* const pNumber = std::get_if<std::uint64_t>(&cell))
    return std::to_string(*pNumber);
  return "";
}

}  // namespace

CWyTable::CWyTable(CWyContext& context, std::vector<std::string> columns)
    : m_context(context), m_columns(std::move(columns)), m_numbers(m_columns.size(), true) {
  if (m_context.options.strFormat != "csv") return;
  std::string strHeader;
  for (const std::string& strColumn : m_columns) {
    strHeader += (strHeader.empty() ? "" : ",") + strColumn;
  }
  m_context.out.Write(strHeader + "\n");
}

void CWyTable::Row(std::vector<WyCell> cells, std::string strBehind) {
  if (m_context.options.strFormat == "json") return PrintJson(cells);
  if (m_context.options.strFormat == "csv") return PrintCsv(cells);
  std::vector<std::string> row;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (std::holds_alternative<std::string>(cells[i])) m_numbers[i] = false;
    row.push_back(Printable(TextOf(cells[i])));
    for (char& c : row.back()) c = c == '\n' ? ' ' : c;
  }
  m_rows.push_back(std::move(row));
  m_behind.push_back(std::move(strBehind));
}

void CWyTable::PrintJson(const std::vector<WyCell>& cells) {
  std::string strLine;
  CWyJsonObject object(strLine);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (const auto* const pText = std::get_if<std::string>(&cells[i])) {
      object.Text(m_columns[i], *pText);
    } else if (const auto* const pNumber = std::get_if<std::uint64_t>(&cells[i])) {
      object.Number(m_columns[i], *pNumber);
    }
  }
  object.End();
  m_context.out.Write(strLine + "\n");
}

void CWyTable::PrintCsv(const std::vector<WyCell>& cells) {
  std::string strLine;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) strLine += ',';
    WyAppendCsv(strLine, TextOf(cells[i]));
  }
  m_context.out.Write(strLine + "\n");
}

void CWyTable::End() {
  if (!m_rows.empty()) PrintRows();
  m_rows.clear();
}

void CWyTable::PrintRows() {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    std::size_t uWidth = DisplayWidth(m_columns[i]);
    for (const auto& row : m_rows) uWidth = std::max(uWidth, DisplayWidth(row[i]));
    widths.push_back(uWidth);
  }
  const auto print = [&](const std::vector<std::string>& row, const std::string& strBehind) {
    std::string strLine;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string strFill(widths[i] - DisplayWidth(row[i]), ' ');
      if (i > 0) strLine += "  ";
      strLine += m_numbers[i] ? strFill + row[i] : row[i] + strFill;
    }
    strLine += strBehind;
    strLine.resize(strLine.find_last_not_of(' ') + 1);
    m_context.out.Write(strLine + "\n");
  };
  std::vector<std::string> titles = m_columns;
  for (std::string& strTitle : titles) {
    for (char& c : strTitle) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  }
  print(titles, "");
  for (std::size_t i = 0; i < m_rows.size(); ++i) print(m_rows[i], m_behind[i]);
}
