#ifndef WYERRLOG_TOOLS_COMMON_SOURCETEXT_H
#define WYERRLOG_TOOLS_COMMON_SOURCETEXT_H

// The text of one input file, and where in it something stands. Readers work on views into the text
// and ask for the location of one only when they have something to report.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A place in a file, complete in itself, so that it may outlive the text.
struct WyLocation {
  std::string strFile;      // as the user named it
  std::size_t uLine = 0;    // from 1; 0: the file as a whole
  std::size_t uColumn = 0;  // from 1, in characters
  std::size_t uLength = 0;  // of the marked part, in characters; at least 1
  std::string strLine;      // the whole line, without its end
};

class CWySourceText {
 public:
  CWySourceText(std::string strFile, std::string strText);
  CWySourceText(const CWySourceText&) = delete;
  CWySourceText& operator=(const CWySourceText&) = delete;

  const std::string& File() const { return m_strFile; }
  std::string_view Text() const { return m_strText; }

  // The location of `part`, a view into Text(); of what it has on its first line when it has
  // several.
  WyLocation At(std::string_view part) const;

  // The file as a whole.
  WyLocation Whole() const { return {m_strFile, 0, 0, 0, {}}; }

 private:
  std::string m_strFile;
  std::string m_strText;
  std::vector<std::size_t> m_lineStarts;  // offsets
};

// The content of a file; nothing, and the reason in `strReason`, when it cannot be read.
std::optional<std::string> ReadWholeFile(const std::string& strPath, std::string& strReason);

#endif
