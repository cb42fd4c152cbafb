#ifndef WYXLATE_PROPERTIESFILE_H
#define WYXLATE_PROPERTIESFILE_H

// Reading Java resource-bundle files (".properties", UTF-8) into a table.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "wyxlate/TextHash.h"

using PropertyTable = std::unordered_map<std::string, std::string, CWyTextHash, std::equal_to<>>;

// Adds the keys and values of a file's text to `table`, in order: a key that the table already has
// receives the new value. Any text is accepted; WyXlate.h describes how malformed parts are read.
// Throws std::bad_alloc.
void ParseProperties(std::string_view text, PropertyTable& table);

// One entry as it stands in the text, for programs that report where something is.
struct PropertyEntry {
  // A part of the entry's line: its offset there, and where it stands in the text.
  struct Part {
    std::size_t nOffset;
    const char* pText;
  };

  std::string_view line;  // without leading blanks and the ends of lines; continuation lines joined
  std::size_t nKeyLength;   // the key, escapes included, is the front of the line
  std::size_t nValue;       // where the value, escapes included, begins
  std::vector<Part> parts;  // one for each line of the text that it takes

  // Where the byte at this offset of the line stands in the text.
  const char* InText(std::size_t nOffset) const;
};

// Calls `visit` for each entry of a file's text, in order. The entry is valid until it returns.
void VisitProperties(std::string_view text, const std::function<void(const PropertyEntry&)>& visit);

// The value of a key or a value as it stands in a file. For each byte of the result, `pOffsets`, if
// it is not null, gets the offset in `text` of what it was made from.
std::string UnescapeProperty(std::string_view text, std::vector<std::size_t>* pOffsets = nullptr);

// The result of reading a file.
enum class FileState {
  Read,    // its entries are in the table
  Absent,  // no such file, or none that can be read; the table is unchanged
  Busy,    // the process or the system is short of memory or descriptors; it may exist
};

// Adds the entries of the file `strPath` to `table`, replacing those that the table already has.
// Throws std::bad_alloc.
FileState ReadPropertiesFile(const std::string& strPath, PropertyTable& table);

#endif
