// A module whose static object logs when it is made and when it is destroyed, from a handler at
// exit and at the end of each thread that has used the module: to the file named by
// STATIC_MODULE_LOG.

#include <pthread.h>

#include <cstdlib>
#include <string>

#include "wyerrlog/WyLoggerList.h"

#define TEXT_OF_NUMBER(number) #number
#define NAME_OF(number) "module " TEXT_OF_NUMBER(number)

namespace {

bool Write(const char* pszEvent) {
  CWyErrLogMessage msg;
  msg.SetFormattedMessage((NAME_OF(NUMBER) + std::string(" ") + pszEvent + "\n").c_str());
  CWyLogger* const pLogger = getMyLogger(NAME_OF(NUMBER));
  CWyTraceData* pData = nullptr;
  return pLogger != nullptr && pLogger->LogErrMsg(msg) &&
         !pLogger->ShouldTraceAlloc(0x01000000, &pData);
}

class Static {
 public:
  Static() {
    CWyLogger& logger = *getMyLogger(NAME_OF(NUMBER));
    CWyLogOutput* const pOutput = logger.NewLogOutput(1, getenv("STATIC_MODULE_LOG"), 1, 0, 0);
    if (!logger.SetLogOutput(pOutput)) logger.DeleteLogOutput(pOutput);
    pthread_key_create(&m_key, [](void*) { Write("ends a thread"); });
    atexit([] {
      Write("is left");
      removeMyLogger(NAME_OF(NUMBER));
    });
    Write("is made");
  }
  ~Static() {
    Write("is destroyed");
    pthread_key_delete(m_key);
  }

  void NoteThread() { pthread_setspecific(m_key, this); }

 private:
  pthread_key_t m_key{};
};

Static s_static;

}  // namespace

extern "C" WYERRLOG_API bool UseModule() {
  s_static.NoteThread();
  return Write("is used");
}
