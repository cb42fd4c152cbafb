#ifndef WYERRLOG_SEAL_WYSEALWRITER_H
#define WYERRLOG_SEAL_WYSEALWRITER_H

// Private: writes a sealed log. Each operation holds the state's mutex, so that one thread of all
// processes is inside at a time.
//
// The log's files go through these states, which the flags of the state page name:
//
//   current --rename--> Moved --~end--> Moved, Ended --new file with ~begin--> current (the next)

#include <atomic>
#include <cerrno>
#include <ctime>
#include <new>
#include <string>
#include <string_view>

#include "extras/seal/internal/WySealLogFiles.h"
#include "extras/seal/internal/WySealState.h"
#include "wyerrlog/WyFileOptions.h"
#include "wyerrlog_seal/WySealedOutput.h"

class CWySealWriter {
 public:
  CWySealWriter(WyFileOptions file, std::string strKeyDirectory, const WySealOptions& options);
  ~CWySealWriter() { Close(); }
  CWySealWriter(const CWySealWriter&) = delete;
  CWySealWriter& operator=(const CWySealWriter&) = delete;

  bool Open();
  bool Log(std::string_view strText);
  bool Flush();
  bool Close();

 private:
  // Where a record goes in the file.
  struct Place {
    bool bNewline;     // a newline before it, to end what stands there
    uint64_t uOffset;  // the file's length before it
  };

  bool AcceptOptions() const;
  bool Prepare();

  // ---- Records (WySealWriter.cpp)
  bool Append(std::string_view strText);
  bool Append(std::string_view strText, Place place);
  bool Refuse(ssize_t lWritten, Place place);
  void CountRecord(WySealSlot& slot, std::string_view strText, std::string_view strTrailer,
                   const WySealTag& tag, uint64_t uOffset);
  bool MarkIfDue();
  bool AppendCheckpoint(std::string strText);
  void SetFlags(uint32_t uSet, uint32_t uClear = 0);

  // ---- After a death, a short write or a loss of power (WySealRecovery.cpp)
  bool Recover();
  bool OpenLog();
  bool FindFile(uint64_t uFile, std::string& strPath);
  bool OpenFile(const std::string& strPath, uint64_t uFile);
  bool ReadHead(const std::string& strPath, WySealHead& head);
  bool AdoptFile(const WySealHead& head);
  bool CompareWithFile();
  bool RollForward();
  bool TakeRecord(std::string_view strLine, uint64_t uOffset);
  bool TakeRest(std::string_view strRest, uint64_t uOffset);
  bool FindGap(uint64_t uSize);
  bool WriteDue();
  bool GapText(std::string& strText);
  bool Verifies(const WySealLine& line, WySealTag& tag);

  // ---- Files (WySealRollover.cpp)
  bool RollOverIfDue(size_t uLength);
  bool RollOver();
  bool MoveAside();
  bool End();
  void EnterFile(WySealSlot& slot);
  std::string HeadText(const WySealSlot& slot);
  int CreateNewFile();
  bool RemoveNewFile();
  bool BeginFile();
  bool BeginFile(CWySealDescriptor file);
  bool WriteHead(int hFile, WySealSlot& slot, std::string_view strText);
  bool PlaceFile();
  bool ClearName();
  void Retire();
  void SetCurrent(int hFile, uint64_t uFile);

  int File() const { return static_cast<int>(static_cast<uint32_t>(m_uCurrent.load())); }
  uint64_t FileNumber() const { return m_uCurrent.load() >> 32; }

  WyFileOptions m_file;
  const std::string m_strKeyDirectory;
  const WySealOptions m_options;
  uint64_t m_uMaxSize = 0;  // 0: no limit
  CWySealState m_state;
  // The descriptor and the number of the file that it leads to, in one: a child that is forked at
  // any moment finds a pair that belongs together. The descriptor is in the lower half, so file
  // numbers have 32 bits here.
  std::atomic<uint64_t> m_uCurrent;
  // Per process: another process may have the permission that this one has not.
  std::atomic<time_t> m_tRetry{0};  // a refused rename is tried again then
};

// Calls the operation; false with ENOMEM if memory allocation fails.
template <typename Operation>
bool WySealWithMemory(Operation operation) {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
}

#endif
