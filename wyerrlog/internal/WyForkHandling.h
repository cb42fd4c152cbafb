#ifndef WYERRLOG_INTERNAL_WYFORKHANDLING_H
#define WYERRLOG_INTERNAL_WYFORKHANDLING_H

// Support for forked children, in which only the thread that called fork(2) goes on: mutexes that a
// fork locks, objects that a child resets, and fork gates, around code that a fork waits for. The
// source describes the order of events.

#include <atomic>

#include "wyerrlog/internal/WyMutex.h"

// A link in one of the lists of registered objects; null pointers while it is in none. The objects
// are the links, so that registering allocates nothing.
struct CWyForkLink {
  CWyForkLink* m_pNext = nullptr;
  CWyForkLink* m_pPrevious = nullptr;
};

// A mutex that can be registered. A registered mutex is locked before every fork and unlocked after
// it in both processes, so a child never finds it locked by a thread that does not exist there. The
// order in which they are locked is not defined: no thread may lock one while it holds another.
class CWyForkMutex : public CWyMutex, public CWyForkLink {};

// An object that a forked child resets, because the parent's other threads may have been anywhere
// inside it.
class CWyForkReset : public CWyForkLink {
 public:
  using Reset = void (*)(CWyForkReset& object);

  constexpr explicit CWyForkReset(Reset pfnReset) : m_pfnReset(pfnReset) {}
  void ResetInForkedChild() { m_pfnReset(*this); }

 private:
  Reset m_pfnReset;
};

// The objects of this process that a fork handles. They are removed before they are destroyed;
// those of static storage never are. To add an object twice has no effect.
class CWyForkRegistry {
 public:
  static void Add(CWyForkMutex& mutex);
  static void Remove(CWyForkMutex& mutex);
  static void Add(CWyForkReset& object);
  static void Remove(CWyForkReset& object);
};

// The fork gate: an object encloses code that a fork must not interrupt, which is the installing
// and removing of outputs and configurations (locking a guard for writing enters by itself), and
// the construction of process-wide objects. A fork waits until no other thread is inside. A thread
// that is inside may fork itself, and may enter again.
class CWyForkGate {
 public:
  CWyForkGate() { Enter(); }
  ~CWyForkGate() { Leave(); }
  CWyForkGate(const CWyForkGate&) = delete;
  CWyForkGate& operator=(const CWyForkGate&) = delete;

  static void Enter();
  static void Leave();

  // Takes the calling thread out of the gate for a scope in which it runs code of the host, or
  // waits for a thread that does: the host may fork there. The data that the gate protects must be
  // consistent at that moment.
  class Outside {
   public:
    Outside();
    ~Outside();
    Outside(const Outside&) = delete;
    Outside& operator=(const Outside&) = delete;

   private:
    int m_iEntered;
  };

 private:
  static void Move(int iEntered);
};

// Held while the C library converts a time. The C library does so under a lock of its own, which a
// child forked meanwhile would find locked indefinitely. A fork takes this mutex after all others,
// so it may be locked with any of them held.
CWyMutex& WyTimeConversionMutex();

// 0 until it is asked for.
extern std::atomic<int> g_iProcessId;
int WyAskForProcessId();

// Returns the id of this process. getpid(2) is called once per process; a forked child has its own
// id.
inline int WyProcessId() {
  const int iPid = g_iProcessId.load(std::memory_order_relaxed);
  return iPid != 0 ? iPid : WyAskForProcessId();
}

// Returns how often this process and its ancestors have forked since the library was loaded: a
// fork changes it in both processes.
inline std::atomic<unsigned int> g_uForks{0};
inline unsigned int WyForkCount() { return g_uForks.load(std::memory_order_relaxed); }

#endif
