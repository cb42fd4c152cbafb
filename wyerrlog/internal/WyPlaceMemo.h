#ifndef WYERRLOG_INTERNAL_WYPLACEMEMO_H
#define WYERRLOG_INTERNAL_WYPLACEMEMO_H

// What a thread remembers of the places in the source that its prologs showed last. They are
// remembered by pointer, line and text, so a buffer whose text has changed is another place.

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "wyerrlog/internal/WyTextPieces.h"

// One place, "File.cpp:123]" of the path "/src/File.cpp" and the line 123.
class CWyPlace {
 public:
  bool Is(const char* pszPath, int iLine) const {
    return m_pszPath == pszPath && m_iLine == iLine && std::strcmp(m_szPath, pszPath) == 0;
  }
  // Returns false, and is no place then, if the path or the text is too long.
  bool Set(const char* pszPath, std::string_view file, int iLine);

  // Copies the text to `psz` and returns its end. Requires: room for LongestText bytes, all of
  // which may be written to.
  char* CopyTo(char* psz) const {
    constexpr std::size_t Usual = 2 * WyLiteralRoom;
    std::memcpy(psz, m_szText, Usual);
    if (m_uLength > Usual) std::memcpy(psz + Usual, m_szText + Usual, LongestText - Usual);
    return psz + m_uLength;
  }

  static constexpr std::size_t LongestLine = 16;  // ":2147483647]"
  // Writes ":123]", or "]" for a line that is not positive, and returns the end. Requires: room for
  // LongestLine bytes.
  static char* WriteLine(char* psz, int iLine) {
    if (iLine > 0) {
      *psz++ = ':';
      // Cannot fail: the room has space for every int.
      psz = std::to_chars(psz, psz + LongestLine, iLine).ptr;
    }
    *psz++ = ']';
    return psz;
  }

  static constexpr std::size_t LongestText = 48;
  static constexpr std::size_t LongestPath = 119;

 private:
  const char* m_pszPath = nullptr;  // null: no place
  int m_iLine = 0;
  unsigned int m_uLength = 0;
  char m_szText[LongestText]{};
  char m_szPath[LongestPath + 1];
};

// The places that one thread showed last. Found through the thread's stamp.
class CWyPlaceMemo {
 public:
  CWyPlaceMemo() = default;
  ~CWyPlaceMemo() {
    if (m_ppUser != nullptr) *m_ppUser = nullptr;
  }
  CWyPlaceMemo(const CWyPlaceMemo&) = delete;
  CWyPlaceMemo& operator=(const CWyPlaceMemo&) = delete;

  // Has the pointer set to null when this object is gone.
  void SetUser(CWyPlaceMemo*& pUser) { m_ppUser = &pUser; }

  // Returns null for a place that is too long to be remembered. A place takes the room of another
  // with the same number. The factor is 2^64 divided by the golden ratio.
  const CWyPlace* Find(const char* pszPath, int iLine) {
    const auto uPlace =
        reinterpret_cast<std::uintptr_t>(pszPath) + static_cast<unsigned int>(iLine);
    CWyPlace& place = m_places[uPlace * 0x9E3779B97F4A7C15 >> (64 - PlacesLog2)];
    return place.Is(pszPath, iLine) ? &place : Remember(place, pszPath, iLine);
  }

 private:
  static const CWyPlace* Remember(CWyPlace& place, const char* pszPath, int iLine);

  static constexpr int PlacesLog2 = 4;

  CWyPlaceMemo** m_ppUser = nullptr;
  CWyPlace m_places[1 << PlacesLog2];
};

#endif
