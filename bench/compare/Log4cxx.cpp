// log4cxx with its file appenders, which are flushed at every record.

#include <log4cxx/fileappender.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>
#include <log4cxx/rolling/fixedwindowrollingpolicy.h>
#include <log4cxx/rolling/rollingfileappender.h>
#include <log4cxx/rolling/sizebasedtriggeringpolicy.h>
#include <unistd.h>

#include "bench/compare/Contestant.h"

namespace compare {

namespace {

log4cxx::FileAppenderPtr NewAppender(const Workload& workload) {
  if (workload.fileKind == FileKind::Plain) return std::make_shared<log4cxx::FileAppender>();
  const auto pTrigger = std::make_shared<log4cxx::rolling::SizeBasedTriggeringPolicy>();
  pTrigger->setMaxFileSize(std::size_t{SizeLimit} * 1024 * 1024);
  const auto pBackups = std::make_shared<log4cxx::rolling::FixedWindowRollingPolicy>();
  pBackups->setFileNamePattern(workload.strPath + ".%i");
  auto pAppender = std::make_shared<log4cxx::rolling::RollingFileAppender>();
  pAppender->setTriggeringPolicy(pTrigger);
  pAppender->setRollingPolicy(pBackups);
  return pAppender;
}

class Written : public Contestant {
 public:
  explicit Written(const Workload& workload) : m_pLogger(log4cxx::Logger::getLogger("compare")) {
    // The layout has no conversion for the process id.
    const auto pLayout = std::make_shared<log4cxx::PatternLayout>(
        "[" + std::to_string(getpid()) + "/%t][%d{EEE MMM dd yyyy HH:mm:ss}][%f:%L][%p] %m%n");
    const log4cxx::FileAppenderPtr pAppender = NewAppender(workload);
    log4cxx::helpers::Pool pool;
    pAppender->setLayout(pLayout);
    pAppender->setFile(workload.strPath);
    pAppender->setAppend(true);
    pAppender->setImmediateFlush(true);
    pAppender->activateOptions(pool);
    m_pLogger->addAppender(pAppender);
    m_pLogger->setLevel(log4cxx::Level::getWarn());
  }

  void Log(const Records& records) override {
    for (const Record& record : records) LOG4CXX_WARN(m_pLogger, COMPARE_TEXT(record));
  }

 protected:
  const log4cxx::LoggerPtr m_pLogger;
};

class SwitchedOff : public Written {
 public:
  using Written::Written;

  void Log(const Records& records) override {
    for (const Record& record : records) LOG4CXX_DEBUG(m_pLogger, COMPARE_TEXT(record));
  }
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  return NewPeer<Written, SwitchedOff>(workload);
}

}  // namespace compare
