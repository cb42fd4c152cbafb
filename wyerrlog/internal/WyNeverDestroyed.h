#ifndef WYERRLOG_INTERNAL_WYNEVERDESTROYED_H
#define WYERRLOG_INTERNAL_WYNEVERDESTROYED_H

// Static objects that are still usable after the process's exit handlers have run.

// Holds an object whose destructor never runs. Threads that outlive main, and destructors of other
// static objects, may still use it.
//
//   constinit CWyNeverDestroyed<CWyMutex> s_mutex;
//   const CWyMutexLock lock(s_mutex.value);
template <typename T>
union CWyNeverDestroyed {
  T value;
  constexpr CWyNeverDestroyed() : value() {}
  ~CWyNeverDestroyed() {}
};

#endif
