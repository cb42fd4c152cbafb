// The text of a message and the memory it is kept in, which each thread passes from one message to
// the next, so that a message usually allocates nothing.

#include "wyerrlog/WyErrLogMessage.h"

#include <new>
#include <utility>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"
#include "wyerrlog/internal/WyTextBuffer.h"

// ---- Memory -------------------------------------------------------------------------------------

// The memory of a message: its text and its arguments. Between two messages the thread keeps it as
// its spare, so that usually no message allocates.
struct CWyErrLogMessage::Memory {
  // Bytes. Far above usual records, but a thread that once logs a huge one does not keep its
  // memory.
  static constexpr std::size_t LargestKept = std::size_t{64} << 10;

  CWyTextBuffer text;
  CpaArgList args;

  explicit Memory(bool bUsable) : text(bUsable) {}

  struct Spare;

  static Memory* Take();
  static void Recycle(Memory* pMemory);
  static void KeepOrFree(Memory* pMemory, Spare& spare);

  bool IsLarge() const {
    return text.capacity() + args.m_stream.m_strBytes.capacity() > LargestKept;
  }

  // The calling thread's. Of plain values, so that messages find it whose thread has already
  // destroyed its other objects.
  struct Spare {
    Memory* pMemory = nullptr;
    bool bHasOwner = false;  // until the thread ends
    bool bThreadEnds = false;

    bool MayTake(const Memory& memory) const {
      return bHasOwner && pMemory == nullptr && memory.text.IsUsable() && !memory.IsLarge();
    }
  };
  static thread_local Spare s_spare;

  // Not inlined: the compiler would find the thread's object anew at each use, which is a call.
  [[gnu::noinline]] static Spare& OfThisThread() { return s_spare; }

  // Has the spare memory freed at the end of the thread. Returns false if the system refuses.
  static bool OwnSpare() { return s_spare.bHasOwner = SpareOwner::Get().SetValue(&s_spare) == 0; }
  struct SpareOwner : CpaTls {
    SpareOwner() : CpaTls(Free) {}
    static SpareOwner& Get() {
      static CWyNeverDestroyed<SpareOwner> s_owner;
      return s_owner.value;
    }
    static const SpareOwner& s_constructedAtLoad;
    static void Free(void* pSpare) {
      Spare& spare = *static_cast<Spare*>(pSpare);
      spare.bHasOwner = false;
      spare.bThreadEnds = true;
      delete std::exchange(spare.pMemory, nullptr);
    }
  };

  // Used if memory allocation fails: an incomplete text that stays empty. All messages of the
  // thread that have no memory share it; none of them is ever written. Never destroyed.
  static Memory& None() {
    alignas(Memory) static thread_local unsigned char s_storage[sizeof(Memory)];
    static thread_local Memory* s_pNone = nullptr;
    if (s_pNone == nullptr) s_pNone = new (s_storage) Memory(false);
    return *s_pNone;
  }
};

constinit thread_local CWyErrLogMessage::Memory::Spare CWyErrLogMessage::Memory::s_spare;

// Constructed when the library is loaded: a child that is forked while another thread constructs it
// would wait for that thread forever.
const CWyErrLogMessage::Memory::SpareOwner&
    CWyErrLogMessage::Memory::SpareOwner::s_constructedAtLoad = Get();

// The spare is taken out, so a second message of the thread, which a callback constructs during a
// log call, finds none and allocates its own.
CWyErrLogMessage::Memory* CWyErrLogMessage::Memory::Take() {
  if (Memory* const pSpare = std::exchange(s_spare.pMemory, nullptr)) return pSpare;
  Memory* const pNew = new (std::nothrow) Memory(true);
  return pNew != nullptr ? pNew : &None();
}

inline void CWyErrLogMessage::Memory::Recycle(Memory* pMemory) {
  Spare& spare = OfThisThread();
  pMemory->text.Clear();
  pMemory->args.clear();
  if (!spare.MayTake(*pMemory)) return KeepOrFree(pMemory, spare);
  spare.pMemory = pMemory;
}

// Freed at once after the end of the thread has been noted: no later step would free a spare. None
// has no memory to free.
[[gnu::noinline]] void CWyErrLogMessage::Memory::KeepOrFree(Memory* pMemory, Spare& spare) {
  if (!pMemory->text.IsUsable()) return;
  if (!spare.bHasOwner && !spare.bThreadEnds) OwnSpare();
  if (spare.MayTake(*pMemory)) {
    spare.pMemory = pMemory;
  } else {
    delete pMemory;
  }
}

// ---- Construction -------------------------------------------------------------------------------

CWyErrLogMessage::CWyErrLogMessage(bool bUseLocalTime)
    : m_pMemory(Memory::Take()),
      m_pBuffer(&m_pMemory->text),
      m_bUseLocalTime(bUseLocalTime),
      m_args(m_pMemory->args) {}

CWyErrLogMessage::~CWyErrLogMessage() { Memory::Recycle(m_pMemory); }

// ---- The text -----------------------------------------------------------------------------------

bool CWyErrLogMessage::CleanUpMessage() {
  m_pBuffer->Clear();
  m_nType = 0;
  return true;
}

void CWyErrLogMessage::CleanUpAndShrink() {
  CleanUpMessage();
  if (m_pBuffer->capacity() > Memory::LargestKept) m_pBuffer->Free();
}

bool CWyErrLogMessage::IsIncomplete() const { return m_pBuffer->IsIncomplete(); }

const char* CWyErrLogMessage::GetBuffer() const { return m_pBuffer->c_str(); }

int CWyErrLogMessage::GetBufferLen() const { return static_cast<int>(m_pBuffer->size()); }

int CWyErrLogMessage::GetStringLen() const { return GetBufferLen(); }

const char* CWyErrLogMessage::ReleaseBuffer() const { return GetBuffer(); }

void CWyErrLogMessage::FreeBuffer(char* /*pszText*/) {}

void CWyErrLogMessage::SetFormattedMessage(const char* pszText) {
  if (pszText != nullptr) m_pBuffer->Assign(pszText);
}
