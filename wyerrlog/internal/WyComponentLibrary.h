#ifndef WYERRLOG_INTERNAL_WYCOMPONENTLIBRARY_H
#define WYERRLOG_INTERNAL_WYCOMPONENTLIBRARY_H

// The shared libraries that message components come from, and calls into their code.

#include <cxxabi.h>

class CWyErrLogComponent;

// Loads a component library by its short name (see WyErrLogUtilLoadLibrary) and returns what its
// GetComponentPtr returns; null if there is no such library or entry point, if there is no
// component, or if the library throws. The component belongs to its library. Throws std::bad_alloc.
// Thread-safe.
CWyErrLogComponent* WyLoadComponentLibrary(const char* pszLibName);

// Undoes one load of the component's library, of any logger; the last one closes it (dlclose),
// after which the component does not exist any more. No effect on a component that was not loaded.
// Thread-safe.
void WyUnloadComponentLibrary(CWyErrLogComponent& component);

// Calls code of a plug-in and returns its result, or `failure` if it throws anything. The exception
// object is destroyed before the return: its destructor may lie in the plug-in, which the caller
// may close. The end of a cancelled thread (pthread_cancel) is no failure, and goes on. Its
// exception has no object: the compiler binds the reference to a null pointer.
template <typename Result, typename Call>
__attribute__((no_sanitize("undefined"))) Result WyCallPlugIn(Result failure, Call call) {
  try {
    return call();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return failure;
  }
}

#endif
