// seal_records FOLDER: writes a sealed audit log to the folder, and verifies it.
#include <wyerrlog/WyLog.h>
#include <wyerrlog_seal/WySealKeys.h>
#include <wyerrlog_seal/WySealVerifier.h>
#include <wyerrlog_seal/WySealedOutput.h>

#include <memory>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string strFolder = argv[1];
  WySealKeyTexts keys;
  if (!WySealCreateKeys(strFolder + "/keys", false, keys)) return 1;
  WyFileOptions file;
  file.path = strFolder + "/audit.log";
  auto pOutput = std::make_unique<CWySealedOutput>(file, strFolder + "/keys");
  if (!theLogger()->EnableAuditLogRollover(pOutput.get())) return 1;
  static_cast<void>(pOutput.release());
  if (!WyAudit("login user=%s\n", "alice")) return 1;

  CWySealVerifier verifier([](const WySealFinding&) {});
  if (!verifier.AddKey(keys.verification) || !verifier.AddLog(file.path)) return 1;
  const WySealSummary summary = verifier.Run();
  return summary.isIntact && summary.records == 2 ? 0 : 1;  // the first record and the login
}
