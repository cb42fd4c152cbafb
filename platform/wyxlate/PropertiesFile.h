#ifndef WYXLATE_PROPERTIESFILE_H
#define WYXLATE_PROPERTIESFILE_H

// Reading Java resource-bundle files (".properties", UTF-8) into a table.

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "wyxlate/TextHash.h"

using PropertyTable = std::unordered_map<std::string, std::string, CWyTextHash, std::equal_to<>>;

// Adds the keys and values of a file's text to `table`, in order: a key that the table already has
// receives the new value. Any text is accepted; WyXlate.h describes how malformed parts are read.
// Throws std::bad_alloc.
void ParseProperties(std::string_view text, PropertyTable& table);

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
