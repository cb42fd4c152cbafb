#ifndef WYLOGCTL_LOGSHAPE_H
#define WYLOGCTL_LOGSHAPE_H

// What the lines of a log look like: which of the library's formats, and for a trace its columns.
// An error log and an XML trace show it in every record; the other trace layouts show it in their
// two header lines alone. A file that is continued can have several pairs, each with other columns.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class WyLogFormat : std::uint8_t { Audit, Error, Brackets, Columns, Separator, Xml, Json };

// Fields whose values the library writes itself, in a form that a text cannot have by accident.
enum class WyFieldForm : std::uint8_t { Text, Date, Time, PreciseTime, Number };

struct WyColumn {
  std::string strName;
  std::size_t uWidth = 0;  // layout 1 alone
  WyFieldForm form = WyFieldForm::Text;
};

struct WyLogShape {
  WyLogFormat kind = WyLogFormat::Audit;
  bool bAssumed = false;  // the columns' names are those of the file's first header lines
  bool bTimed = false;    // audit: records begin with "[Mon Nov 16 2026 17:16:13]"
  std::vector<WyColumn> columns;
  std::string strSeparator;
  std::size_t uLeading = 0;  // how many of the first columns have a form of their own
  std::size_t uTotal = 0;    // layout 1: bytes of a record, without its newline

  // To be called when columns and separator are set.
  void Complete();
};

inline bool WyIsTrace(WyLogFormat kind) { return kind >= WyLogFormat::Brackets; }
inline bool WyIsDigit(char c) { return c >= '0' && c <= '9'; }
const char* WyKindName(WyLogFormat kind);   // "error log", "trace, layout 1"
const char* WyLogOfKind(WyLogFormat kind);  // "error", "audit", "trace"
bool WyIsKnownField(std::string_view name);
WyFieldForm WyFormOf(std::string_view name);

// Whether a text is a value of the form as the library writes it.
bool WyHasForm(std::string_view text, WyFieldForm form);

// Whether a line begins as every line of the error log: "[pid/tid][Www Mmm DD YYYY hh:mm:ss][".
// `uEnd` becomes the place behind the last of these brackets.
bool WyIsErrorStart(const char* pLine, std::size_t uSize, std::size_t& uEnd);

// Whether a text begins with "Www Mmm DD YYYY hh:mm:ss".
bool WyIsDateTime(const char* pText, std::size_t uSize);

// Whether a line begins as every line of the layout Json: with the name of a data field.
bool WyIsTraceJsonStart(std::string_view line);

// Whether a line begins as every typed audit record: with its time.
bool WyIsTypedAuditStart(std::string_view line);

// The shape that two lines announce if they are a trace's header lines. Both without their
// newlines.
std::optional<WyLogShape> WyReadTitles(std::string_view names, std::string_view underline);

// The shape of a log whose lines show it themselves, from the first lines of a file.
std::optional<WyLogShape> WyDetectShape(std::string_view head);

// Whether a line is the first of a record: of the layouts 0 and 2 with a column of a form first,
// of an audit log with times, of the error log and of XML.
bool WyIsStrongStart(const WyLogShape& shape, std::string_view line);

// Layouts 0 and 2: whether the text has all its separators, and layout 0 its last bracket.
bool WyIsWhole(const WyLogShape& shape, std::string_view text);
std::size_t WyCount(std::string_view text, std::string_view part);

#endif
