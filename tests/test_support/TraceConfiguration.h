#ifndef WYERRLOG_TESTS_TRACECONFIGURATION_H
#define WYERRLOG_TESTS_TRACECONFIGURATION_H

// Trace configurations from texts, without a logger and without files on disk.

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/WyTraceData.h"

namespace test_support {

// A file in memory, to be opened by its path as long as the object lives.
class InMemoryFile {
 public:
  explicit InMemoryFile(std::string_view content) : m_fd(memfd_create("test", MFD_CLOEXEC)) {
    m_bComplete = write(m_fd, content.data(), content.size()) == ssize_t(content.size());
    m_strPath = "/proc/self/fd/" + std::to_string(m_fd);
  }
  ~InMemoryFile() { close(m_fd); }
  InMemoryFile(const InMemoryFile&) = delete;
  InMemoryFile& operator=(const InMemoryFile&) = delete;

  const char* Path() const { return m_bComplete ? m_strPath.c_str() : nullptr; }

 private:
  int m_fd;
  bool m_bComplete;
  std::string m_strPath;
};

// What a logger with three components hands to its trace configurations.
inline std::vector<WyTraceComponentInfo> ComponentTable() {
  return {{false, 0x01000000, "Log"},
          {false, 0x01010000, "Log/Legacy"},
          {false, 0x02000000, "Login_Logout"},
          {false, 0x02010000, "Login_Logout/Authentication"},
          {false, 0x02020000, "Login_Logout/Send_Response"},
          {false, 0x02030000, "Login_Logout/Receive_Request"},
          {false, 0x03000000, "IsAuthorized"},
          {false, 0x03010000, "IsAuthorized/Policy"},
          {false, 0x03020000, "IsAuthorized/Send_Response"},
          {false, 0x03030000, "IsAuthorized/Receive_Request"}};
}

inline std::vector<WyTraceDataFieldInfo> DataFieldTable() {
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  GetKnownDataFields(&iCount, &pRows);
  std::vector<WyTraceDataFieldInfo> fields(static_cast<size_t>(iCount));
  for (size_t i = 0; i < fields.size(); ++i) {
    fields[i].uId = static_cast<unsigned int>(i);
    fields[i].pszName = pRows[i].pszName;
    fields[i].uWidth = static_cast<unsigned int>(pRows[i].iWidth);
  }
  return fields;
}

inline bool ConfigureFromFile(CWyTraceData& data, const char* pszPath, int iFormat = 0,
                              const char* pszDelimiter = nullptr) {
  auto components = ComponentTable();
  auto fields = DataFieldTable();
  return data.SetConfiguration(iFormat, pszDelimiter, pszPath, static_cast<int>(components.size()),
                               components.data(), fields.data(), false);
}

inline bool Configure(CWyTraceData& data, std::string_view text, int iFormat = 0,
                      const char* pszDelimiter = nullptr) {
  const InMemoryFile file(text);
  return ConfigureFromFile(data, file.Path(), iFormat, pszDelimiter);
}

// A configuration that must be readable; null when it is not.
inline std::unique_ptr<CWyTraceData> NewConfiguration(std::string_view text, int iFormat = 0,
                                                      const char* pszDelimiter = nullptr) {
  auto pMaster = std::make_unique<CWyTraceData>();
  if (!Configure(*pMaster, text, iFormat, pszDelimiter)) pMaster.reset();
  return pMaster;
}

// The line that AssembleTraceMessage writes in a mode.
inline std::string Line(CWyTraceData& data, int iMode) {
  CWyErrLogMessage msg(false);
  return data.AssembleTraceMessage(&msg, iMode) ? msg.GetBuffer() : "(refused)";
}

}  // namespace test_support

#endif
