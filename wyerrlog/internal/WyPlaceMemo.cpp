// A place is made when it is shown first, and again when another has taken its room.

#include "wyerrlog/internal/WyPlaceMemo.h"

#include "wyerrlog/WyErrLogMessage.h"

bool CWyPlace::Set(const char* pszPath, std::string_view file, int iLine) {
  m_pszPath = nullptr;
  const auto uPathLength = static_cast<std::size_t>(file.data() - pszPath) + file.size();
  if (uPathLength > LongestPath || file.size() > LongestText - LongestLine) return false;
  std::memcpy(m_szPath, pszPath, uPathLength + 1);
  char* const pEnd = WriteLine(m_szText + file.copy(m_szText, file.size()), iLine);
  m_uLength = static_cast<unsigned int>(pEnd - m_szText);
  m_iLine = iLine;
  m_pszPath = pszPath;
  return true;
}

const CWyPlace* CWyPlaceMemo::Remember(CWyPlace& place, const char* pszPath, int iLine) {
  const std::string_view file = CWyErrLogMessage::PathnameFindFilePart(pszPath);
  return place.Set(pszPath, file, iLine) ? &place : nullptr;
}
