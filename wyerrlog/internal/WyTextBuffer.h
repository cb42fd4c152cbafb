#ifndef WYERRLOG_INTERNAL_WYTEXTBUFFER_H
#define WYERRLOG_INTERNAL_WYTEXTBUFFER_H

// The growing text of a message.
//
// A record is assembled from some ten pieces. A piece costs a comparison and a copy here, without a
// call but the copy's, which is the greater part of the cost of a std::string. And nothing here
// throws: if memory allocation fails the text is marked incomplete, and nothing is appended until
// it is cleared.

#include <cstring>
#include <memory>
#include <string_view>

class CWyTextBuffer {
 public:
  // With `bUsable` false an incomplete text that stays empty.
  constexpr explicit CWyTextBuffer(bool bUsable) : m_bUsable(bUsable), m_bIncomplete(!bUsable) {}

  // An empty text has no terminator in its memory.
  const char* c_str() const { return m_uSize != 0 ? m_pText.get() : ""; }
  std::size_t size() const { return m_uSize; }
  std::size_t capacity() const { return m_uCapacity; }

  bool IsUsable() const { return m_bUsable; }

  // Returns true if a piece is missing because memory allocation failed.
  bool IsIncomplete() const { return m_bIncomplete; }

  // For a caller that could not allocate a piece itself.
  void SetIncomplete() { m_bIncomplete = true; }

  // Empties the text and keeps its memory.
  void Clear() {
    m_uSize = 0;
    m_bIncomplete = !m_bUsable;
  }

  // Empties the text and frees its memory.
  void Free() {
    m_pText.reset();
    m_uCapacity = 0;
    Clear();
  }

  // Appends the pieces, texts and characters. They may lie within this very text.
  template <typename... Pieces>
  void Append(const Pieces&... pieces) {
    const std::size_t uSize = (SizeOf(pieces) + ...);
    if (HasRoom(uSize)) {
      CopyAll(pieces...);
    } else {
      AppendAndGrow(uSize, pieces...);
    }
  }
  // Appends `uGap` blanks and the piece, filled up with blanks to `uWidth` bytes. Requires: the
  // piece has at most `uWidth` bytes.
  void AppendColumn(std::size_t uGap, std::string_view piece, std::size_t uWidth) {
    char* const pColumn = Room(uGap + uWidth);
    if (pColumn == nullptr) return;
    std::memset(pColumn, ' ', uGap + uWidth);
    std::memcpy(pColumn + uGap, piece.data(), piece.size());
    AppendedUpTo(pColumn + uGap + uWidth);
  }

  // Returns true if the address lies in the memory of the text.
  bool Owns(const char* p) const {
    return static_cast<std::size_t>(p - m_pText.get()) < m_uCapacity;
  }

  // Replaces the text by the piece, which may lie within it.
  void Assign(std::string_view piece);

  // Returns true if so many bytes can be appended, at End(), without an allocation; false for an
  // incomplete text.
  bool HasRoom(std::size_t uSize) const { return m_uCapacity - m_uSize > uSize && !m_bIncomplete; }
  char* End() { return m_pText.get() + m_uSize; }

  // Returns the end of the text, with room for `uSize` bytes, which the caller writes and
  // AppendedUpTo then appends; null if memory allocation fails.
  char* Room(std::size_t uSize) { return HasRoom(uSize) ? End() : NewRoom(uSize); }
  // The bytes that can be appended without an allocation. Requires: Room has not returned null.
  std::size_t RoomLeft() const { return m_uCapacity - m_uSize - 1; }
  void AppendedUpTo(char* pEnd) {
    *pEnd = '\0';
    m_uSize = static_cast<std::size_t>(pEnd - m_pText.get());
  }

 private:
  static std::size_t SizeOf(char) { return 1; }
  static std::size_t SizeOf(std::string_view piece) { return piece.size(); }
  static char* Copy(char piece, char* pTo) {
    *pTo = piece;
    return pTo + 1;
  }
  static char* Copy(std::string_view piece, char* pTo) {
    std::memcpy(pTo, piece.data(), piece.size());
    return pTo + piece.size();
  }

  template <typename... Pieces>
  void CopyAll(const Pieces&... pieces) {
    char* pEnd = m_pText.get() + m_uSize;
    ((pEnd = Copy(pieces, pEnd)), ...);
    AppendedUpTo(pEnd);
  }

  template <typename... Pieces>
  [[gnu::noinline]] void AppendAndGrow(std::size_t uSize, Pieces... pieces) {
    std::unique_ptr<char[]> pPrevious;
    if (Grow(uSize, pPrevious)) CopyAll(pieces...);
  }

  // Room for a text whose memory is too small.
  char* NewRoom(std::size_t uSize);

  // Allocates room for `uSize` bytes more. `pPrevious` receives the memory that the text was in,
  // which the pieces to append may point into. Returns false, with the text marked incomplete, if
  // memory allocation fails.
  bool Grow(std::size_t uSize, std::unique_ptr<char[]>& pPrevious);

  std::unique_ptr<char[]> m_pText;  // m_uCapacity bytes, one of them for the terminator
  std::size_t m_uSize = 0;
  std::size_t m_uCapacity = 0;
  const bool m_bUsable;
  bool m_bIncomplete;
};

#endif
