// Messages without a time base of their own take that of the process logger. In a source of its
// own, because everything else of a message stands below the logger.

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/internal/WyProcessObject.h"

namespace {

// theLogger without a call.
CWyLogger& ProcessLogger() {
  CWyLogger* const pLogger = CWyProcessObject<CWyLogger>::Constructed();
  return pLogger != nullptr ? *pLogger : *theLogger();
}

}  // namespace

CWyErrLogMessage::CWyErrLogMessage() : CWyErrLogMessage(ProcessLogger().ShouldUseLocalTime()) {}
