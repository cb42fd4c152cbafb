#ifndef WYERRLOG_JOURNAL_WYJOURNALOUTPUT_H
#define WYERRLOG_JOURNAL_WYJOURNALOUTPUT_H

// Records in the journal of systemd, with their parts as fields.
//
//   auto pOutput = std::make_unique<CWyJournalOutput>("agent");
//   if (!theLogger()->SetLogOutput(pOutput.get())) return Fail(strerror(errno));
//   pOutput.release();  // the logger closes and deletes it
//
//   journalctl SYSLOG_IDENTIFIER=agent PRIORITY=3 -o verbose
//
// A service whose standard error leads to the journal needs no library for plain lines with a
// priority: see CWyDescriptorOutput.

#include <wyerrlog/WyLogOutput.h>

#include <string>

// Sends each record to the journal by its native protocol (sd_journal_sendv(3)), in these fields:
//
//   MESSAGE             the text; for a message of the error log without what the fields below have
//   PRIORITY            3 (error), 4 (warning) or 6 (information) by the severity of a message of
//                       the error log; for other records the priority given here
//   SYSLOG_IDENTIFIER   the identifier given here, if any; the journal shows the program otherwise
//
// and for messages of the error log
//
//   CODE_FILE           source file
//   CODE_LINE           line
//   WYERRLOG_KEY        key of the message, "login-00004"
//   WYERRLOG_COMPONENT  the component's part of the key, "login"
//
// The journal itself adds the time, the process, the user and the unit. The text of a record may
// have any length and any bytes; one newline at its end is left out.
//
// A call waits while the journal is slow. Several threads may call at once; a forked child goes on
// logging. The type is 19. The caller deletes an output that was not installed.
class WYERRLOG_API CWyJournalOutput : public CWyLogOutput {
 public:
  static constexpr int Type = 19;        // the result of GetType
  static constexpr int Information = 6;  // LOG_INFO of syslog(3); LOG_DEBUG, for traces, is 7

  // Copies the identifier; null and "" are none.
  explicit CWyJournalOutput(const char* pszIdentifier = nullptr, int iPriority = Information);
  ~CWyJournalOutput() override;

  // Returns false, with errno set, if there is no journal (ENOENT, ECONNREFUSED), for a priority
  // that is not 0 to 7 (EINVAL), and if the output is open (EBUSY).
  bool Open() override;
  // Returns false, with errno set, if the journal has not taken the record: ENOENT while it has no
  // socket, ECONNREFUSED while it is not running, or another reason of sendmsg(2).
  bool Log(CWyErrLogMessage& msg) override;
  bool Close() override;  // false if the output is not open

 private:
  const std::string m_strIdentifier;
  const int m_iPriority;
  bool m_bOpen;
};

#endif
