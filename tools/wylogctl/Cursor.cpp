// {"format":1,"logs":{"/var/log/error.log":{"device":1,"inode":2,"name":"error.log","offset":3}}}

#include "tools/wylogctl/Cursor.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

std::string KeyOf(const CWyLogChain& chain) {
  std::error_code error;
  const auto path = std::filesystem::absolute(chain.Path(), error);
  return error ? chain.Path() : path.lexically_normal().string();
}

}  // namespace

bool CWyCursor::Load(CWyContext& context, const std::string& strFile) {
  m_strFile = strFile;
  std::error_code error;
  if (!std::filesystem::exists(strFile, error)) return true;
  std::ifstream stream(strFile);
  // Damaged contents give a discarded value, at which at() throws: one way out for all faults of
  // the file.
  const json content = json::parse(stream, nullptr, false);
  try {
    if (content.at("format") != 1) throw std::runtime_error("another format");
    for (const auto& [strLog, entry] : content.at("logs").items()) {
      m_entries[strLog] = {
          {entry.at("device"), entry.at("inode")}, entry.at("name"), entry.at("offset")};
    }
    return true;
  } catch (const std::exception&) {
    context.Error(strFile + ": not a cursor file; delete it to begin from the start of the logs");
    return false;
  }
}

// By identity, since a rollover renames the file and another one takes its name. A file system
// reuses inodes, hence the comparison of sizes: a file below the offset is another one, or was
// truncated.
WyPlace CWyCursor::Find(CWyContext& context, const CWyLogChain& chain,
                        const std::vector<WyLogFile>& files) const {
  const auto found = m_entries.find(KeyOf(chain));
  if (found == m_entries.end()) return {};
  const Entry& entry = found->second;
  for (std::size_t i = 0; i < files.size(); ++i) {
    // A backup that was compressed since is another file with the same name and content.
    const bool bSame =
        files[i].identity == entry.identity ||
        (files[i].bCompressed && files[i].bBackup && files[i].strName == entry.strName);
    if (!bSame) continue;
    if (files[i].bCompressed || files[i].uSize >= entry.uOffset) {
      return {i, entry.uOffset, nullptr, true};
    }
    context.Warning(files[i].strPath +
                    ": became smaller since the cursor was written; it is read"
                    " from its beginning");
    return {i, 0, nullptr, true};
  }
  context.Warning(chain.Path() +
                  ": the file that the cursor stands in is gone; reading begins with"
                  " the oldest backup, and records between may be lost");
  return {};
}

void CWyCursor::Set(const CWyLogChain& chain, const WyLogFile& file, std::uint64_t uOffset) {
  m_entries[KeyOf(chain)] = {file.identity, file.strName, uOffset};
}

bool CWyCursor::Save(CWyContext& context) const {
  json logs = json::object();
  for (const auto& [strLog, entry] : m_entries) {
    logs[strLog] = {{"device", entry.identity.uDevice},
                    {"inode", entry.identity.uInode},
                    {"name", entry.strName},
                    {"offset", entry.uOffset}};
  }
  // Written aside and renamed: a run that is killed leaves the old cursor, and prints records
  // again, but never skips any. It is not forced to the disk: the same holds after a loss of power.
  const std::string strNew = m_strFile + ".new";
  {
    std::ofstream stream(strNew, std::ios::trunc);
    stream << json{{"format", 1}, {"logs", logs}}.dump() << '\n';
    if (!stream.flush()) {
      context.Error(strNew + ": " + std::strerror(errno));
      return false;
    }
  }
  if (std::rename(strNew.c_str(), m_strFile.c_str()) == 0) return true;
  context.Error(m_strFile + ": " + std::strerror(errno));
  return false;
}
