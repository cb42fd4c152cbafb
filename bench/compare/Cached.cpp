// The least that formatting can cost: a thread formats process, thread, date and time once a
// second, and copies the other parts into its line.

#include <sys/syscall.h>

#include <cstring>
#include <ctime>

#include "bench/compare/AppendFile.h"
#include "bench/compare/Contestant.h"

namespace compare {

namespace {

class Line {
 public:
  // Starts a line with "[process/thread][date and time]".
  void Begin() {
    timespec now;
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    if (now.tv_sec != m_tPrefix) MakePrefix(now.tv_sec);
    m_uSize = m_uPrefix;
  }
  Line& operator<<(std::string_view text) {
    std::memcpy(m_szText + m_uSize, text.data(), text.size());
    m_uSize += text.size();
    return *this;
  }
  std::string_view Text() const { return {m_szText, m_uSize}; }

 private:
  void MakePrefix(time_t tNow) {
    tm parts;
    gmtime_r(&tNow, &parts);
    m_uPrefix = static_cast<std::size_t>(
        snprintf(m_szText, sizeof m_szText, "[%d/%ld]", getpid(), syscall(SYS_gettid)));
    m_uPrefix += strftime(m_szText + m_uPrefix, sizeof m_szText - m_uPrefix,
                          "[%a %b %d %Y %H:%M:%S]", &parts);
    m_tPrefix = tNow;
  }

  char m_szText[512];
  std::size_t m_uSize = 0;
  std::size_t m_uPrefix = 0;
  time_t m_tPrefix = -1;
};

class Cached : public Contestant {
 public:
  explicit Cached(const Workload& workload) : m_file(workload.strPath) {}

  void Log(const Records& records) override {
    Line line;
    for (const Record& record : records) {
      line.Begin();
      line << "[Cached.cpp:64][WARNING][agent-00001] User " << record.pszUser << " may not "
           << record.pszAction << " " << record.pszResource << ".\n";
      m_file.Write(line.Text());
    }
  }

 private:
  AppendFile m_file;
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  if (workload.strCase != "translated" || workload.fileKind != FileKind::Plain) return nullptr;
  return std::make_unique<Cached>(workload);
}

}  // namespace compare
