// Edits a sealed log as the input says, four bytes an edit, and verifies it.
//
// Only a log that is the original one, or was cut behind one of its records, is intact.

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "extras/seal/internal/WySealKeyText.h"
#include "extras/seal/internal/WySealLine.h"
#include "fuzz/FuzzInput.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog_seal/WySealVerifier.h"

namespace {

using fuzz::Require;
using Lines = std::vector<std::string>;

const WySealNamedKey Key{false, {1, 2, 3}, 1, {4, 5, 6}};

// A log of nine records, by the format's own rules: no random numbers, no clock.
Lines Original() {
  WySealScratch scratch;
  WySealTag tag{};
  Lines lines;
  WySealStepFileKey(Key.key, scratch.step);
  WySealKey key = scratch.step.down;
  const std::string strPrevious = WySealEncode(tag.data(), tag.size());
  for (uint64_t uSeq = 1; uSeq < 10; ++uSeq) {
    std::string strText = "record " + std::to_string(uSeq);
    if (uSeq == 1) {
      strText = "~begin log=" + WySealEncode(Key.logId.data(), Key.logId.size()) +
                " file=1 first=1 prev=" + strPrevious;
    }
    WySealStepRecordKey(key, scratch.step);
    WySealComputeTag(scratch, Key.logId, tag, uSeq, strText, tag);
    key = scratch.step.next;
    lines.push_back(strText.append(CWySealTrailer(uSeq, tag).Text()));
  }
  return lines;
}

void Edit(Lines& lines, uint8_t uEdit, uint8_t uLine, uint8_t uAt, uint8_t uByte) {
  if (lines.empty()) return;
  std::string& strLine = lines[uLine % lines.size()];
  const size_t u = strLine.empty() ? 0 : uAt % strLine.size();
  const auto line = lines.begin() + uLine % static_cast<std::ptrdiff_t>(lines.size());
  switch (uEdit % 7) {
    case 0:
      if (!strLine.empty()) strLine[u] = static_cast<char>(uByte);
      break;
    case 1:
      strLine.insert(u, 1, static_cast<char>(uByte));
      break;
    case 2:
      strLine.erase(u, uByte % 8);
      break;
    case 3:
      lines.erase(line);
      break;
    case 4:
      lines.insert(line, std::string(lines[uAt % lines.size()]));
      break;
    case 5:
      std::swap(strLine, lines[uAt % lines.size()]);
      break;
    default:
      strLine.append(uByte, 'x');
  }
}

std::string Joined(const Lines& lines, size_t uCount) {
  std::string strAll;
  for (size_t u = 0; u < uCount; ++u) strAll += lines[u];
  return strAll;
}

// Also without the last newline.
bool IsBeginning(const std::string& strLog, const Lines& original) {
  for (size_t u = 1; u <= original.size(); ++u) {
    const std::string strWhole = Joined(original, u);
    if (strLog == strWhole || strLog + '\n' == strWhole) return true;
  }
  return false;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  static const Lines original = Original();
  static const TempDirectory directory;
  Lines lines = original;
  for (size_t u = 0; u + 4 <= uSize && u < 64; u += 4) {
    Edit(lines, pData[u], pData[u + 1], pData[u + 2], pData[u + 3]);
  }
  const std::string strLog = Joined(lines, lines.size());
  directory.Write("audit.log", strLog);
  size_t uFindings = 0;
  CWySealVerifier verifier([&](const WySealFinding&) { ++uFindings; });
  Require(verifier.AddKey(WySealKeyText(Key)));
  verifier.AddFile(directory.Path("audit.log"));
  const WySealSummary summary = verifier.Run();
  Require(summary.isIntact == IsBeginning(strLog, original));
  Require(summary.isIntact || uFindings > 0);
  return 0;
}
