#ifndef WYERRLOG_INTERNAL_WYOUTPUTCALL_H
#define WYERRLOG_INTERNAL_WYOUTPUTCALL_H

// The calls of an output's operations while it is installed and removed, with the guard of its log
// held for writing.

#include <memory>
#include <optional>

#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/internal/WyForkHandling.h"

// A scope around one operation of an output. A fork waits for the library's own files and for the
// terminal, so that a child finds an output either installed or not. It does not wait for code of
// the host, which may itself fork, or wait for a thread that forks; the data under the guard is
// consistent at that moment.
class CWyOutputCall {
 public:
  explicit CWyOutputCall(CWyLogOutput& output) {
    const int iType = output.GetType();
    if (iType != WyOutputType::Console && iType != WyOutputType::File) m_outside.emplace();
  }

 private:
  std::optional<CWyForkGate::Outside> m_outside;
};

// Closes and deletes the output, if there is one; deletes it also if Close throws, and passes the
// exception on.
inline void WyCloseAndDelete(CWyLogOutput* pOutput) {
  if (pOutput == nullptr) return;
  const CWyOutputCall call(*pOutput);
  const std::unique_ptr<CWyLogOutput> pDeleted(pOutput);
  pOutput->Close();
}

inline bool WyOpenOutput(CWyLogOutput& output) {
  const CWyOutputCall call(output);
  return output.Open();
}

#endif
