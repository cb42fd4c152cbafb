#include "wyerrlog/WyErrLogMessage.h"

#include <memory>
#include <utility>

#include "wyerrlog/WyLogger.h"

// ---- Memory -------------------------------------------------------------------------------------

// What the texts of a message are kept in. A thread's messages hand it on from one to the next, so
// that usually none of them has to allocate.
struct CWyErrLogMessage::Memory {
  static constexpr std::size_t UsualTextSize = 256;      // bytes; a line of ordinary length fits
  static constexpr std::size_t LargestKept = 64 * 1024;  // bytes; larger texts are not kept

  std::string strText;
  std::string strArguments;

  Memory() { strText.reserve(UsualTextSize); }

  static Memory* Take();
  static void HandOn(std::unique_ptr<Memory> pMemory);

  // The calling thread's. Of plain values, so that it is there also for messages that come when the
  // thread's objects are destroyed already.
  struct Spare {
    Memory* pMemory = nullptr;
    bool bHasOwner = false;
    bool bThreadEnds = false;
  };
  static thread_local Spare s_spare;

  // Frees the spare memory at the end of the thread.
  struct SpareOwner {
    SpareOwner() { s_spare.bHasOwner = true; }
    ~SpareOwner() {
      s_spare.bThreadEnds = true;
      delete std::exchange(s_spare.pMemory, nullptr);
    }
  };
  static void OwnSpare() { static thread_local const SpareOwner s_owner; }
};

constinit thread_local CWyErrLogMessage::Memory::Spare CWyErrLogMessage::Memory::s_spare;

CWyErrLogMessage::Memory* CWyErrLogMessage::Memory::Take() {
  Memory* const pSpare = std::exchange(s_spare.pMemory, nullptr);
  return pSpare != nullptr ? pSpare : new Memory;
}

void CWyErrLogMessage::Memory::HandOn(std::unique_ptr<Memory> pMemory) {
  Spare& spare = s_spare;
  const bool bLarge = pMemory->strText.capacity() + pMemory->strArguments.capacity() > LargestKept;
  if (spare.pMemory != nullptr || spare.bThreadEnds || bLarge) return;
  if (!spare.bHasOwner) OwnSpare();
  pMemory->strText.clear();
  pMemory->strArguments.clear();
  spare.pMemory = pMemory.release();
}

// ---- Construction -------------------------------------------------------------------------------

CWyErrLogMessage::CWyErrLogMessage() : CWyErrLogMessage(theLogger()->ShouldUseLocalTime()) {}

CWyErrLogMessage::CWyErrLogMessage(bool bUseLocalTime)
    : m_pBuffer(nullptr), m_bUseLocalTime(bUseLocalTime), m_pMemory(Memory::Take()) {
  m_pBuffer = &m_pMemory->strText;
  m_args.m_stream.m_strBytes.swap(m_pMemory->strArguments);
}

CWyErrLogMessage::~CWyErrLogMessage() {
  m_args.m_stream.m_strBytes.swap(m_pMemory->strArguments);
  Memory::HandOn(std::unique_ptr<Memory>(m_pMemory));
}

// ---- The text -----------------------------------------------------------------------------------

bool CWyErrLogMessage::CleanUpMessage() {
  m_pBuffer->clear();
  m_nType = 0;
  return true;
}

const char* CWyErrLogMessage::GetBuffer() const { return m_pBuffer->c_str(); }

int CWyErrLogMessage::GetBufferLen() const { return static_cast<int>(m_pBuffer->size()); }

int CWyErrLogMessage::GetStringLen() const { return GetBufferLen(); }

const char* CWyErrLogMessage::ReleaseBuffer() const { return GetBuffer(); }

void CWyErrLogMessage::FreeBuffer(char* /*pszText*/) {}

void CWyErrLogMessage::SetFormattedMessage(const char* pszText) {
  if (pszText != nullptr) m_pBuffer->assign(pszText);
}
