#ifndef WYERRLOG_WYFILEUTIL_H
#define WYERRLOG_WYFILEUTIL_H

// Private: reading small text files line by line, trace configuration files above all. An object is
// used by one thread at a time.

class CWyFile {
 public:
  // What OpenFile does with the file; the first two are the same.
  enum Mode { Create = 0, Overwrite = 1, Append = 2, Read = 3 };

  CWyFile();
  virtual ~CWyFile();  // closes an open file
  CWyFile(const CWyFile&) = delete;
  CWyFile& operator=(const CWyFile&) = delete;

  // Opens the file. Returns false for an unknown mode and if open(2) fails, with its reason in
  // errno. A file that is open already is not closed first. Created files get the permissions 0644
  // less the umask. The call never waits for the other end of a pipe: a pipe without a writer is an
  // empty file, one without a reader cannot be opened for writing.
  bool OpenFile(const char* pszPath, int iMode);
  void CloseFile();

  // Reads up to and including the next newline, at most `iSize` bytes, and adds a zero byte: the
  // buffer holds `iSize` + 1 bytes. Returns the number of bytes read, 0 at the end of the file, and
  // -1 if read(2) fails, without a buffer, an open file or a positive size. A longer line is
  // returned in pieces. One system call per byte.
  int ReadLine(void* pBuffer, int iSize);

  // One call of write(2). Returns the number of bytes written, perhaps fewer than asked, or -1.
  int WriteFile(void* pBuffer, unsigned int uLength);

 private:
  int m_fd;  // -1 when closed
};

#endif
