#ifndef WYXLATE_PATTERNPARTS_H
#define WYXLATE_PATTERNPARTS_H

// Not installed: what libwyerrlog uses of this library in addition to WyXlate.h, to remember a
// message's pattern in a parsed form. The name of the function ends in the number of the interface:
// a library that does not have it, a host's own for instance, is used through WyXlate.h alone.

#include <wyxlate/WyXlate.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

// A part of a pattern: an argument, or the text that the part has in the pattern. The text also
// stands for an argument that the call does not have.
struct WyPatternPart {
  std::uint16_t uStart;     // of the text, in the pattern
  std::uint16_t uLength;    // of the text
  std::uint16_t uArgument;  // its index; 13, which no call has, for a part that is always text
};

struct WyXlateInternals1 {
  // The library's own operations. A caller for which the names of WyXlate.h stand for others does
  // not use the rest of this record: the host has put its own operations in their place.
  bool (*pfnSetResourceDirectory)(const char*);
  CWyXlateBundle* (*pfnGetBundle)(const char*, const char*);
  int (*pfnFormatMessage)(char*, unsigned long, const char*, unsigned long, const char**);
  const char* (CWyXlateBundle::*pfnLookup)(const char*);
  void (CWyXlateBundle::*pfnRelease)();

  // The number of calls of SetResourceDirectory that have changed the directory. A bundle that was
  // obtained after the number was read (acquire) is at least as new as the number.
  const std::atomic<unsigned long>* puDirectoryGeneration;

  // Parses a pattern of the bundle; FormatMessage with the pattern writes the parts in this order.
  // Returns their number; 0 if the caller cannot keep the pattern: it has more than `uMaxParts`
  // parts or more than 65,535 bytes, it is empty, or a file of the bundle could not be opened for a
  // shortage, so that the next GetBundle reads it again.
  std::size_t (*pfnParse)(const CWyXlateBundle& bundle, const char* pszPattern,
                          WyPatternPart* pParts, std::size_t uMaxParts);
};

__attribute__((weak)) WYXLATE_EXPORT const WyXlateInternals1& WyGetXlateInternals1();

#endif
