#ifndef TESTS_SEAL_SEALEDLOG_H
#define TESTS_SEAL_SEALEDLOG_H

// A sealed log in a directory of the test's own, and what verifying it finds.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "extras/seal/internal/WySealLogFiles.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog_seal/WySealKeys.h"
#include "wyerrlog_seal/WySealVerifier.h"
#include "wyerrlog_seal/WySealedOutput.h"

namespace seal_test {

class SealedLog {
 public:
  explicit SealedLog(bool bSigned = false) {
    EXPECT_TRUE(WySealCreateKeys(Keys(), bSigned, keys));
    file.path = Path();
  }

  std::string Path() const { return directory.Path("audit.log"); }
  std::string Keys() const { return directory.Path("keys"); }

  std::unique_ptr<CWySealedOutput> Open() const {
    auto pOutput = std::make_unique<CWySealedOutput>(file, Keys(), options);
    return pOutput->Open() ? std::move(pOutput) : nullptr;
  }

  // Opens the log, writes records "name 1", "name 2" ..., and closes it.
  void Write(const std::string& strName, int iRecords) const {
    const auto pOutput = Open();
    ASSERT_NE(pOutput, nullptr) << strerror(errno);
    for (int i = 1; i <= iRecords; ++i) {
      ASSERT_TRUE(pOutput->Log(strName + ' ' + std::to_string(i) + '\n')) << strerror(errno);
    }
  }

  // Writes a backup: opening in mode 2 rolls over.
  void WriteFiles(int iFiles, int iRecordsEach) {
    file.mode = 2;
    for (int i = 1; i <= iFiles; ++i) Write("file " + std::to_string(i), iRecordsEach);
    file.mode = 1;
  }

  // The findings, each as "kind first..last", in the order in which they are reported; "intact"
  // last if the log is. With the state unless told otherwise.
  std::vector<std::string> Verify(bool bState = true, const std::string& strAnchor = "",
                                  bool bPublic = false) {
    std::vector<std::string> found;
    explanations.clear();
    CWySealVerifier verifier([&](const WySealFinding& finding) {
      std::ostringstream text;
      text << WySealKindName(finding.kind);
      if (finding.first != 0) text << ' ' << finding.first << ".." << finding.last;
      found.push_back(text.str());
      explanations += text.str() + " line " + std::to_string(finding.line) + " of " + finding.file +
                      ": " + finding.explanation + '\n';
    });
    EXPECT_TRUE(verifier.AddKey(bPublic ? keys.publicKey : keys.verification));
    for (const std::string& strKey : moreKeys) EXPECT_TRUE(verifier.AddKey(strKey));
    WySealStatus status;
    if (bState && WySealReadStatus(Keys(), status)) {
      verifier.AddState(status.nextRecord - 1, status.lastTag);
    }
    if (!strAnchor.empty()) {
      EXPECT_TRUE(verifier.AddAnchor(strAnchor));
    }
    if (!verifier.AddLog(Path())) found.push_back("no log");
    summary = verifier.Run();
    if (summary.isIntact) found.push_back("intact");
    return found;
  }

  // The paths of the files, by their numbers.
  std::map<uint64_t, std::string> Files() const {
    std::vector<std::string> paths;
    std::map<uint64_t, std::string> files;
    EXPECT_TRUE(WySealFindFiles(Path(), paths));
    for (const std::string& strPath : paths) files[WySealReadHead(strPath).uFile] = strPath;
    return files;
  }

  // "SEQ:TAG" of the last record.
  std::string Anchor() const {
    WySealStatus status;
    EXPECT_TRUE(WySealReadStatus(Keys(), status));
    return std::to_string(status.nextRecord - 1) + ':' + status.lastTag;
  }

  // The TEXTs of all records in all files.
  std::set<std::string> Texts() const {
    std::set<std::string> texts;
    for (const auto& [uNumber, strPath] : Files()) {
      std::ifstream content(strPath);
      WySealLine line;
      for (std::string strLine; std::getline(content, strLine);) {
        if (WySealParseLine(strLine, line)) texts.emplace(line.strText);
      }
    }
    return texts;
  }

  std::vector<std::string> Lines() const {
    std::istringstream content(directory.Read("audit.log"));
    std::vector<std::string> lines;
    for (std::string strLine; std::getline(content, strLine);) lines.push_back(strLine);
    return lines;
  }
  void SetLines(const std::vector<std::string>& lines) const {
    std::string strContent;
    for (const std::string& strLine : lines) strContent += strLine + '\n';
    directory.Write("audit.log", strContent);
  }

  TempDirectory directory;
  WyFileOptions file;
  WySealOptions options;
  WySealKeyTexts keys;
  std::vector<std::string> moreKeys;
  std::string strKeptAnchor;  // kept elsewhere, if not empty
  WySealSummary summary;
  std::string explanations;
};

}  // namespace seal_test

#endif
