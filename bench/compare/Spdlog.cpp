// spdlog with loggers for several threads (_mt), which are flushed at every record.

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include "bench/compare/Contestant.h"

namespace compare {

namespace {

std::shared_ptr<spdlog::logger> NewLogger(const Workload& workload) {
  if (workload.fileKind == FileKind::Plain) {
    return spdlog::basic_logger_mt("compare", workload.strPath);
  }
  constexpr std::size_t MaxBackups = 5;
  return spdlog::rotating_logger_mt("compare", workload.strPath,
                                    std::size_t{SizeLimit} * 1024 * 1024, MaxBackups);
}

class Written : public Contestant {
 public:
  explicit Written(const Workload& workload) : m_pLogger(NewLogger(workload)) {
    m_pLogger->set_pattern("[%P/%t][%a %b %d %Y %H:%M:%S][%s:%#][%l] %v",
                           spdlog::pattern_time_type::utc);
    m_pLogger->set_level(spdlog::level::warn);
    m_pLogger->flush_on(spdlog::level::warn);
  }

  void Log(const Records& records) override {
    for (const Record& record : records) {
      m_pLogger->log(spdlog::source_loc{__FILE__, __LINE__, __func__}, spdlog::level::warn,
                     "[agent-00001] User {} may not {} {}.", record.pszUser, record.pszAction,
                     record.pszResource);
    }
  }

 protected:
  const std::shared_ptr<spdlog::logger> m_pLogger;
};

class SwitchedOff : public Written {
 public:
  using Written::Written;

  void Log(const Records& records) override {
    for (const Record& record : records) {
      m_pLogger->debug("[agent-00001] User {} may not {} {}.", record.pszUser, record.pszAction,
                       record.pszResource);
    }
  }
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  return NewPeer<Written, SwitchedOff>(workload);
}

}  // namespace compare
