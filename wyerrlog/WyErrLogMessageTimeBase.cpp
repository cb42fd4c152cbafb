// Messages without a time base of their own take that of the process logger. In a source of its
// own, because everything else of a message stands below the logger.

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyLogger.h"

CWyErrLogMessage::CWyErrLogMessage() : CWyErrLogMessage(theLogger()->ShouldUseLocalTime()) {}
