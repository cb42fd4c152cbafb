#ifndef WYERRLOG_INTERNAL_WYTHREADOWNED_H
#define WYERRLOG_INTERNAL_WYTHREADOWNED_H

// Objects that each thread allocates when it first uses them, and that are deleted when it ends.

#include <new>
#include <utility>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"

// The calling thread's object of class T. It is watched by a thread-specific key: a thread-local
// object with a destructor would not do, because the C library allocates memory to note it, and
// ends the process if that fails.
template <typename T>
class CWyThreadOwned {
 public:
  // Returns null if memory allocation fails (the next call tries again), if the system has no key,
  // and while the thread ends: an object allocated then would never be deleted. Not inlined: the
  // compiler would find the thread's pointer anew at each use, which is a call.
  [[gnu::noinline]] static T* Get() {
    State& state = s_state;
    return state.pObject != nullptr ? state.pObject : Allocate(state);
  }

 private:
  // Plain values, which code that runs late in the thread's end finds as well.
  struct State {
    T* pObject = nullptr;
    bool bThreadEnds = false;
  };

  struct Owner : CpaTls {
    Owner() : CpaTls(Delete) {}
    static Owner& Get() {
      static CWyNeverDestroyed<Owner> s_owner;
      return s_owner.value;
    }
    static void Delete(void* pState) {
      State& state = *static_cast<State*>(pState);
      state.bThreadEnds = true;
      delete std::exchange(state.pObject, nullptr);
    }
  };

  [[gnu::noinline, gnu::cold]] static T* Allocate(State& state) {
    if (state.bThreadEnds || s_ownerConstructedAtLoad.SetValue(&state) != 0) return nullptr;
    return state.pObject = new (std::nothrow) T;
  }

  static inline constinit thread_local State s_state;
  // Constructed when the library is loaded: a child that is forked while another thread constructs
  // it would wait for that thread forever.
  static inline Owner& s_ownerConstructedAtLoad = Owner::Get();
};

#endif
