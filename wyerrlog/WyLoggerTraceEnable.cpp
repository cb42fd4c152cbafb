// Turning tracing on and off. A new configuration is read without the trace guard, so that no
// thread is held up by the file; only the exchange happens under it.

#include <algorithm>
#include <utility>

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/internal/WyLogAccess.h"
#include "wyerrlog/internal/WyMessageCatalog.h"
#include "wyerrlog/internal/WyNoThrow.h"
#include "wyerrlog/internal/WyOutputCall.h"
#include "wyerrlog/internal/WyTraceGeneration.h"

namespace {

bool IsEmpty(const char* pszText) { return pszText == nullptr || *pszText == '\0'; }

}  // namespace

// ---- Enabling -----------------------------------------------------------------------------------

bool CWyLogger::EnableTrace(CWyLogOutput* pOutput, int iFormat, const char* pszDelimiter,
                            const char* pszConfigFile, bool bUseLocalTime, bool bOutputOnly,
                            bool bBuffered) {
  return EnableTrace(pOutput, nullptr, iFormat, pszDelimiter, pszConfigFile, bUseLocalTime,
                     bOutputOnly, bBuffered);
}

bool CWyLogger::EnableTrace(CWyLogOutput* pOutput, CWyLogOutput* pSecondOutput, int iFormat,
                            const char* pszDelimiter, const char* pszConfigFile, bool bUseLocalTime,
                            bool bOutputOnly, bool bBuffered) {
  // Refusals that need no guard come first. An output installed twice would be deleted twice.
  if (pOutput == nullptr || pOutput == pSecondOutput) return false;
  if (pSecondOutput != nullptr && pOutput->IsAsync()) return false;
  auto pConfiguration =
      NewTraceConfiguration(iFormat, pszDelimiter, pszConfigFile, bUseLocalTime, nullptr);
  if (pConfiguration == nullptr) return false;
  CWyErrLogMessage header1(bUseLocalTime);
  CWyErrLogMessage header2(bUseLocalTime);
  // The header lines are assembled before the guard is taken: no thread waits for that.
  const bool bHeaders = pConfiguration->AssembleTraceMessage(&header1, WyTraceLine::Names) &&
                        pConfiguration->AssembleTraceMessage(&header2, WyTraceLine::EqualsSigns);

  const CWyLogWriter writer(m_traceGuard);
  if (!writer || !CanEnableTrace(pOutput, pSecondOutput, bOutputOnly)) return false;
  const CWyTraceData* const pInstalled = m_pTraceData.load();
  // Versions only grow, also over a time without a configuration.
  const int iVersion = pInstalled != nullptr ? pInstalled->m_iVersion
                                             : std::max(m_iConfigVersion.load(), m_iHighestVersion);
  // The former outputs are closed before the new ones open, because both may be the same file. If
  // the opening fails they are gone all the same; the new outputs still belong to the caller.
  if (!bOutputOnly) RemoveTraceConfiguration();
  RemoveTraceOutputs(bOutputOnly);
  if (!OpenTraceOutputs(pOutput, pSecondOutput, bBuffered)) return false;
  m_pTraceOutput = pOutput;
  if (!bOutputOnly) {
    m_pSecondTraceOutput = pSecondOutput;
    InstallTraceConfiguration(std::move(pConfiguration), iVersion + 1, bUseLocalTime);
  }
  try {
    if (bHeaders) LogTraceHeaders(header1, header2, bOutputOnly);
  } catch (...) {
    // An output that throws is not installed: it belongs to the caller, who may delete it.
    m_pTraceOutput = nullptr;
    if (!bOutputOnly) m_pSecondTraceOutput = nullptr;
    throw;
  }
  NoteTracing();
  return true;
}

// Reads the file without a lock of any kind: a pipe may keep it waiting indefinitely. Only the
// copying of the tables is inside the read-side section, which a release waits for; their names are
// copied too, so the configuration may outlive the components.
std::unique_ptr<CWyTraceData> CWyLogger::NewTraceConfiguration(int iFormat,
                                                               const char* pszDelimiter,
                                                               const char* pszConfigFile,
                                                               bool bUseLocalTime,
                                                               CWyTraceConfigObserver* pObserver) {
  auto pConfiguration = WyNoThrow<std::unique_ptr<CWyTraceData>>(
      nullptr, [] { return std::make_unique<CWyTraceData>(); });
  if (pConfiguration == nullptr || m_pCatalog == nullptr) return nullptr;
  {
    const CWyReadSideSection::Scope lookup(m_pCatalog->ReadSide());
    if (!pConfiguration->SetTables(iFormat, pszDelimiter, m_pCatalog->ComponentInfoCount(),
                                   m_pCatalog->ComponentInfo(), m_pCatalog->DataFieldInfo(),
                                   bUseLocalTime)) {
      return nullptr;
    }
  }
  return pConfiguration->ReadConfigFile(pszConfigFile, pObserver) ? std::move(pConfiguration)
                                                                  : nullptr;
}

// An installed output is refused: it would be closed and deleted before it is opened again.
bool CWyLogger::CanEnableTrace(const CWyLogOutput* pOutput, const CWyLogOutput* pSecondOutput,
                               bool bOutputOnly) const {
  if (!IsUsable()) return false;
  if (bOutputOnly && m_pTraceData == nullptr) return false;
  for (const CWyLogOutput* pInstalled : {m_pTraceOutput.load(), m_pSecondTraceOutput.load()}) {
    if (pInstalled != nullptr && (pInstalled == pOutput || pInstalled == pSecondOutput)) {
      return false;
    }
  }
  return true;
}

bool CWyLogger::OpenTraceOutputs(CWyLogOutput* pOutput, CWyLogOutput* pSecondOutput,
                                 bool bBuffered) {
  if (!WyOpenOutput(*pOutput)) return false;
  // EnableBuffering and Close may be code of the host, which a fork must not wait for.
  const CWyOutputCall call(*pOutput);
  pOutput->EnableBuffering(bBuffered);
  if (pSecondOutput == nullptr || WyOpenOutput(*pSecondOutput)) return true;
  // All or nothing: the caller gets both outputs back closed.
  pOutput->Close();
  return false;
}

// The pointer last: a thread that finds it finds a complete configuration. MayTrace, in hosts'
// code, only compares it with null.
void CWyLogger::InstallTraceConfiguration(std::unique_ptr<CWyTraceData> pConfiguration,
                                          int iVersion, bool bUseLocalTime) {
  pConfiguration->m_iVersion = iVersion;
  pConfiguration->ChooseDateTimeField();
  m_iHighestVersion = iVersion;
  ForgetTraceDecisions();
  UseLocalTime(bUseLocalTime);
  m_pTraceData = pConfiguration.release();
}

// Only the first output keeps the headers, for the files that a rollover starts; the second one
// gets them once. Their results are ignored: tracing is on without headers too.
void CWyLogger::LogTraceHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second,
                                bool bOutputOnly) {
  CWyLogOutput* const pPrimary = m_pTraceOutput;
  for (CWyLogOutput* pOutput : {pPrimary, bOutputOnly ? nullptr : m_pSecondTraceOutput.load()}) {
    if (pOutput == nullptr) continue;
    const CWyOutputCall call(*pOutput);
    if (pOutput == pPrimary) pOutput->SetHeaders(first, second);
    pOutput->Log(first);
    pOutput->Log(second);
  }
}

// ---- Disabling ----------------------------------------------------------------------------------

// The version is kept for the whole process: the next configuration gets a higher one.
void CWyLogger::DisableTrace(bool bOutputOnly) {
  const CWyLogWriter writer(m_traceGuard);
  if (!writer) return;
  const CWyTraceData* const pInstalled = m_pTraceData.load();
  if (pInstalled != nullptr && !bOutputOnly) {
    m_iConfigVersion = pInstalled->m_iVersion;
    RemoveTraceConfiguration();
  }
  RemoveTraceOutputs(bOutputOnly);
  NoteTracing();
}

// Threads that fill a record still use the texts of this configuration; they share them with it
// (CWyTraceData::Shared), and the last one frees them.
void CWyLogger::RemoveTraceConfiguration() {
  m_uTracing = 0;
  delete m_pTraceData.exchange(nullptr);
  WyNoteTraceChange();
}

void CWyLogger::RemoveTraceOutputs(bool bOutputOnly) {
  m_uTracing = 0;
  WyCloseAndDelete(m_pTraceOutput.exchange(nullptr));
  if (!bOutputOnly) WyCloseAndDelete(m_pSecondTraceOutput.exchange(nullptr));
  WyNoteTraceChange();
}

// ---- In one call --------------------------------------------------------------------------------

bool WyInitLogger(bool bAppend, bool bUseLocalTime, int iMaxSizeMB, int iFormat,
                  const char* pszDelimiter, const char* pszConfigFile, const char* pszTraceFile,
                  int iBackups) {
  if (IsEmpty(pszConfigFile) || IsEmpty(pszTraceFile)) return false;
  CWyLogger& logger = *theLogger();
  logger.UseLocalTime(bUseLocalTime);
  int iMode = bAppend ? WyFileMode::Append : WyFileMode::RollAtOpen;
  if (iMaxSizeMB > 0) iMode = WyFileMode::AppendRollBySize;
  if (iMaxSizeMB > 0 && !bAppend) {
    // The mode that rolls over by size appends to an existing file. Opening it once in the other
    // mode moves it to a backup first; if that fails the trace is appended.
    CWyLogOutput* const pOnce = logger.NewLogOutput(WyOutputType::File, pszTraceFile,
                                                    WyFileMode::RollAtOpen, iMaxSizeMB, iBackups);
    if (pOnce == nullptr) return false;
    pOnce->Open();
    logger.DeleteLogOutput(pOnce);
  }
  CWyLogOutput* const pOutput =
      logger.NewLogOutput(WyOutputType::File, pszTraceFile, iMode, iMaxSizeMB, iBackups);
  if (pOutput == nullptr) return false;
  const char* const pszSeparator = IsEmpty(pszDelimiter) ? nullptr : pszDelimiter;
  if (logger.EnableTrace(pOutput, iFormat, pszSeparator, pszConfigFile, bUseLocalTime, false,
                         false)) {
    return true;
  }
  logger.DeleteLogOutput(pOutput);
  return false;
}
