// The commands that work on a log's key directory, and the one that seals lines: seal create,
// renew, status and append. SealVerifyCommand.cpp has the other one.

#include "tools/wylogctl/SealCommand.h"

#include <wyerrlog_seal/WySealKeys.h>
#include <wyerrlog_seal/WySealedOutput.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/SealVerifyCommand.h"

namespace {

struct KeyOptions {
  std::string strKeys;
  bool bSigned = false;
};

struct AppendOptions {
  std::string strKeys;
  std::string strFile;
  int iMaxSize = 0;
  int iBackups = 0;
  std::string strPermissions = "0600";
};

// What went wrong with a key directory, and what to do about it.
std::string Reason(const std::string& strDirectory, int iErrno) {
  const std::string strState = strDirectory + "/state: ";
  switch (iErrno) {
    case ENOENT:
      return strState + "there is none; `wylogctl seal create` makes one";
    case EEXIST:
      return strState + "there is one already; it is never replaced";
    case EBADMSG:
      return strState +
             "it is damaged or truncated; docs/sealed_audit.md has the procedure for a lost state";
    case EPROTO:
      return strState + "it is of another version of the library";
    case EACCES:
      return strState + "no access, or others than the owner have it; its mode must be 0600";
    default:
      return strState + strerror(iErrno);
  }
}

int Fail(CWyContext& context, const std::string& strText) {
  context.Error(strText);
  return WyFailed;
}

bool IsJson(const CWyContext& context) { return context.options.strFormat == "json"; }

// ---- create, renew ------------------------------------------------------------------------------

void PrintKeys(CWyContext& context, const WySealKeyTexts& keys) {
  if (IsJson(context)) {
    nlohmann::json object = {{"key", keys.verification}};
    if (!keys.publicKey.empty()) object["public"] = keys.publicKey;
    return context.out.Write(object.dump() + '\n');
  }
  context.out.Write("verification key: " + keys.verification + '\n');
  if (!keys.publicKey.empty()) context.out.Write("public key:       " + keys.publicKey + '\n');
  context.Note("the verification key is secret and is not stored: keep it on another machine");
}

int RunCreate(CWyContext& context, const KeyOptions& options) {
  context.Start(false);
  WySealKeyTexts keys;
  if (!WySealCreateKeys(options.strKeys, options.bSigned, keys)) {
    return Fail(context, Reason(options.strKeys, errno));
  }
  PrintKeys(context, keys);
  return WyFound;
}

int RunRenew(CWyContext& context, const KeyOptions& options) {
  context.Start(false);
  WySealKeyTexts keys;
  if (!WySealRenewKeys(options.strKeys, keys)) return Fail(context, Reason(options.strKeys, errno));
  PrintKeys(context, keys);
  context.Note(
      "it verifies the files after the current one; keep the former keys for those before");
  return WyFound;
}

// ---- status -------------------------------------------------------------------------------------

int RunStatus(CWyContext& context, const KeyOptions& options) {
  context.Start(false);
  WySealStatus status;
  if (!WySealReadStatus(options.strKeys, status)) {
    return Fail(context, Reason(options.strKeys, errno));
  }
  const uint64_t uLast = status.nextRecord - 1;
  const std::string strAnchor = std::to_string(uLast) + ':' + status.lastTag;
  if (IsJson(context)) {
    const nlohmann::json object = {{"log", status.logId},       {"file", status.file},
                                   {"records", uLast},          {"anchor", strAnchor},
                                   {"signed", status.isSigned}, {"renewed", status.isRenewed}};
    context.out.Write(object.dump() + '\n');
    return WyFound;
  }
  context.out.Write("log:     " + status.logId + "\nfile:    " + std::to_string(status.file) +
                    "\nrecords: " + std::to_string(uLast) + "\nanchor:  " + strAnchor +
                    "\nsigned:  " + (status.isSigned ? "yes" : "no") + '\n');
  if (status.isRenewed) context.out.Write("renewed: the next record begins a new file\n");
  return WyFound;
}

// ---- append -------------------------------------------------------------------------------------

// At most five characters are converted, so that no number overflows; a longer text is refused by
// the comparison.
bool ParsePermissions(const std::string& strText, unsigned int& uPermissions) {
  size_t uEnd = 0;
  if (strText.find_first_not_of("01234567") != std::string::npos || strText.empty()) return false;
  uPermissions = static_cast<unsigned int>(std::stoul(strText.substr(0, 5), &uEnd, 8));
  return uPermissions <= 0777 && uEnd == strText.size();
}

int RunAppend(CWyContext& context, const AppendOptions& options) {
  context.Start(false);
  WyFileOptions file;
  file.path = options.strFile;
  file.mode = options.iMaxSize > 0 ? 3 : 1;
  file.maxSizeMB = options.iMaxSize;
  file.backups = options.iBackups;
  if (!ParsePermissions(options.strPermissions, file.permissions)) {
    return Fail(context,
                "--permissions " + options.strPermissions + ": not an octal mode, as 0640 is");
  }
  CWySealedOutput output(file, options.strKeys);
  if (!output.Open()) {
    const int iErrno = errno;
    if (iErrno == EINVAL)
      return Fail(context, "--max-size and --backups: at least 0, at most 4095");
    if (iErrno == EEXIST) {
      return Fail(context, options.strFile + ": a file that is not sealed is there; move it away");
    }
    return Fail(context, options.strFile + ", or " + Reason(options.strKeys, iErrno));
  }
  uint64_t uLine = 0;
  for (std::string strLine; std::getline(std::cin, strLine);) {
    ++uLine;
    // Ends at the first line that is not written, with its number: going on would leave a hole in
    // evidence that no record explains.
    if (output.Log(std::string_view(strLine))) continue;
    return Fail(context, options.strFile + ": line " + std::to_string(uLine) +
                             " of the input is not written: " + strerror(errno));
  }
  if (!output.Flush()) return Fail(context, options.strFile + ": " + strerror(errno));
  return WyFound;
}

void RegisterAppend(CWyProgram& program) {
  const auto pOptions = std::make_shared<AppendOptions>();
  CWyCommand& command = program.Add("seal append", "Seal the lines of the standard input", {});
  command.About("Appends each line as one record. Several processes may append to one log.");
  command.Example("some-daemon 2>&1 | wylogctl seal append --keys DIR audit.log",
                  "seals what a program prints");
  command.Value("--keys", "DIR", "The key directory of the log", pOptions->strKeys);
  command.Value("--max-size", "MB", "Roll the file over before it reaches this size; 0: never",
                pOptions->iMaxSize);
  command.Value("--backups", "N", "Keep so many backups; 0: all", pOptions->iBackups);
  command.Value("--permissions", "MODE", "Of new files, in octal; 0600 unless given",
                pOptions->strPermissions);
  command.Argument("FILE", "The log file", pOptions->strFile);
  command.Run([pOptions](CWyContext& context) {
    if (pOptions->strKeys.empty()) return Fail(context, "--keys DIR is missing");
    return RunAppend(context, *pOptions);
  });
}

// A command that takes a key directory alone.
CWyCommand& AddKeyCommand(CWyProgram& program, const std::string& strName,
                          const std::string& strSummary,
                          const std::shared_ptr<KeyOptions>& pOptions,
                          int (*pfnRun)(CWyContext&, const KeyOptions&)) {
  CWyCommand& command = program.Add(strName, strSummary, {"text", "json"});
  command.Value("--keys", "DIR", "The key directory of the log", pOptions->strKeys);
  command.Run([pOptions, pfnRun](CWyContext& context) {
    if (pOptions->strKeys.empty()) return Fail(context, "--keys DIR is missing");
    return pfnRun(context, *pOptions);
  });
  return command;
}

}  // namespace

void RegisterSealCommands(CWyProgram& program) {
  const auto pCreate = std::make_shared<KeyOptions>();
  AddKeyCommand(program, "seal create", "Make the keys of a new sealed log", pCreate, RunCreate)
      .Flag("--signed", "Sign checkpoints, so that a public key verifies them", pCreate->bSigned)
      .About(
          "Prints the verification key once; it is not stored. Keep it on another machine: "
          "whoever has it can also forge records.")
      .Example("wylogctl seal create --keys /var/lib/agent/seal",
               "makes the directory, with mode 0700, and prints the key");
  AddKeyCommand(program, "seal renew", "Give the files to come a new verification key",
                std::make_shared<KeyOptions>(), RunRenew)
      .About("The next record begins a new file. Keep the former keys for the files before it.");
  AddKeyCommand(program, "seal status", "Print where a sealed log stands",
                std::make_shared<KeyOptions>(), RunStatus)
      .About("The anchor, kept elsewhere, finds a log that was rolled back with its state.");
  RegisterAppend(program);
  RegisterSealVerifyCommand(program);
}
