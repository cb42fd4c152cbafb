#ifndef WYERRLOG_INTERNAL_WYRECORDWRITER_H
#define WYERRLOG_INTERNAL_WYRECORDWRITER_H

// Writing one record to a descriptor so that a reader finds it whole or knows that it is not.

#include <sys/types.h>
#include <sys/uio.h>

#include <string_view>

// Writes records with one system call each. What the system cuts short is continued; a record that
// cannot be continued ends its line, so that the next one begins on a line of its own. One thread
// at a time: another one's record would come between the pieces of a record that was cut short.
class CWyRecordWriter {
 public:
  // The system call: writev(2), or one that takes the same arguments.
  using Call = ssize_t (*)(int hFile, const iovec* pParts, int iCount);

  // Writes both texts as one record. Returns false, with errno set, if the system has not taken all
  // of it. A call that a signal handler interrupts is repeated.
  bool Write(int hFile, std::string_view strPrefix, std::string_view strText,
             Call pfnCall = WritePlainly);

  // Has the next record begin on a line of its own: what precedes it has no end.
  void BeginNewLine() { m_bTorn = true; }

  // The plain call: write(2) for a record that is in one piece, which is cheaper.
  static ssize_t WritePlainly(int hFile, const iovec* pParts, int iCount);

 private:
  bool m_bTorn = false;  // the last line has no end
};

#endif
