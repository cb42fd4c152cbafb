// The way of a finished record to its logger. In a source of its own, because everything else of a
// trace record stands below the logger.

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyTraceData.h"

bool CWyTraceData::Log() { return GetLogger()->LogTraceMsg(m_message); }

CWyLogger* CWyTraceData::GetLogger() const {
  return m_pLogger != nullptr ? m_pLogger : theLogger();
}
