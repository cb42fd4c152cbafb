// The value side of CWyTraceData: what a record takes over from its configuration, and its values.
//
// A value is either in its field's own 1,024 bytes or, if it is longer, in memory of its own, which
// has more than that. So a new value of up to 1,023 bytes is written wherever the former one is. Of
// the 66 fields only those whose bit is set in m_auSet have a value; emptying a record touches no
// others.

#include "wyerrlog/WyTraceData.h"

#include <bit>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/internal/WyTextPieces.h"
#include "wyerrlog/internal/WyThreadStamp.h"
#include "wyerrlog/internal/WyTimeText.h"
#include "wyerrlog/internal/WyTraceFilter.h"

namespace {

constexpr size_t MaxInlineLength = CWyTraceData::InlineValueSize - 1;
constexpr unsigned int BitsPerWord = 64;

void PointToInlineValue(WyTraceDataFieldInfo& field) {
  field.pszValue = field.szValue;
  field.bValueAllocated = false;
  field.szValue[0] = '\0';
  field.uLength = 0;
}

void EndValue(WyTraceDataFieldInfo& field, char* pszEnd) {
  *pszEnd = '\0';
  field.uLength = static_cast<unsigned int>(pszEnd - field.pszValue);
}

// The copied pointers refer to what the record and its configuration share (CWyTraceData::Shared).
void CopyAllButValue(WyTraceDataFieldInfo& target, const WyTraceDataFieldInfo& source) {
  target.bTraced = source.bTraced;
  target.bFiltered = source.bFiltered;
  target.uId = source.uId;
  target.pszName = source.pszName;
  target.uWidth = source.uWidth;
  target.pszFilter = source.pszFilter;
  target.uFilterOp = source.uFilterOp;
}

// A text of the thread's stamp, which has `Usual` bytes there at least: they are copied without a
// call.
template <std::size_t Usual>
void SetStampText(WyTraceDataFieldInfo& field, std::string_view text) {
  std::memcpy(field.pszValue, text.data(), Usual);
  if (text.size() > Usual) [[unlikely]]
    std::memcpy(field.pszValue, text.data(), text.size());
  EndValue(field, field.pszValue + text.size());
}

// Texts that may overlap. Two words that are read before they are written cover most sizes.
void MoveText(char* pTo, const char* pFrom, std::size_t uSize) {
  if (uSize - 8 <= 8) {
    WyCopyWords<std::uint64_t>(pTo, pFrom, uSize);
  } else if (uSize - 16 <= 16) {
    WyCopyWords<__m128i>(pTo, pFrom, uSize);
  } else if (uSize - 32 <= 32) {
    __m128i words[4];
    std::memcpy(words, pFrom, 32);
    std::memcpy(words + 2, pFrom + uSize - 32, 32);
    std::memcpy(pTo, words, 32);
    std::memcpy(pTo + uSize - 32, words + 2, 32);
  } else {
    std::memmove(pTo, pFrom, uSize);
  }
}

template <typename Number>
// An integer of 64 bits has at most 20 characters, so it always has room.
void SetNumber(WyTraceDataFieldInfo& field, Number number) {
  EndValue(field, std::to_chars(field.pszValue, field.pszValue + MaxInlineLength, number).ptr);
}

}  // namespace

// The message gets its time base: without one it would ask the process logger. The pool constructs
// records with its mutex held, and the construction of that logger takes the same mutex. Of the
// value buffers only the first bytes are written, not all 66 KiB.
CWyTraceData::CWyTraceData()
    : m_bValid(false),
      m_bMaster(false),
      m_bUseLocalTime(false),
      m_nTraceFormat(0),
      m_pszDelimiter(nullptr),
      m_iComponentCount(0),
      m_pComponents(nullptr),
      m_message(false),
      m_pszLongTraceText(nullptr),
      m_auFieldOrder{},
      m_iVersion(0),
      m_pLogger(nullptr),
      m_uDateTimeField(0),
      m_uConfiguration(0),
      m_auSet{},
      m_auNumber{} {
  m_szTraceText[0] = '\0';
  for (unsigned int uId = 0; uId < FieldCount; ++uId) {
    WyTraceDataFieldInfo& field = m_fields[uId];
    field.bTraced = false;
    field.bFiltered = false;
    field.uId = uId;
    field.pszName = nullptr;
    field.uWidth = 0;
    field.pszFilter = nullptr;
    field.uFilterOp = 0;
    PointToInlineValue(field);
  }
}

CWyTraceData::~CWyTraceData() {
  ClearValues();
  ReplaceLongTraceText(nullptr);
}

// Shares the texts and tables of the configuration, and copies the fields' flags, so that a record
// needs no lock and survives its configuration. The values stay this record's own.
CWyTraceData& CWyTraceData::operator=(const CWyTraceData& master) {
  if (this == &master) return *this;
  m_bMaster = false;
  m_nTraceFormat = master.m_nTraceFormat;
  m_pszDelimiter = master.m_pszDelimiter;
  m_iComponentCount = master.m_iComponentCount;
  m_pComponents = master.m_pComponents;
  m_bUseLocalTime = master.m_bUseLocalTime;
  m_iVersion = master.m_iVersion;
  m_uConfiguration = master.m_uConfiguration;
  m_uDateTimeField = master.m_uDateTimeField;
  // A configuration has no logger of its own; the record then keeps the one it had.
  if (master.m_pLogger != nullptr) m_pLogger = master.m_pLogger;
  TakeOverFields(master.m_fields);
  std::memcpy(m_auFieldOrder, master.m_auFieldOrder, sizeof m_auFieldOrder);
  m_pShared = master.m_pShared;
  m_bValid = true;
  return *this;
}

void CWyTraceData::TakeOverFields(const WyTraceDataFieldInfo* pFields) {
  for (unsigned int uId = 0; uId < FieldCount; ++uId) CopyAllButValue(m_fields[uId], pFields[uId]);
}

// ---- Setting values -----------------------------------------------------------------------------

// The field whose value is about to change, which has room for InlineValueSize bytes; null if there
// is no such field. The bit is set first: a value that is stored is always found by ClearValues.
WyTraceDataFieldInfo* CWyTraceData::FieldToSet(unsigned int uId) {
  if (uId >= FieldCount) return nullptr;
  m_auSet[uId / BitsPerWord] |= std::uint64_t{1} << (uId % BitsPerWord);
  return &m_fields[uId];
}

// A text that is set afterwards keeps the mark: the layout Json looks at the text itself too.
// Requires: there is such a field.
void CWyTraceData::MarkNumber(unsigned int uId) {
  m_auNumber[uId / BitsPerWord] |= std::uint64_t{1} << (uId % BitsPerWord);
}

// The text may be a value of this very record: hence memmove, and a former buffer is freed after
// the copy. If memory allocation fails the former value stays, and the result drops the record.
inline bool CWyTraceData::StoreText(unsigned int uId, std::string_view text) {
  WyTraceDataFieldInfo* const pField = FieldToSet(uId);
  if (pField == nullptr) return false;
  if (text.size() > MaxInlineLength) [[unlikely]] {
    if (uId != WyField::SrcFile) return StoreLongText(*pField, text);
    text = text.substr(0, MaxInlineLength);
  }
  MoveText(pField->pszValue, text.data(), text.size());
  EndValue(*pField, pField->pszValue + text.size());
  return true;
}

[[gnu::noinline]] bool CWyTraceData::StoreLongText(WyTraceDataFieldInfo& field,
                                                   std::string_view text) {
  char* pszLong = new (std::nothrow) char[text.size() + 1];
  if (pszLong == nullptr) return false;
  std::memcpy(pszLong, text.data(), text.size());
  if (field.bValueAllocated) delete[] field.pszValue;
  field.pszValue = pszLong;
  field.bValueAllocated = true;
  EndValue(field, pszLong + text.size());
  return true;
}

bool CWyTraceData::SetFieldValue(unsigned int uId, int iValue) {
  if (uId >= WyField::Date && uId <= WyField::PreciseTime) {
    // One reading of the clock for all three, by the last of them that is traced: their texts never
    // belong to different moments.
    return uId != m_uDateTimeField || PopulateDateandTime();
  }

  WyTraceDataFieldInfo* const pField = FieldToSet(uId);
  if (pField == nullptr) return false;
  MarkNumber(uId);
  if (uId == WyField::Pid) {
    // The caller's number has no meaning for these two: the thread's stamp has their texts.
    SetStampText<16>(*pField, CWyThreadStamp::OfThisThread().Pid());
  } else if (uId == WyField::Tid) {
    SetStampText<16>(*pField, CWyThreadStamp::OfThisThread().Tid());
  } else {
    SetNumber(*pField, iValue);
  }
  return PassesFilter(uId);
}

bool CWyTraceData::SetFieldValue(unsigned int uId, unsigned int uValue) {
  WyTraceDataFieldInfo* const pField = FieldToSet(uId);
  if (pField == nullptr) return false;
  MarkNumber(uId);
  SetNumber(*pField, uValue);
  return PassesFilter(uId);
}

bool CWyTraceData::SetFieldValue(unsigned int uId, double dValue) {
  WyTraceDataFieldInfo* const pField = FieldToSet(uId);
  if (pField == nullptr) return false;
  MarkNumber(uId);
  // The largest double has 309 digits before the point.
  std::snprintf(pField->pszValue, InlineValueSize, "%f", dValue);
  pField->uLength = static_cast<unsigned int>(std::strlen(pField->pszValue));
  return PassesFilter(uId);
}

bool CWyTraceData::SetFieldValue(unsigned int uId, const char* pszValue) {
  return StoreText(uId, pszValue != nullptr ? pszValue : "") && PassesFilter(uId);
}

bool CWyTraceData::SetFieldValue(unsigned int uId, bool bValue) {
  return SetFieldNumber(uId, bValue ? "true" : "false");
}

bool CWyTraceData::SetFieldNumber(unsigned int uId, const char* pszNumber) {
  if (!StoreText(uId, pszNumber != nullptr ? pszNumber : "")) return false;
  MarkNumber(uId);
  return PassesFilter(uId);
}

// Each step clears the lowest bit that is set. A value that is elsewhere than in its field is a
// long one, or a host has put it there.
void CWyTraceData::ClearValues() {
  for (unsigned int uWord = 0; uWord < m_auSet.size(); ++uWord) {
    for (std::uint64_t uBits = std::exchange(m_auSet[uWord], 0); uBits != 0; uBits &= uBits - 1) {
      const auto uBit = static_cast<unsigned int>(std::countr_zero(uBits));
      WyTraceDataFieldInfo& field = m_fields[uWord * BitsPerWord + uBit];
      if (field.pszValue == field.szValue) [[likely]] {
        field.szValue[0] = '\0';
        field.uLength = 0;
      } else {
        if (field.bValueAllocated) delete[] field.pszValue;
        PointToInlineValue(field);
      }
    }
  }
  m_auNumber = {};
}

// ---- Filters ------------------------------------------------------------------------------------

// TestDataFilter is false for a field without a filter; such a field passes.
bool CWyTraceData::PassesFilter(unsigned int uId) {
  return !m_fields[uId].bFiltered || TestDataFilter(uId);
}

bool CWyTraceData::TestDataFilter(unsigned int uId) {
  if (uId >= FieldCount) return false;
  const WyTraceDataFieldInfo& field = m_fields[uId];
  const char* pszValue = field.pszValue != nullptr ? field.pszValue : "";
  const char* pszFilter = field.pszFilter != nullptr ? field.pszFilter : "";
  return WyTraceFilter::Passes(field.uFilterOp, pszValue, pszFilter);
}

// ---- Clock --------------------------------------------------------------------------------------

// The stamp converts a second once for the thread; the values are set for the fields that are not
// traced too, since filters may test them.
bool CWyTraceData::PopulateDateandTime() {
  CWyThreadStamp& now = CWyThreadStamp::OfThisThread();
  if (!now.Refresh(m_bUseLocalTime)) return false;
  constexpr std::uint64_t All =
      1u << WyField::Date | 1u << WyField::Time | 1u << WyField::PreciseTime;
  m_auSet[0] |= All;
  SetStampText<16>(m_fields[WyField::Date], now.Date());
  SetStampText<8>(m_fields[WyField::Time], now.TimeOfDay());
  WyTraceDataFieldInfo& precise = m_fields[WyField::PreciseTime];
  SetStampText<8>(precise, now.TimeOfDay());
  EndValue(precise, WyAppendMilliseconds(precise.pszValue + precise.uLength, now.Milliseconds()));
  return PassesFilter(WyField::Date) && PassesFilter(WyField::Time) &&
         PassesFilter(WyField::PreciseTime);
}

// 0 stands for none of them: it is the number of the field Message.
void CWyTraceData::ChooseDateTimeField() {
  m_uDateTimeField = 0;
  for (const unsigned int uId : {WyField::Date, WyField::Time, WyField::PreciseTime}) {
    if (m_fields[uId].bTraced) m_uDateTimeField = uId;
  }
}

// ---- Formatted texts ----------------------------------------------------------------------------

char* CWyTraceData::FormatTraceMessage(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  char* pszText = FormatTraceMessageVA(pszFormat, args);
  va_end(args);
  return pszText;
}

// Most texts fit at the first attempt. A longer one is formatted again into memory of its size,
// before the former text is freed, which may be among the arguments. If memory allocation fails the
// text is cut.
char* CWyTraceData::FormatTraceMessageVA(const char* pszFormat, va_list args) {
  m_szTraceText[0] = '\0';
  if (pszFormat == nullptr || *pszFormat == '\0') return m_szTraceText;

  va_list argsCopy;
  va_copy(argsCopy, args);
  const int iNeeded = VSNPRINTFEX(m_szTraceText, InlineValueSize, pszFormat, argsCopy);
  va_end(argsCopy);
  if (iNeeded <= InlineValueSize) return m_szTraceText;

  char* pszLong = new (std::nothrow) char[static_cast<size_t>(iNeeded)];
  if (pszLong == nullptr) return m_szTraceText;
  VSNPRINTFEX(pszLong, iNeeded, pszFormat, args);
  ReplaceLongTraceText(pszLong);
  return m_pszLongTraceText;
}

void CWyTraceData::ReplaceLongTraceText(char* pszText) {
  delete[] m_pszLongTraceText;
  m_pszLongTraceText = pszText;
}
