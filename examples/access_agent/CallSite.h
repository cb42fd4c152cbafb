#ifndef ACCESS_AGENT_CALLSITE_H
#define ACCESS_AGENT_CALLSITE_H

// The place in the source that a record tells. As the last parameter of an operation, with the
// default CallSite::Here(), it is the place of the call. (std::source_location does the same where
// the compiler has it.)
struct CallSite {
  const char* pszFile;
  int iLine;
  const char* pszFunction;

  static constexpr CallSite Here(const char* pszFile = __builtin_FILE(),
                                 int iLine = __builtin_LINE(),
                                 const char* pszFunction = __builtin_FUNCTION()) {
    return {pszFile, iLine, pszFunction};
  }
};

#endif
