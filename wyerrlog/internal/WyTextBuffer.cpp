// The growing of a message's text, which is out of the way of appending to it. A text that could
// not grow is marked incomplete and stays as it is: no log call writes a line with a piece missing.

#include "wyerrlog/internal/WyTextBuffer.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr std::size_t UsualCapacity = 512;  // bytes; records of ordinary length fit
constexpr std::size_t LargestSize = std::numeric_limits<int>::max();  // lengths are returned as int

}  // namespace

// The capacity at least doubles, so that a long text is copied a constant number of times for each
// byte. The old memory goes to the caller: the pieces to be appended may lie in it. The text counts
// as incomplete until everything has succeeded, which is one mark for all ways out.
bool CWyTextBuffer::Grow(std::size_t uSize, std::unique_ptr<char[]>& pPrevious) {
  if (m_bIncomplete) return false;
  m_bIncomplete = true;
  if (uSize > LargestSize - m_uSize) return false;
  const std::size_t uCapacity = std::max({m_uSize + uSize + 1, 2 * m_uCapacity, UsualCapacity});
  std::unique_ptr<char[]> pLarger(new (std::nothrow) char[uCapacity]);
  if (pLarger == nullptr) return false;
  std::memcpy(pLarger.get(), c_str(), m_uSize + 1);
  pPrevious = std::exchange(m_pText, std::move(pLarger));
  m_uCapacity = uCapacity;
  m_bIncomplete = false;
  return true;
}

char* CWyTextBuffer::NewRoom(std::size_t uSize) {
  std::unique_ptr<char[]> pPrevious;
  return Grow(uSize, pPrevious) ? End() : nullptr;
}

void CWyTextBuffer::Assign(std::string_view piece) {
  m_uSize = 0;
  m_bIncomplete = !m_bUsable;
  std::unique_ptr<char[]> pPrevious;
  if (!HasRoom(piece.size()) && !Grow(piece.size(), pPrevious)) return;
  // The piece may be a part of this text, in memory that is kept or, after Grow, in pPrevious.
  std::memmove(m_pText.get(), piece.data(), piece.size());
  AppendedUpTo(m_pText.get() + piece.size());
}
