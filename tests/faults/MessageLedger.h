#ifndef TESTS_FAULTS_MESSAGELEDGER_H
#define TESTS_FAULTS_MESSAGELEDGER_H

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <map>
#include <new>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "test_support/TempDirectory.h"

namespace faults {

// Numbered messages, what was answered to each of them, and whether the files of a directory agree.
// The answers lie in memory that a forked child shares: they survive its death.
class MessageLedger {
 public:
  static constexpr size_t Threads = 4;
  static constexpr size_t MessagesPerThread = 32;

  MessageLedger() : m_pThreads(Map()) {}
  ~MessageLedger() { munmap(m_pThreads, sizeof *m_pThreads); }
  MessageLedger(const MessageLedger&) = delete;
  MessageLedger& operator=(const MessageLedger&) = delete;

  // Logs the thread's next message by `log`, which takes the text and answers whether it is logged.
  template <typename Logging>
  void Log(size_t uThread, Logging log) {
    Thread& thread = m_pThreads->at(uThread);
    const size_t uNumber = thread.uCount++;
    thread.answers.at(uNumber) = Pending;
    const bool bLogged = log(Text(uThread, uNumber));
    thread.answers.at(uNumber) = bLogged ? Accepted : Refused;
  }

  size_t Count(bool bAccepted) const {
    size_t uCount = 0;
    for (const auto& [strText, answer] : Answers()) {
      uCount += answer == (bAccepted ? Accepted : Refused) ? 1u : 0u;
    }
    return uCount;
  }

  // Every accepted message is a line of one file, once, and no refused one is. A message that was
  // neither when its process died may be. All else is a part of one that was not accepted, and the
  // lines that are named here or a part of them.
  void ExpectAgreement(const TempDirectory& directory, const std::set<std::string>& others) const {
    const std::map<std::string, Answer> answers = Answers();
    std::map<std::string, int> found;
    for (const std::string& strName : directory.Names()) {
      std::istringstream content(directory.Read(strName));
      for (std::string strLine; std::getline(content, strLine);) {
        const bool bMessage = !content.eof() && answers.contains(strLine);
        if (bMessage) ++found[strLine];
        EXPECT_TRUE(bMessage || IsPart(strLine, answers) || IsPart(strLine, others))
            << strName << " has \"" << strLine << '"';
      }
    }
    for (const auto& [strText, answer] : answers) {
      if (answer == Accepted) {
        EXPECT_EQ(found[strText], 1) << strText;
      } else {
        EXPECT_LE(found[strText], answer == Pending ? 1 : 0) << strText;
      }
    }
  }

 private:
  enum Answer : char { Pending, Accepted, Refused };
  struct Thread {
    std::atomic<size_t> uCount{0};
    std::array<std::atomic<Answer>, MessagesPerThread> answers{};
  };
  using AllThreads = std::array<Thread, Threads>;

  static AllThreads* Map() {
    void* const pMemory = mmap(nullptr, sizeof(AllThreads), PROT_READ | PROT_WRITE,
                               MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED) throw std::runtime_error("mmap");
    return new (pMemory) AllThreads;
  }

  // Without its newline.
  static std::string Line(size_t uThread, size_t uNumber) {
    char szLine[80];
    snprintf(szLine, sizeof szLine, "message %zu.%02zu ....................... its end", uThread,
             uNumber);
    return szLine;
  }
  static std::string Text(size_t uThread, size_t uNumber) { return Line(uThread, uNumber) + '\n'; }

  // Of all messages, by their lines.
  std::map<std::string, Answer> Answers() const {
    std::map<std::string, Answer> answers;
    for (size_t t = 0; t < Threads; ++t) {
      const Thread& thread = m_pThreads->at(t);
      for (size_t i = 0; i < thread.uCount; ++i) answers[Line(t, i)] = thread.answers.at(i);
    }
    return answers;
  }

  static bool IsPart(std::string_view strPart, const std::map<std::string, Answer>& answers) {
    for (const auto& [strLine, answer] : answers) {
      if (answer != Accepted && strLine.starts_with(strPart)) return true;
    }
    return false;
  }
  static bool IsPart(std::string_view strPart, const std::set<std::string>& lines) {
    for (const std::string& strLine : lines) {
      if (strLine.starts_with(strPart)) return true;
    }
    return false;
  }

  AllThreads* m_pThreads;
};

}  // namespace faults

#endif
