#ifndef WYERRLOG_INTERNAL_WYPROCESSOBJECT_H
#define WYERRLOG_INTERNAL_WYPROCESSOBJECT_H

// The process-wide objects that must work whenever a thread calls: the process logger and the
// registry of named loggers.

#include <atomic>
#include <new>

#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyNoThrow.h"

// A process-wide object that has been constructed, in the list of all of them, the newest first.
class CWyProcessObjectLink {
 public:
  constexpr explicit CWyProcessObjectLink(void (*pfnEnd)()) : m_pfnEnd(pfnEnd) {}

  void Add() {
    m_pOlder = s_pNewest.load();
    while (!s_pNewest.compare_exchange_weak(m_pOlder, this)) {
    }
  }
  // Ends all objects in the order of process exit: the newest first.
  static void EndAll() {
    for (const CWyProcessObjectLink* p = s_pNewest.load(); p != nullptr; p = p->m_pOlder) {
      p->m_pfnEnd();
    }
  }

 private:
  void (*const m_pfnEnd)();
  CWyProcessObjectLink* m_pOlder = nullptr;
  static inline constinit std::atomic<CWyProcessObjectLink*> s_pNewest{nullptr};
};

// The one object of class T in this process. It is constructed by the first call of Get, ended at
// process exit (T::End releases everything it holds), and never destroyed: threads that outlive
// main may still call it. Requires: T::IsUsable returns whether memory sufficed to construct it;
// both operations may be private, with this class as a friend.
template <typename T>
class CWyProcessObject {
 public:
  // Returns null if memory allocation fails; the next call tries again. Thread-safe.
  static T* Get() {
    if (T* pObject = Constructed()) return pObject;
    // The construction may call Get again (from a plug-in's constructor): it receives the object in
    // its present state, in which its calls return false.
    if (s_bConstructing) return Storage();
    const CWyForkGate gate;  // a forked child must not find the construction half done
    return WyNoThrow<T*>(nullptr, [] {
      static const CWyProcessObject s_object;  // a construction that threw is tried again
      return Storage();
    });
  }

  // Returns null before the first call of Get has constructed it.
  static T* Constructed() { return s_pConstructed.load(std::memory_order_acquire); }

  static bool HasEnded() { return s_bEnded.load(); }

  // Returns true if `pObject` is the one object, which may be under construction.
  static bool Is(const T* pObject) { return pObject == Storage(); }

  CWyProcessObject(const CWyProcessObject&) = delete;
  CWyProcessObject& operator=(const CWyProcessObject&) = delete;

 private:
  CWyProcessObject() {
    const Constructing constructing;
    T* const pObject = new (s_storage) T;
    if (!pObject->IsUsable()) {
      pObject->~T();
      throw std::bad_alloc();
    }
    s_pConstructed.store(pObject, std::memory_order_release);
    s_link.Add();
  }
  ~CWyProcessObject() { End(); }

  static void End() {
    s_bEnded.store(true);
    Storage()->End();
  }

  struct Constructing {
    Constructing() { s_bConstructing = true; }
    ~Constructing() { s_bConstructing = false; }
  };

  static T* Storage() { return std::launder(reinterpret_cast<T*>(s_storage)); }

  static inline constinit std::atomic<T*> s_pConstructed{nullptr};
  static inline constinit std::atomic<bool> s_bEnded{false};
  static inline constinit thread_local bool s_bConstructing = false;  // the calling thread is
  alignas(T) static inline unsigned char s_storage[sizeof(T)];
  static inline constinit CWyProcessObjectLink s_link{End};
};

#endif
