#ifndef WYERRLOG_TESTS_HOSTOUTPUT_H
#define WYERRLOG_TESTS_HOSTOUTPUT_H

// A host's output, which follows the test's script and records the calls it receives.

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "wyerrlog/WyLogger.h"

namespace test_support {

// Outlives its output, which the logger deletes.
struct OutputScript {
  bool bOpens = true;  // what Open and Log return
  bool bLogs = true;
  bool bAsync = false;
  // Called by the operations, before they return.
  std::function<void()> onOpen, onLog, onClose;

  // "open", "log <text>", ...
  std::vector<std::string> Events() {
    const std::lock_guard lock(m_mutex);
    return m_events;
  }
  void Note(std::string strEvent, const std::function<void()>& then = nullptr) {
    {
      const std::lock_guard lock(m_mutex);
      m_events.push_back(std::move(strEvent));
    }
    if (then) then();
  }
  void Forget() { m_events.clear(); }

 private:
  std::mutex m_mutex;
  std::vector<std::string> m_events;
};

class HostOutput : public CWyLogOutput {
 public:
  explicit HostOutput(OutputScript& script, int iType = 100) : m_script(script) { SetType(iType); }
  ~HostOutput() override { m_script.Note("delete"); }

  bool Open() override {
    m_script.Note("open", m_script.onOpen);
    return m_script.bOpens;
  }
  bool Log(CWyErrLogMessage& msg) override {
    m_script.Note(std::string("log ") + msg.GetBuffer(), m_script.onLog);
    return m_script.bLogs;
  }
  bool Close() override {
    m_script.Note("close", m_script.onClose);
    return true;
  }
  void EnableBuffering(bool bEnable) override {
    m_script.Note(bEnable ? "buffered" : "unbuffered");
  }
  void SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second) override {
    m_script.Note(std::string("headers ") + first.GetBuffer() + second.GetBuffer());
  }
  bool IsAsync() override { return m_script.bAsync; }

 private:
  OutputScript& m_script;
};

// One message of that text to one of the logs, LogErrMsg say.
inline bool Log(CWyLogger& logger, bool (CWyLogger::*pLog)(CWyErrLogMessage&),
                const char* pszText = "x") {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(pszText);
  return (logger.*pLog)(msg);
}

}  // namespace test_support

#endif
