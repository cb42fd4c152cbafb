#ifndef WYERRLOG_WYFILEUTIL_H
#define WYERRLOG_WYFILEUTIL_H

// Private: reading small text files line by line.

class CWyFile {
 public:
  // What OpenFile does; the two first ones are the same.
  enum Mode { Create = 0, Overwrite = 1, Append = 2, Read = 3 };

  CWyFile();
  virtual ~CWyFile();  // closes an open file
  CWyFile(const CWyFile&) = delete;
  CWyFile& operator=(const CWyFile&) = delete;

  // Answers whether the file is open now; false for a mode that is none. A file that is open
  // already is not closed first. Created files get the permissions 0644 less the umask. The opening
  // never waits: a pipe without a writer is an empty file, one without a reader cannot be opened.
  bool OpenFile(const char* pszPath, int iMode);
  void CloseFile();

  // Reads up to and including the next newline, at most `iSize` bytes, and ends them with a zero
  // byte: the buffer holds `iSize` + 1 bytes. Answers a positive number, 0 at the end of the file,
  // and -1 on a failed read, without a buffer, an open file or a positive size. A longer line comes
  // back in pieces. One system call per byte.
  int ReadLine(void* pBuffer, int iSize);

  // One write. Answers the bytes written, perhaps fewer than asked, or -1.
  int WriteFile(void* pBuffer, unsigned int uLength);

 private:
  int m_fd;  // -1 when closed
};

#endif
