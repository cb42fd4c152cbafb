// The unit of the comparison: the bare write of a finished line. The name of the case is the number
// of the line's bytes.

#include "bench/compare/AppendFile.h"
#include "bench/compare/Contestant.h"

namespace compare {

namespace {

class Bare : public Contestant {
 public:
  explicit Bare(const Workload& workload)
      : m_file(workload.strPath), m_strLine(std::stoul(workload.strCase) - 1, 'x') {
    m_strLine += '\n';
  }

  void Log(const Records& records) override {
    for ([[maybe_unused]] const Record& record : records) m_file.Write(m_strLine);
  }

 private:
  AppendFile m_file;
  std::string m_strLine;
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  return std::make_unique<Bare>(workload);
}

}  // namespace compare
