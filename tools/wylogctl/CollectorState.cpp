// Both sources are written by other programs: what cannot be understood is reported, and never
// counts as shipped.

#include "tools/wylogctl/CollectorState.h"

#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "tools/common/SourceText.h"
#include "tools/wylogctl/LogTime.h"

namespace {

constexpr std::string_view StatePrefix = "imfile-state:";
constexpr std::size_t HashedSize = 512;

using Words = std::array<std::uint64_t, 4>;

void SipRound(Words& v) {
  v[0] += v[1];
  v[1] = std::rotl(v[1], 13) ^ v[0];
  v[0] = std::rotl(v[0], 32);
  v[2] += v[3];
  v[3] = std::rotl(v[3], 16) ^ v[2];
  v[0] += v[3];
  v[3] = std::rotl(v[3], 21) ^ v[0];
  v[2] += v[1];
  v[1] = std::rotl(v[1], 17) ^ v[2];
  v[2] = std::rotl(v[2], 32);
}

// SipHash-2-4 of 512 bytes with the key 0, 1, ... 15, in hexadecimal, as imfile names its files.
std::string HashOf(const std::array<char, HashedSize>& bytes) {
  constexpr std::uint64_t Key[] = {0x0706050403020100, 0x0f0e0d0c0b0a0908};
  Words v{Key[0] ^ 0x736f6d6570736575, Key[1] ^ 0x646f72616e646f6d, Key[0] ^ 0x6c7967656e657261,
          Key[1] ^ 0x7465646279746573};
  for (std::size_t u = 0; u <= HashedSize; u += 8) {
    std::uint64_t word = 0;  // behind the last one: the size, which is 0 modulo 256
    if (u < HashedSize) std::memcpy(&word, &bytes[u], sizeof word);
    v[3] ^= word;
    SipRound(v);
    SipRound(v);
    v[0] ^= word;
  }
  v[2] ^= 0xff;
  for (int i = 0; i < 4; ++i) SipRound(v);
  const std::uint64_t hash = v[0] ^ v[1] ^ v[2] ^ v[3];
  std::string strHash;
  for (int iByte = 0; iByte < 8; ++iByte) {
    char szByte[3];
    std::snprintf(szByte, sizeof szByte, "%02x",
                  static_cast<unsigned int>(hash >> 8 * iByte & 255));
    strHash += szByte;
  }
  return strHash;
}

// "2026-11-16T17:16:13.123+00:00", as PostgreSQL writes it, in milliseconds of UTC.
std::optional<std::int64_t> MomentOf(const std::string& strText) {
  const std::size_t uZone = strText.find_first_of("+-Z", 11);
  const CWyZone utc;
  if (strText.size() < 20 || uZone == std::string::npos) return std::nullopt;
  const auto time = WyParseUserTime(strText.substr(0, 19), utc, WyTimeChoice::Earlier);
  if (!time) return std::nullopt;
  int iHours = 0;
  int iMinutes = 0;
  std::sscanf(strText.c_str() + uZone + 1, "%2d:%2d", &iHours, &iMinutes);
  const std::int64_t distance = (iHours * 60 + iMinutes) * std::int64_t{60'000};
  return *time - (strText[uZone] == '-' ? -distance : distance);
}

// The offset in a state file. imfile writes the file anew each time, so it can be empty for a
// moment.
std::optional<std::uint64_t> OffsetIn(CWyContext& context, const std::string& strPath) {
  for (int iTry = 0; iTry < 3; ++iTry) {
    std::string strReason;
    const auto text = ReadWholeFile(strPath, strReason);
    if (!text) {
      context.Error(strPath + ": " + strReason);
      return std::nullopt;
    }
    const auto state = nlohmann::json::parse(*text, nullptr, false);
    const auto offset = state.is_object() ? state.find("curr_offs") : state.end();
    if (offset != state.end() && offset->is_number_unsigned()) return offset->get<std::uint64_t>();
    usleep(20'000);
  }
  context.Error(strPath + ": not a state file of imfile: a number `curr_offs` is missing");
  return std::nullopt;
}

}  // namespace

bool CWyCollectorPositions::Open(CWyContext& context, const std::string& strFolder) {
  m_strFolder = strFolder;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(strFolder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string strName = entry->path().filename();
    m_bRewound |= strName == "wyerrlog-running";
    if (!strName.starts_with(StatePrefix)) continue;
    m_states[strName.substr(StatePrefix.size())] = entry->path();
  }
  if (!error) return true;
  context.Error(strFolder + ": " + error.message() +
                "; --spool names the folder where rsyslog notes its positions");
  return false;
}

std::optional<std::uint64_t> CWyCollectorPositions::ReadBytes(CWyContext& context,
                                                              const WyLogFile& file) const {
  const std::string strInode = std::to_string(file.identity.uInode);
  auto found = m_states.end();
  std::array<char, HashedSize> bytes;
  std::ifstream log(file.strPath, std::ios::binary);
  if (log.read(bytes.data(), HashedSize)) found = m_states.find(strInode + ":" + HashOf(bytes));
  if (found == m_states.end()) found = m_states.find(strInode);
  if (found == m_states.end()) return std::nullopt;
  return OffsetIn(context, found->second);
}

bool CWyStoredLogs::Add(const std::string& strLine) {
  const auto row = nlohmann::json::parse(strLine, nullptr, false);
  if (!row.is_object()) return false;
  for (const char* const pszName : {"host", "program", "kind"}) {
    if (!row.contains(pszName) || !row[pszName].is_string()) return false;
  }
  if (!row.contains("newest")) return false;
  if (row["newest"].is_null()) return true;  // records without times
  const auto newest = row["newest"].is_string() ? MomentOf(row["newest"]) : std::nullopt;
  if (!newest) return false;
  m_rows.push_back({row["host"], row["program"], row["kind"], *newest});
  return true;
}

bool CWyStoredLogs::Read(CWyContext& context, const std::string& strFile) {
  std::ifstream file;
  if (strFile != "-") file.open(strFile);
  std::istream& lines = strFile == "-" ? std::cin : file;
  if (!lines) {
    context.Error("--store " + strFile + ": " + std::strerror(errno));
    return false;
  }
  std::string strLine;
  for (int iLine = 1; std::getline(lines, strLine); ++iLine) {
    if (Add(strLine)) continue;
    context.Error(
        "--store " + strFile + ':' + std::to_string(iLine) + ": `" + strLine +
        "` is not a row of wyerrlog.lag as JSON; select row_to_json(l) from wyerrlog.lag l");
    return false;
  }
  return true;
}

std::optional<std::int64_t> CWyStoredLogs::Newest(const std::string& strHost,
                                                  const std::string& strProgram,
                                                  const std::string& strKind) const {
  std::optional<std::int64_t> newest;
  for (const Row& row : m_rows) {
    if (row.strHost != strHost || row.strKind != strKind) continue;
    if (!strProgram.empty() && row.strProgram != strProgram) continue;
    newest = std::max(newest.value_or(row.newest), row.newest);
  }
  return newest;
}
