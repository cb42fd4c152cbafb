// The output: options and texts to the file, and nothing else.

#include "wyerrlog/WyAuditFileOutput.h"

#include "wyerrlog/internal/WyAuditFile.h"
#include "wyerrlog/internal/WyNoThrow.h"
#include "wyerrlog/internal/WySharedFile.h"

CWyAuditFileOutput::CWyAuditFileOutput(const WyFileOptions& options) {
  if (options.shared) {
    m_pFile = std::make_unique<CWySharedFile>(options);
  } else {
    m_pFile = std::make_unique<CWyAuditFile>(options);
  }
  SetType(Type);
}

CWyAuditFileOutput::~CWyAuditFileOutput() = default;

bool CWyAuditFileOutput::Open() { return m_pFile->Open(); }

bool CWyAuditFileOutput::Log(CWyErrLogMessage& msg) {
  return m_pFile->Log({msg.GetBuffer(), static_cast<size_t>(msg.GetStringLen())});
}

bool CWyAuditFileOutput::Flush() { return m_pFile->Flush(); }

bool CWyAuditFileOutput::Close() { return m_pFile->Close(); }

// Both or none: a file must not begin with half a header.
void CWyAuditFileOutput::SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second) {
  if (first.GetBufferLen() <= 0 || second.GetBufferLen() <= 0) return;
  WyNoThrow(false, [&] {
    m_pFile->SetHeaders(std::string(first.GetBuffer()).append(second.GetBuffer()));
    return true;
  });
}
