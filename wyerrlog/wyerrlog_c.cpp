// The functions for C: loggers, messages, free texts and losses. Each is a call of the C++ front
// end behind a barrier for exceptions; whatever it returns, errno says why it failed.

#include "wyerrlog/wyerrlog_c.h"

#include <wyxlate/WyXlate.h>

#include <atomic>
#include <cstring>

#include "wyerrlog/WyErrLogVersion.h"
#include "wyerrlog/WyLog.h"
#include "wyerrlog/WyLogLoss.h"
#include "wyerrlog/WyLoggerList.h"
#include "wyerrlog/internal/WyCInterface.h"

// ---- Loggers ------------------------------------------------------------------------------------

wyerrlog_logger* wyerrlog_get_logger(const char* name) {
  if (name == nullptr) return WyHandleOf(theLogger());
  if (*name == '\0') return WyFailForC<wyerrlog_logger*>(EINVAL, nullptr);
  errno = ENOMEM;  // what is left to fail
  return WyCallFromC<wyerrlog_logger*>(nullptr, [&] { return WyHandleOf(getMyLogger(name)); });
}

int wyerrlog_remove_logger(const char* name) {
  return WyCallFromC(0, [&] {
    CWyLoggerList* const pList = name != nullptr ? theLoggerList() : nullptr;
    if (pList == nullptr || pList->GetLogger(name) == nullptr) return WyFailForC(ENOENT, 0);
    errno = EDEADLK;  // the caller is inside one of the logger's calls
    return pList->RemoveLogger(name) ? 1 : 0;
  });
}

void wyerrlog_use_local_time(wyerrlog_logger* logger, int local) {
  WyLoggerOf(logger).UseLocalTime(local != 0);
}

int wyerrlog_set_resource_directory(const char* directory) {
  const bool bSet = CWyXlate::SetResourceDirectory(directory);
  WySetErrorForC(bSet ? "" : "the resource directory is not a directory that can be read");
  return bSet ? 1 : WyFailForC(EINVAL, 0);
}

const char* wyerrlog_version(void) { return WYERRLOG_VERSION; }

// ---- Messages -----------------------------------------------------------------------------------

namespace {

constexpr size_t MaxArguments = CpaArgList::MaxArguments;

}  // namespace

uint32_t wyerrlog_component_id(unsigned int component, unsigned int sub_component) {
  return WyComponentId(component, sub_component);
}

uint32_t wyerrlog_message_id(uint32_t component_id, int severity, unsigned int number) {
  return WyMessageId(component_id, static_cast<WySeverity::Number>(severity), number);
}

int wyerrlog_message_array(wyerrlog_logger* logger, const char* file, int line,
                           const char* function, uint32_t id, size_t count,
                           const char* const* arguments) {
  if (count > MaxArguments || (count != 0 && arguments == nullptr)) return WyFailForC(EINVAL, 0);
  return WyCallFromC(0, [&] {
    WyLogDetail::TextRef aTexts[MaxArguments];
    for (size_t u = 0; u < count; ++u) aTexts[u] = WyLogDetail::Borrow(arguments[u]).Ref();
    const WyCallSite where = WyPlaceOf(file, line, function);
    const WyLogDetail::Statement statement = {
        id, where.iLine, WyLogDetail::FilePart(where.pszFile), aTexts, count, 0};
    return WyLoggerOf(logger).LogStatement(statement) ? 1 : 0;
  });
}

int wyerrlog_message(wyerrlog_logger* logger, const char* file, int line, const char* function,
                     uint32_t id, ...) {
  const char* apszArguments[MaxArguments + 1] = {};  // one more shows that there are too many
  size_t uCount = 0;
  va_list args;
  va_start(args, id);
  while (uCount <= MaxArguments && (apszArguments[uCount] = va_arg(args, const char*)) != nullptr) {
    ++uCount;
  }
  va_end(args);
  return wyerrlog_message_array(logger, file, line, function, id, uCount, apszArguments);
}

int wyerrlog_vtext(wyerrlog_logger* logger, const char* file, int line, const char* function,
                   int severity, const char* format, va_list arguments) {
  if (format == nullptr || severity < WYERRLOG_INFORMATION || severity > WYERRLOG_ERROR) {
    return WyFailForC(EINVAL, 0);
  }
  return WyCallFromC(0, [&] {
    const WySeverityAt at(static_cast<WySeverity::Number>(severity),
                          WyPlaceOf(file, line, function));
    bool bFormatted = false;
    const auto log = [&](const WyLogDetail::Statement& statement) {
      bFormatted = true;
      return WyLoggerOf(logger).LogStatement(statement);
    };
    if (WyLogDetail::WithTextVA(at, log, format, arguments)) return 1;
    return bFormatted ? 0 : WyFailForC(EINVAL, 0);
  });
}

int wyerrlog_text(wyerrlog_logger* logger, const char* file, int line, const char* function,
                  int severity, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int iResult = wyerrlog_vtext(logger, file, line, function, severity, format, args);
  va_end(args);
  return iResult;
}

// ---- Losses -------------------------------------------------------------------------------------

namespace {

// A callback of a host in C. Entries are never freed, because a call may be under way in another
// thread; the list has one for each callback and parameter, so a module that is loaded again and
// again with the same ones adds nothing.
struct LossCallback {
  wyerrlog_loss_callback pfnCallback;
  void* pParam;
  LossCallback* pNext;
};

constinit std::atomic<LossCallback*> s_pCallbacks{nullptr};

// Returns null if memory allocation fails. A second entry that another thread adds at the same time
// does no harm.
LossCallback* Intern(wyerrlog_loss_callback pfnCallback, void* pParam) {
  LossCallback* pFirst = s_pCallbacks.load(std::memory_order_acquire);
  for (LossCallback* p = pFirst; p != nullptr; p = p->pNext) {
    if (p->pfnCallback == pfnCallback && p->pParam == pParam) return p;
  }
  auto* const pNew = new (std::nothrow) LossCallback{pfnCallback, pParam, pFirst};
  if (pNew == nullptr) return nullptr;
  while (!s_pCallbacks.compare_exchange_weak(pNew->pNext, pNew, std::memory_order_release)) {
  }
  return pNew;
}

wyerrlog_loss ForC(const WyLogLoss& loss) {
  return {loss.uRefused, loss.iSince, loss.bLosing ? 1 : 0, loss.iErrno};
}

void OnLoss(CWyLogger& logger, WyLogKind log, const WyLogLoss& loss, void* pParam) {
  const auto* const pCallback = static_cast<const LossCallback*>(pParam);
  const wyerrlog_loss account = ForC(loss);
  pCallback->pfnCallback(&logger != theLogger() ? WyHandleOf(&logger) : nullptr,
                         static_cast<wyerrlog_log>(log), &account, pCallback->pParam);
}

}  // namespace

int wyerrlog_get_loss(wyerrlog_logger* logger, int log, wyerrlog_loss* loss) {
  if (loss == nullptr || !WyIsLog(log)) return WyFailForC(EINVAL, 0);
  *loss = ForC(WyGetLogLoss(WyLoggerOf(logger), static_cast<WyLogKind>(log)));
  return 1;
}

int wyerrlog_on_loss(wyerrlog_logger* logger, wyerrlog_loss_callback callback, void* param) {
  return WyCallFromC(0, [&] {
    CWyLogger& target = WyLoggerOf(logger);
    if (callback == nullptr) return WySetLogLossCallback(target, nullptr, nullptr) ? 1 : 0;
    LossCallback* const pEntry = Intern(callback, param);
    if (pEntry == nullptr) return WyFailForC(ENOMEM, 0);
    return WySetLogLossCallback(target, OnLoss, pEntry) ? 1 : 0;
  });
}
