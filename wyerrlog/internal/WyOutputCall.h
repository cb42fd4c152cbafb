#ifndef WYERRLOG_INTERNAL_WYOUTPUTCALL_H
#define WYERRLOG_INTERNAL_WYOUTPUTCALL_H

// What outputs do while they are installed and removed, under the guard of their log.

#include <memory>
#include <optional>

#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/internal/WyForkHandling.h"

// Around an operation of an output. A fork waits for the library's own files and for the terminal,
// so that a child finds an output installed or not. It does not wait for code of the host, which
// may fork itself, or wait for a thread that forks; what the guard protects is whole then.
class CWyOutputCall {
 public:
  explicit CWyOutputCall(CWyLogOutput& output) {
    const int iType = output.GetType();
    if (iType != WyOutputType::Console && iType != WyOutputType::File) m_outside.emplace();
  }

 private:
  std::optional<CWyForkGate::Outside> m_outside;
};

// Also an output that throws is deleted.
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
