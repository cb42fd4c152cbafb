#ifndef WYLOGCTL_OUTPUT_H
#define WYLOGCTL_OUTPUT_H

// Where results go: the standard output, through a large buffer, and on a terminal through a pager.
// Diagnostics never go here.

#include <string>
#include <string_view>

class CWyOutput {
 public:
  CWyOutput();
  ~CWyOutput();
  CWyOutput(const CWyOutput&) = delete;
  CWyOutput& operator=(const CWyOutput&) = delete;

  // Before anything is written. `strColor` is "auto", "always" or "never"; NO_COLOR counts for
  // auto.
  void SetColor(const std::string& strColor);
  void StartPager();

  void Write(std::string_view text);
  void Flush();

  bool IsTerminal() const { return m_bTerminal; }
  bool HasColor() const { return m_bColor; }
  std::string_view Color(std::string_view code) const { return m_bColor ? code : ""; }

 private:
  void WriteAll(const char* p, std::size_t uSize);

  std::string m_strBuffer;
  int m_iPager = 0;  // its process; 0 without one
  bool m_bTerminal;
  bool m_bColor;
};

namespace WyColorCode {
constexpr std::string_view Red = "\033[31m";
constexpr std::string_view Yellow = "\033[33m";
constexpr std::string_view Dim = "\033[2m";
constexpr std::string_view Bold = "\033[1m";
constexpr std::string_view Off = "\033[0m";
}  // namespace WyColorCode

#endif
