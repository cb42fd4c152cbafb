#ifndef BENCH_COMPARE_CONTESTANT_H
#define BENCH_COMPARE_CONTESTANT_H

// The interface of a contestant: one way to write log records. Each contestant is a program of its
// own, built from main.cpp and the contestant's source, which defines NewContestant.
//
// All contestants write the line
//
//   [12345/12346][Mon Nov 16 2026 17:16:13][Agent.cpp:41][WARNING] [agent-00001] User ... may not
//   ...
//
// of about 125 bytes: process, thread, date and time, file and line, severity, and a text with
// three arguments that vary. write(2) has accepted it when the call returns.

#include <array>
#include <cstddef>
#include <memory>
#include <string>

namespace compare {

struct Record {
  const char* pszUser;
  const char* pszAction;
  const char* pszResource;
};

// A sequence of `nCount` records. It repeats the rows of a table, whose texts have the same length
// in every row.
class Records {
 public:
  class Iterator {
   public:
    explicit Iterator(std::size_t nAt) : m_nAt(nAt) {}
    const Record& operator*() const { return s_table[m_nAt % s_table.size()]; }
    Iterator& operator++() {
      ++m_nAt;
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    std::size_t m_nAt;
  };

  explicit Records(std::size_t nCount) : m_nCount(nCount) {}
  Iterator begin() const { return Iterator(0); }
  Iterator end() const { return Iterator(m_nCount); }

 private:
  static constexpr std::array<Record, 8> s_table = {{
      {"alice01", "write", "/reports/2026/q1"},
      {"berta02", "fetch", "/reports/2026/q2"},
      {"carol03", "write", "/reports/2026/q3"},
      {"david04", "erase", "/reports/2026/q4"},
      {"emily05", "fetch", "/accounts/000117"},
      {"frank06", "write", "/accounts/000228"},
      {"gerda07", "erase", "/accounts/000339"},
      {"henry08", "fetch", "/accounts/000440"},
  }};

  std::size_t m_nCount;
};

// Whether the file is limited, and how it is opened. The numbers are those of WyFileMode.
enum class FileKind { Plain = 1, LimitedAppend = 3, LimitedBackup = 4 };
// The limit in megabytes, which no run reaches.
inline constexpr int SizeLimit = 2000;

struct Workload {
  std::string strCase;  // the kind of record; cases.py lists them
  FileKind fileKind;
  std::string strPath;
};

class Contestant {
 public:
  virtual ~Contestant() = default;
  // Logs the records. Throws on failure. Thread-safe.
  virtual void Log(const Records& records) = 0;
};

// Opens the file for appending. Returns null if the contestant does not support the case or the
// kind of file.
std::unique_ptr<Contestant> NewContestant(const Workload& workload);

// NewContestant for another logging library. `Written` logs the line; the records of `SwitchedOff`
// have a severity that is switched off.
template <typename Written, typename SwitchedOff>
std::unique_ptr<Contestant> NewPeer(const Workload& workload) {
  if (workload.strCase == "translated") return std::make_unique<Written>(workload);
  if (workload.strCase == "tracing-off") return std::make_unique<SwitchedOff>(workload);
  return nullptr;
}

}  // namespace compare

// The text of a record, for libraries with the interface of std::ostream.
#define COMPARE_TEXT(record)                                                            \
  "[agent-00001] User " << (record).pszUser << " may not " << (record).pszAction << " " \
                        << (record).pszResource << "."

#endif
