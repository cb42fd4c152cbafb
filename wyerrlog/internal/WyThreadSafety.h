#ifndef WYERRLOG_INTERNAL_WYTHREADSAFETY_H
#define WYERRLOG_INTERNAL_WYTHREADSAFETY_H

// Which mutex protects which data, in a form that clang checks (-Wthread-safety). Other compilers
// ignore it. These are attributes, which only a macro can omit.
//
//   CWyMutex m_mutex;
//   int m_iWaiting WYERRLOG_GUARDED_BY(m_mutex);      // read and written only with m_mutex held
//   void Wake() WYERRLOG_REQUIRES(m_mutex);           // called only with m_mutex held

#ifdef __clang__
#define WYERRLOG_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define WYERRLOG_THREAD_SAFETY(attribute)
#endif

// On classes: a mutex; a holder that has the mutex from its constructor to its destructor.
#define WYERRLOG_CAPABILITY(name) WYERRLOG_THREAD_SAFETY(capability(name))
#define WYERRLOG_SCOPED_CAPABILITY WYERRLOG_THREAD_SAFETY(scoped_lockable)

// On data.
#define WYERRLOG_GUARDED_BY(mutex) WYERRLOG_THREAD_SAFETY(guarded_by(mutex))

// On functions: the caller holds the mutex; the function takes it; the function releases it.
#define WYERRLOG_REQUIRES(mutex) WYERRLOG_THREAD_SAFETY(requires_capability(mutex))
#define WYERRLOG_ACQUIRE(...) WYERRLOG_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define WYERRLOG_RELEASE(...) WYERRLOG_THREAD_SAFETY(release_capability(__VA_ARGS__))

// On functions that take and release mutexes in ways that the analysis cannot follow. A comment at
// each use has the reason.
#define WYERRLOG_NO_THREAD_SAFETY_ANALYSIS WYERRLOG_THREAD_SAFETY(no_thread_safety_analysis)

#endif
