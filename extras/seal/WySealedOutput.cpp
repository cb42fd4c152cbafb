// The output: options and texts to the writer, and nothing else.

#include "wyerrlog_seal/WySealedOutput.h"

#include "extras/seal/internal/WySealWriter.h"

namespace {

// The published number of this type; configurations and tools know it, so it never changes.
constexpr int SealedOutputType = 16;

// Backups are looked for in the file's directory.
WyFileOptions WithDirectory(WyFileOptions file) {
  if (!file.path.empty() && file.path.find('/') == std::string::npos) file.path.insert(0, "./");
  return file;
}

}  // namespace

CWySealedOutput::CWySealedOutput(const WyFileOptions& file, const std::string& strKeyDirectory,
                                 const WySealOptions& options)
    : m_pWriter(std::make_unique<CWySealWriter>(WithDirectory(file), strKeyDirectory, options)) {
  SetType(SealedOutputType);
}

CWySealedOutput::~CWySealedOutput() = default;

bool CWySealedOutput::Open() { return m_pWriter->Open(); }

bool CWySealedOutput::Log(CWyErrLogMessage& msg) {
  const char* const pszText = msg.GetBuffer();
  return pszText != nullptr && m_pWriter->Log({pszText, static_cast<size_t>(msg.GetStringLen())});
}

bool CWySealedOutput::Log(std::string_view strText) { return m_pWriter->Log(strText); }

bool CWySealedOutput::Flush() { return m_pWriter->Flush(); }

bool CWySealedOutput::Close() { return m_pWriter->Close(); }
