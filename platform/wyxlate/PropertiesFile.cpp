// Java's resource-bundle format in three steps: natural lines are joined to logical ones, a logical
// line is split into key and value, and escapes are resolved last, so that an escaped separator or
// line end is part of its text. Nothing in a file is an error; what a file cannot mean is read in
// the way that WyXlate.h states.

#include "wyxlate/PropertiesFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

namespace {

// Far above any catalog. A larger file under such a name is a mistake, and must not take the
// process's memory.
constexpr off_t LargestFile = off_t{64} << 20;
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view Blanks = " \t\f";
constexpr std::string_view LineEnds = "\r\n";

// Unicode's character for what cannot be represented.
constexpr std::uint32_t ReplacementCharacter = 0xFFFD;

void SkipBlanks(std::string_view& text) {
  const std::size_t uBlanks = text.find_first_not_of(Blanks);
  text.remove_prefix(uBlanks == std::string_view::npos ? text.size() : uBlanks);
}

// Takes the text up to the next line end from the front of `text`, and the line end with it: "\n",
// "\r" or "\r\n".
std::string_view TakeLine(std::string_view& text) {
  const std::size_t uEnd = text.find_first_of(LineEnds);
  const std::string_view line = text.substr(0, uEnd);
  text.remove_prefix(line.size());
  if (text.substr(0, 2) == "\r\n") {
    text.remove_prefix(2);
  } else if (!text.empty()) {
    text.remove_prefix(1);
  }
  return line;
}

// An odd number of backslashes at its end joins a line to the next; an even number are escapes.
bool IsContinued(std::string_view line) {
  const std::size_t uLast = line.find_last_not_of('\\');
  const std::size_t uBackslashes =
      uLast == std::string_view::npos ? line.size() : line.size() - uLast - 1;
  return uBackslashes % 2 != 0;
}

bool IsBlankOrComment(std::string_view line) {
  return line.empty() || line.front() == '#' || line.front() == '!';
}

using Parts = std::vector<PropertyEntry::Part>;

// Appends the continuation lines of `line` from the front of `text`; the whole is built in
// `strJoined`. A continuation line has no comments: "#" is text there. At the end of the text
// TakeLine returns an empty line, which is not continued, so the loop ends. The
// places of the lines are added to `pParts`, if it is not null.
std::string_view JoinContinuation(std::string_view line, std::string_view& text,
                                  std::string& strJoined, Parts* pParts) {
  strJoined.clear();
  while (IsContinued(line)) {
    strJoined += line.substr(0, line.size() - 1);
    line = TakeLine(text);
    SkipBlanks(line);
    if (pParts != nullptr) pParts->push_back({strJoined.size(), line.data()});
  }
  strJoined += line;
  return strJoined;
}

// Calls `visit` with each line that has an entry. The places of its parts are added to `pParts`, if
// it is not null; the visitor removes them.
template <typename Visitor>
void ForEachEntryLine(std::string_view text, Parts* pParts, Visitor visit) {
  if (text.substr(0, ByteOrderMark.size()) == ByteOrderMark) {
    text.remove_prefix(ByteOrderMark.size());
  }
  std::string strJoined;
  while (!text.empty()) {
    std::string_view line = TakeLine(text);
    SkipBlanks(line);
    if (IsBlankOrComment(line)) continue;
    if (pParts != nullptr) pParts->push_back({0, line.data()});
    if (IsContinued(line)) line = JoinContinuation(line, text, strJoined, pParts);
    visit(line);
  }
}

// The length of the key at the front of a logical line: up to the first separator without a
// backslash before it.
std::size_t KeyLength(std::string_view line) {
  std::size_t n = 0;
  while (n < line.size() && std::string_view("=: \t\f").find(line[n]) == std::string_view::npos) {
    n += line[n] == '\\' ? 2 : 1;
  }
  // A backslash at the very end of the line counts for two and steps past it.
  return n < line.size() ? n : line.size();
}

void SkipSeparator(std::string_view& text) {
  SkipBlanks(text);
  if (!text.empty() && (text.front() == '=' || text.front() == ':')) {
    text.remove_prefix(1);
    SkipBlanks(text);
  }
}

// Not isxdigit(3), which follows the process's locale.
std::optional<unsigned> HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  const char cLower = static_cast<char>(c | 0x20);
  if (cLower >= 'a' && cLower <= 'f') return static_cast<unsigned>(cLower - 'a' + 10);
  return std::nullopt;
}

// The value of "\uXXXX" at the front of `text`.
std::optional<std::uint32_t> UnicodeEscape(std::string_view text) {
  if (text.size() < 6 || text[0] != '\\' || text[1] != 'u') return std::nullopt;
  std::uint32_t uValue = 0;
  for (const char c : text.substr(2, 4)) {
    const std::optional<unsigned> digit = HexDigit(c);
    if (!digit) return std::nullopt;
    uValue = uValue << 4 | *digit;
  }
  return uValue;
}

bool IsHighSurrogate(std::uint32_t u) { return u >= 0xD800 && u < 0xDC00; }
bool IsLowSurrogate(std::uint32_t u) { return u >= 0xDC00 && u < 0xE000; }

void AppendUtf8(std::uint32_t u, std::string& str) {
  const auto append = [&str](std::uint32_t uByte) { str += static_cast<char>(uByte); };
  if (u < 0x80) {
    append(u);
  } else if (u < 0x800) {
    append(0xC0 | u >> 6);
    append(0x80 | (u & 0x3F));
  } else if (u < 0x10000) {
    append(0xE0 | u >> 12);
    append(0x80 | (u >> 6 & 0x3F));
    append(0x80 | (u & 0x3F));
  } else {
    append(0xF0 | u >> 18);
    append(0x80 | (u >> 12 & 0x3F));
    append(0x80 | (u >> 6 & 0x3F));
    append(0x80 | (u & 0x3F));
  }
}

// Takes a "\uXXXX", or two of them that are a surrogate pair, from the front of `text`. Returns
// false if there is none. Half a pair is not a character, and a zero would end the text for every
// caller.
bool TakeUnicodeEscape(std::string_view& text, std::string& str) {
  const std::optional<std::uint32_t> first = UnicodeEscape(text);
  if (!first) return false;
  text.remove_prefix(6);
  std::uint32_t uCharacter = *first;
  const std::optional<std::uint32_t> second = UnicodeEscape(text);
  if (IsHighSurrogate(uCharacter) && second && IsLowSurrogate(*second)) {
    text.remove_prefix(6);
    uCharacter = 0x10000 + ((uCharacter - 0xD800) << 10) + (*second - 0xDC00);
  } else if (IsHighSurrogate(uCharacter) || IsLowSurrogate(uCharacter) || uCharacter == 0) {
    uCharacter = ReplacementCharacter;
  }
  AppendUtf8(uCharacter, str);
  return true;
}

char EscapedCharacter(char c) {
  switch (c) {
    case 't':
      return '\t';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 'f':
      return '\f';
    default:
      return c;
  }
}

// The offset of the value behind the key of `nKeyLength` bytes.
std::size_t ValueOffset(std::string_view line, std::size_t nKeyLength) {
  std::string_view rest = line.substr(nKeyLength);
  SkipSeparator(rest);
  return line.size() - rest.size();
}

// Takes the escape at the front of `text`, a backslash, and appends what it stands for.
void TakeEscape(std::string_view& text, std::string& str) {
  if (TakeUnicodeEscape(text, str)) return;
  // A backslash at the very end stands for nothing.
  if (text.size() > 1) str += EscapedCharacter(text[1]);
  text.remove_prefix(text.size() > 1 ? 2 : 1);
}

void ParseEntry(std::string_view line, PropertyTable& table) {
  if (line.empty()) return;
  const std::size_t nKeyLength = KeyLength(line);
  // The last value of a key counts, within a file and over the more general file before it.
  table.insert_or_assign(UnescapeProperty(line.substr(0, nKeyLength)),
                         UnescapeProperty(line.substr(ValueOffset(line, nKeyLength))));
}

class CWyDescriptor {
 public:
  explicit CWyDescriptor(int fd) : m_fd(fd) {}
  ~CWyDescriptor() {
    if (m_fd >= 0) ::close(m_fd);
  }
  CWyDescriptor(const CWyDescriptor&) = delete;
  CWyDescriptor& operator=(const CWyDescriptor&) = delete;

  int Get() const { return m_fd; }

 private:
  const int m_fd;
};

// O_NONBLOCK: a pipe of that name must not make the caller wait for its writer. O_NOCTTY: a
// terminal must not become that of the process. Not WyOpen, since neither platform library uses the
// other: a host may put its own in the place of one of them.
int OpenForReading(const std::string& strPath) {
  int fd;
  do {
    fd = ::open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// Errors that pass. All others are the file's own: it counts as absent.
bool IsShortage(int iError) { return iError == EMFILE || iError == ENFILE || iError == ENOMEM; }

// Reads the file to its end, or as much as it had when it was opened; nothing if reading fails.
// fstat(2) asks for the file that is open: another one may have the name by now.
std::optional<std::string> ReadRegularFile(int fd) {
  struct stat info;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > LargestFile) {
    return std::nullopt;
  }
  std::string strText(static_cast<std::size_t>(info.st_size), '\0');
  std::size_t uRead = 0;
  while (uRead < strText.size()) {
    const ssize_t iCount = ::read(fd, strText.data() + uRead, strText.size() - uRead);
    if (iCount == 0) break;
    if (iCount > 0) {
      uRead += static_cast<std::size_t>(iCount);
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
  strText.resize(uRead);
  return strText;
}

}  // namespace

const char* PropertyEntry::InText(std::size_t nOffset) const {
  const auto next = std::upper_bound(
      parts.begin(), parts.end(), nOffset,
      [](std::size_t nWanted, const Part& part) { return nWanted < part.nOffset; });
  const Part& part = *std::prev(next);
  return part.pText + (nOffset - part.nOffset);
}

std::string UnescapeProperty(std::string_view text, std::vector<std::size_t>* pOffsets) {
  const std::size_t nSize = text.size();
  std::string str;
  str.reserve(nSize);
  while (!text.empty()) {
    const std::size_t nRun = std::min(text.find('\\'), text.size());
    const std::size_t nBegin = nSize - text.size();
    str += text.substr(0, nRun);
    text.remove_prefix(nRun);
    if (pOffsets != nullptr) {
      for (std::size_t n = nBegin; n < nBegin + nRun; ++n) pOffsets->push_back(n);
    }
    if (text.empty()) {
      break;
    }
    TakeEscape(text, str);
    if (pOffsets != nullptr) {
      pOffsets->resize(str.size(), nBegin + nRun);
    }
  }
  return str;
}

void ParseProperties(std::string_view text, PropertyTable& table) {
  ForEachEntryLine(text, nullptr, [&](std::string_view line) { ParseEntry(line, table); });
}

void VisitProperties(std::string_view text,
                     const std::function<void(const PropertyEntry&)>& visit) {
  PropertyEntry entry{};
  ForEachEntryLine(text, &entry.parts, [&](std::string_view line) {
    entry.line = line;
    entry.nKeyLength = KeyLength(line);
    entry.nValue = ValueOffset(line, entry.nKeyLength);
    if (!line.empty()) visit(entry);
    entry.parts.clear();
  });
}

FileState ReadPropertiesFile(const std::string& strPath, PropertyTable& table) {
  const CWyDescriptor file(OpenForReading(strPath));
  if (file.Get() < 0) return IsShortage(errno) ? FileState::Busy : FileState::Absent;
  const std::optional<std::string> text = ReadRegularFile(file.Get());
  if (!text) return FileState::Absent;
  ParseProperties(*text, table);
  return FileState::Read;
}
