// glog without buffering. Its own prefix contains all fields but the process id, which is part of
// the text.

#include <glog/logging.h>
#include <unistd.h>

#include "bench/compare/Contestant.h"

namespace compare {

namespace {

class Written : public Contestant {
 public:
  explicit Written(const Workload& workload) {
    FLAGS_logbufsecs = 0;
    FLAGS_logbuflevel = -1;
    FLAGS_stderrthreshold = google::GLOG_FATAL;
    FLAGS_timestamp_in_logfile_name = false;
    FLAGS_log_utc_time = true;
    FLAGS_max_log_size = SizeLimit;
    google::SetLogDestination(google::GLOG_INFO, "");
    google::SetLogDestination(google::GLOG_WARNING, workload.strPath.c_str());
    google::SetLogSymlink(google::GLOG_WARNING, "");
    google::InitGoogleLogging("compare");
  }
  ~Written() override { google::ShutdownGoogleLogging(); }

  void Log(const Records& records) override {
    const pid_t pid = getpid();
    for (const Record& record : records) LOG(WARNING) << "[" << pid << "]" << COMPARE_TEXT(record);
  }
};

class SwitchedOff : public Written {
 public:
  using Written::Written;

  void Log(const Records& records) override {
    for (const Record& record : records) VLOG(1) << COMPARE_TEXT(record);
  }
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  return NewPeer<Written, SwitchedOff>(workload);
}

}  // namespace compare
