// The output interface and its callback kinds. Callbacks have no state but the host's function:
// they pass the message's own text, so no log call copies it. The functions run with the log's
// guard held for reading (see CWyLogger), so Close never runs beside a Log.

#include "wyerrlog/WyLogOutput.h"

// ---- The interface ------------------------------------------------------------------------------

// No kind of the library: DeleteLogOutput leaves outputs of the host's own kinds alone.
CWyLogOutput::CWyLogOutput() : m_iType(-1) {}

CWyLogOutput::~CWyLogOutput() = default;

// Nothing is ever held back, so there is nothing to flush.
bool CWyLogOutput::Flush() { return true; }

void CWyLogOutput::EnableBuffering(bool /*bEnable*/) {}

bool CWyLogOutput::IsBufferingEnabled() { return false; }

bool CWyLogOutput::IsBufferingSupported() { return false; }

void CWyLogOutput::SetHeaders(CWyErrLogMessage& /*first*/, CWyErrLogMessage& /*second*/) {}

bool CWyLogOutput::IsAsync() { return false; }

// ---- Synchronous callback -----------------------------------------------------------------------

CWySyncCallbackOutput::CWySyncCallbackOutput() : m_pfnCallback(nullptr) {
  SetType(WyOutputType::SyncCallback);
}

CWySyncCallbackOutput::~CWySyncCallbackOutput() = default;

bool CWySyncCallbackOutput::SetParams(Callback pfnCallback) {
  m_pfnCallback = pfnCallback;
  return true;
}

// Without a function too: SetParams accepts null, and each Log then returns false.
bool CWySyncCallbackOutput::Open() { return true; }

bool CWySyncCallbackOutput::Log(CWyErrLogMessage& msg) {
  if (m_pfnCallback == nullptr) return false;
  m_pfnCallback(msg.GetBuffer(), msg.GetStringLen());
  return true;
}

// Forgets the function: the module that it lies in may be unloaded after this.
bool CWySyncCallbackOutput::Close() {
  m_pfnCallback = nullptr;
  return true;
}

// ---- Asynchronous callback ----------------------------------------------------------------------

CWyAsyncCallbackOutput::CWyAsyncCallbackOutput() : m_pfnCallback(nullptr) {
  SetType(WyOutputType::AsyncCallback);
}

CWyAsyncCallbackOutput::~CWyAsyncCallbackOutput() = default;

bool CWyAsyncCallbackOutput::SetParams(Callback pfnCallback) {
  m_pfnCallback = pfnCallback;
  return true;
}

bool CWyAsyncCallbackOutput::Open() { return true; }

bool CWyAsyncCallbackOutput::Log(CWyErrLogMessage& msg) {
  if (m_pfnCallback == nullptr) return false;
  const int iLength = msg.GetStringLen();
  m_pfnCallback(msg.ReleaseBuffer(), iLength, CWyErrLogMessage::FreeBuffer);
  return true;
}

// Keeps the function, unlike the synchronous kind: a closed output may be opened again.
bool CWyAsyncCallbackOutput::Close() { return true; }

bool CWyAsyncCallbackOutput::IsAsync() { return true; }

// ---- Synchronous callback with a parameter ------------------------------------------------------

CWySyncParameterizedCallbackOutput::CWySyncParameterizedCallbackOutput()
    : m_pfnCallback(nullptr), m_pParam(nullptr) {
  SetType(WyOutputType::SyncParameterizedCallback);
}

CWySyncParameterizedCallbackOutput::~CWySyncParameterizedCallbackOutput() = default;

bool CWySyncParameterizedCallbackOutput::SetParams(Callback pfnCallback, void* pParam) {
  m_pfnCallback = pfnCallback;
  m_pParam = pParam;
  return true;
}

// Unlike the kinds without a parameter: here Open refuses what could not be called.
bool CWySyncParameterizedCallbackOutput::Open() {
  return m_pfnCallback != nullptr && m_pParam != nullptr;
}

bool CWySyncParameterizedCallbackOutput::Log(CWyErrLogMessage& msg) {
  if (m_pfnCallback == nullptr || m_pParam == nullptr) return false;
  m_pfnCallback(msg.GetBuffer(), msg.GetStringLen(), m_pParam);
  return true;
}

bool CWySyncParameterizedCallbackOutput::Close() {
  m_pfnCallback = nullptr;
  m_pParam = nullptr;
  return true;
}

// ---- Asynchronous callback with a parameter -----------------------------------------------------

CWyAsyncParameterizedCallbackOutput::CWyAsyncParameterizedCallbackOutput()
    : m_pfnCallback(nullptr), m_pParam(nullptr) {
  SetType(WyOutputType::AsyncParameterizedCallback);
}

CWyAsyncParameterizedCallbackOutput::~CWyAsyncParameterizedCallbackOutput() = default;

bool CWyAsyncParameterizedCallbackOutput::SetParams(Callback pfnCallback, void* pParam) {
  m_pfnCallback = pfnCallback;
  m_pParam = pParam;
  return true;
}

bool CWyAsyncParameterizedCallbackOutput::Open() {
  return m_pfnCallback != nullptr && m_pParam != nullptr;
}

// The parameter may be null here, and only Open refuses that: a host may construct and use such an
// output without a logger.
bool CWyAsyncParameterizedCallbackOutput::Log(CWyErrLogMessage& msg) {
  if (m_pfnCallback == nullptr) return false;
  const int iLength = msg.GetStringLen();
  m_pfnCallback(msg.ReleaseBuffer(), iLength, CWyErrLogMessage::FreeBuffer, m_pParam);
  return true;
}

bool CWyAsyncParameterizedCallbackOutput::Close() { return true; }

bool CWyAsyncParameterizedCallbackOutput::IsAsync() { return true; }
