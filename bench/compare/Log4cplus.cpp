// log4cplus with its file appenders, which are flushed at every record.

#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/loggingmacros.h>

#include "bench/compare/Contestant.h"

namespace compare {

namespace {

log4cplus::SharedAppenderPtr NewAppender(const Workload& workload) {
  constexpr bool ImmediateFlush = true;
  if (workload.fileKind == FileKind::Plain) {
    return log4cplus::SharedAppenderPtr(
        new log4cplus::FileAppender(workload.strPath, std::ios_base::app, ImmediateFlush));
  }
  constexpr int MaxBackups = 5;
  return log4cplus::SharedAppenderPtr(new log4cplus::RollingFileAppender(
      workload.strPath, long{SizeLimit} * 1024 * 1024, MaxBackups, ImmediateFlush));
}

class Written : public Contestant {
 public:
  explicit Written(const Workload& workload) : m_logger(log4cplus::Logger::getInstance("compare")) {
    log4cplus::SharedAppenderPtr pAppender = NewAppender(workload);
    pAppender->setLayout(std::make_unique<log4cplus::PatternLayout>(
        "[%i/%t][%d{%a %b %d %Y %H:%M:%S}][%b:%L][%p] %m%n"));
    m_logger.addAppender(pAppender);
    m_logger.setLogLevel(log4cplus::WARN_LOG_LEVEL);
  }

  void Log(const Records& records) override {
    for (const Record& record : records) LOG4CPLUS_WARN(m_logger, COMPARE_TEXT(record));
  }

 protected:
  log4cplus::Initializer m_initializer;
  log4cplus::Logger m_logger;
};

class SwitchedOff : public Written {
 public:
  using Written::Written;

  void Log(const Records& records) override {
    for (const Record& record : records) LOG4CPLUS_DEBUG(m_logger, COMPARE_TEXT(record));
  }
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  return NewPeer<Written, SwitchedOff>(workload);
}

}  // namespace compare
