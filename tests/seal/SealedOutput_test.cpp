// The output as its users know it: options, states that cannot be used, full disks, loss of power,
// and keys that are renewed.

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <list>

#include "extras/seal/internal/WySealKeyText.h"
#include "extras/seal/internal/WySealState.h"
#include "seal/SealedLog.h"
#include "test_support/Sanitizer.h"
#include "test_support/SystemStandIns.h"
#include "test_support/TestThread.h"
#include "wyerrlog/WyLog.h"

namespace {

bool s_bNoWaiting = false;
time_t s_secondsToWait = 0;

}  // namespace

// In place of the next one, the C library's or a sanitizer's: if s_bNoWaiting, notes how long the
// caller wants to wait, and returns at once as if the time had passed.
extern "C" int pthread_mutex_timedlock(pthread_mutex_t* pMutex, const timespec* pUntil) noexcept {
  static const auto pfnNext = reinterpret_cast<decltype(&pthread_mutex_timedlock)>(
      dlsym(RTLD_NEXT, "pthread_mutex_timedlock"));
  if (!s_bNoWaiting) return pfnNext(pMutex, pUntil);
  s_secondsToWait = pUntil->tv_sec - time(nullptr);
  return ETIMEDOUT;
}

namespace {

using seal_test::SealedLog;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

std::vector<std::string> FindingsOf(SealedLog& log) {
  std::vector<std::string> found = log.Verify();
  EXPECT_THAT(found, Contains("intact")) << log.explanations;
  return found;
}

TEST(SealedOutput, IsALoggersAuditLog) {
  SealedLog log;
  log.file.permissions = 0640;
  auto pOutput = std::make_unique<CWySealedOutput>(log.file, log.Keys());
  ASSERT_TRUE(theLogger()->EnableAuditLogRollover(pOutput.release()));
  EXPECT_TRUE(WyAudit(*theLogger(), "%s logged in\n", "alice"));
  theLogger()->DisableAuditLog();
  EXPECT_TRUE(log.Texts().contains("alice logged in"));
  EXPECT_THAT(log.Verify(), ElementsAre("intact"));
  EXPECT_EQ(fs::status(log.Path()).permissions(), fs::perms(0640));
  EXPECT_EQ(fs::status(log.Keys()).permissions(), fs::perms(0700));
  EXPECT_EQ(fs::status(log.Keys() + "/state").permissions(), fs::perms(0600));
}

TEST(SealedOutput, StaysBelowTheSizeLimitWithItsOwnRecords) {
  SealedLog log(true);
  log.file.mode = 3;
  log.file.maxSizeMB = 1;
  log.file.backups = 2;
  log.options.markRecords = 3;
  const auto pOutput = log.Open();
  for (size_t u = 0; u < 60; ++u) ASSERT_TRUE(pOutput->Log(std::string(90'000 + u * 1000, 'x')));
  for (const auto& [uNumber, strPath] : log.Files()) EXPECT_LT(fs::file_size(strPath), 1u << 20);
  EXPECT_EQ(log.Files().size(), 3u);
  EXPECT_THAT(FindingsOf(log), Contains(HasSubstr("retired 1..")));
}

TEST(SealedOutput, IsWrittenToByManyThreadsThroughManyOutputs) {
  SealedLog log;
  log.file.mode = 3;
  log.file.maxSizeMB = 1;
  const auto pOne = log.Open(), pOther = log.Open();
  {
    std::list<test_support::TestThread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&, t] {
        CWySealedOutput& output = t % 2 == 0 ? *pOne : *pOther;
        for (int i = 0; i < 200; ++i) {
          EXPECT_TRUE(output.Log(std::to_string(t * 1000 + i) + std::string(4000, 'x')));
        }
      });
    }
  }
  EXPECT_THAT(log.Verify(), ElementsAre("intact")) << log.explanations;
  EXPECT_GT(log.Files().size(), 3u);
  EXPECT_EQ(log.Texts().size(), 800 + 2 * log.Files().size() - 1);  // with ~begin and ~end
}

TEST(SealedOutput, RefusesOptionsAndFilesThatItCannotSeal) {
  SealedLog log;
  for (const auto& change : std::vector<std::function<void(WyFileOptions&)>>{
           [](WyFileOptions& f) { f.path.clear(); }, [](WyFileOptions& f) { f.mode = 0; },
           [](WyFileOptions& f) { f.mode = 5; }, [](WyFileOptions& f) { f.mode = 3; },
           [](WyFileOptions& f) { f.backups = -1; },
           [](WyFileOptions& f) { f.maxSizeMB = 4096; }}) {
    WyFileOptions file = log.file;
    change(file);
    CWySealedOutput output(file, log.Keys());
    EXPECT_FALSE(output.Open());
    EXPECT_EQ(errno, EINVAL);
  }
  log.directory.Write("audit.log", "not sealed\n");
  CWySealedOutput output(log.file, log.Keys());
  EXPECT_FALSE(output.Open());
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(log.directory.Read("audit.log"), "not sealed\n");
}

// What cannot be done before the old file is ended leaves the log in it for five minutes. A record
// is refused if the log's directory is gone, or behind the end of the old file; then the next one
// tries again. A new file that has its name is the log, also if the disk does not take the name.
TEST(SealedOutput, GoesOnInTheOldFileOrRefusesIfARolloverFails) {
  using enum stand_ins::Call;
  struct Row {
    stand_ins::Call call;
    int iErrno;
    long lFirst = 1;
    bool bRefused = false;
    size_t uFiles = 1;
  };
  const std::string strLong(600'000, 'x');
  for (const Row& row :
       {Row{Rename, EACCES}, Row{Rename, EPERM}, Row{Open, EMFILE}, Row{Open, EMFILE, 2},
        Row{Open, ENFILE}, Row{Open, ENOSPC}, Row{Open, EROFS}, Row{Open, EACCES},
        Row{Open, ENOENT, 1, true}, Row{Sync, EIO, 2, true}, Row{Sync, EIO, 3, false, 2}}) {
    SCOPED_TRACE(std::to_string(static_cast<int>(row.call)) + ' ' + strerror(row.iErrno));
    SealedLog log;
    log.file.mode = 3;
    log.file.maxSizeMB = 1;
    const auto pOutput = log.Open();
    const time_t tBegin = time(nullptr);
    const auto logAt = [&](time_t tSeconds) {
      stand_ins::clock = tBegin + tSeconds;
      return pOutput->Log(std::string_view(strLong));
    };
    EXPECT_TRUE(logAt(0));
    stand_ins::Inject({row.call, stand_ins::Effect::Failure, row.iErrno, row.lFirst});
    EXPECT_EQ(logAt(1), !row.bRefused);
    EXPECT_TRUE(!row.bRefused || errno == row.iErrno) << strerror(errno);
    EXPECT_TRUE(stand_ins::Withdraw(row.call));
    EXPECT_EQ(log.Files().size(), row.bRefused && row.call == Sync ? 1 : row.uFiles);
    if (!row.bRefused && row.uFiles == 1) {
      EXPECT_TRUE(logAt(300) && log.Files().size() == 1) << "not yet";
    }
    EXPECT_TRUE(logAt(301));
    stand_ins::clock = 0;
    EXPECT_EQ(log.Files().size(), row.uFiles + 1);
    EXPECT_FALSE(fs::exists(log.Path() + ".new"));
    EXPECT_THAT(log.Verify(), ElementsAre("intact")) << log.explanations;
  }
}

// ---- The state page -----------------------------------------------------------------------------

void EditState(const SealedLog& log, const std::function<void(std::string&)>& edit) {
  std::string strState = log.directory.Read("keys/state");
  edit(strState);
  log.directory.Write("keys/state", strState);
}

TEST(SealState, ThatCannotBeUsedIsRefusedWithItsReason) {
  struct Row {
    int iErrno;
    std::function<void(const SealedLog&)> damage;
  };
  const size_t uVersion = offsetof(WySealPage, uVersion), uSlots = offsetof(WySealPage, slots);
  for (const Row& row : std::vector<Row>{
           {ENOENT, [](const SealedLog& l) { fs::remove(l.Keys() + "/state"); }},
           {EBADMSG, [](const SealedLog& l) { fs::resize_file(l.Keys() + "/state", 4095); }},
           {EBADMSG, [](const SealedLog& l) { fs::resize_file(l.Keys() + "/state", 0); }},
           {EBADMSG, [](const SealedLog& l) { EditState(l, [](std::string& s) { s[0] = 'X'; }); }},
           {EPROTO,
            [=](const SealedLog& l) { EditState(l, [=](std::string& s) { s[uVersion] = 2; }); }},
           {EBADMSG,
            [=](const SealedLog& l) {
              EditState(l, [=](std::string& s) {
                for (size_t u = 0; u < 2; ++u) s[uSlots + u * sizeof(WySealSlot)] ^= 1;
              });
            }},
           {EACCES,
            [](const SealedLog& l) { fs::permissions(l.Keys() + "/state", fs::perms(0640)); }},
           {EROFS, [](const SealedLog&) {
              stand_ins::Inject({stand_ins::Call::Open, stand_ins::Effect::Failure, EROFS});
            }}}) {
    SealedLog log;
    log.Write("record", 2);
    row.damage(log);
    EXPECT_EQ(log.Open(), nullptr);
    EXPECT_EQ(errno, row.iErrno);
    stand_ins::Withdraw(stand_ins::Call::Open);
  }
}

// A process that is stopped, or killed, while it holds the mutex.
TEST(SealState, IsRefusedAfterTenSecondsToOthersUntilAStoppedProcessGoesOnOrIsKilled) {
  for (const int iSignal : {SIGCONT, SIGKILL}) {
    SealedLog log;
    const auto pOutput = log.Open();
    const pid_t child = fork();
    if (child == 0) {
      CWySealState state;
      if (!state.Open(log.Keys()) || !state.Lock()) _exit(1);
      raise(SIGSTOP);
      state.Unlock();
      _exit(0);
    }
    int iStatus = 0;
    ASSERT_EQ(waitpid(child, &iStatus, WUNTRACED), child);
    ASSERT_TRUE(WIFSTOPPED(iStatus));
    s_bNoWaiting = true;
    EXPECT_FALSE(pOutput->Log(std::string_view("refused")));
    EXPECT_EQ(errno, ETIMEDOUT);
    s_bNoWaiting = false;
    EXPECT_NEAR(static_cast<double>(s_secondsToWait), 10, 1);
    kill(child, iSignal);
    ASSERT_EQ(waitpid(child, &iStatus, 0), child);
    EXPECT_TRUE(pOutput->Log(std::string_view("accepted")));
    EXPECT_THAT(log.Verify(), ElementsAre("intact"));
    EXPECT_FALSE(log.Texts().contains("refused"));
  }
}

// The slot is looked at under the mutex: a record may be written at the same moment.
TEST(SealState, IsNotFoundDamagedWhileAnotherProcessChangesIt) {
  SealedLog log;
  log.Write("record", 1);
  CWySealState writing, opened;
  ASSERT_TRUE(writing.Open(log.Keys()) && writing.Lock());
  WySealSlot& slot = writing.Page().slots[writing.Page().uIndex & 1];
  ++slot.uSeq;
  s_bNoWaiting = true;
  EXPECT_FALSE(opened.Open(log.Keys()));
  EXPECT_EQ(errno, ETIMEDOUT);
  s_bNoWaiting = false;
  --slot.uSeq;
  writing.Unlock();
  EXPECT_TRUE(opened.Open(log.Keys()));
}

TEST(SealState, ThatIsTruncatedWhileItIsInUseEndsNoProcess) {
  SealedLog log;
  const auto pOutput = log.Open();
  ASSERT_TRUE(pOutput->Log(std::string_view("one")));
  fs::resize_file(log.Keys() + "/state", 0);
  EXPECT_FALSE(pOutput->Log(std::string_view("two")));
  EXPECT_EQ(errno, EBADMSG);
}

TEST(SealState, ThatIsRemovedWhileItIsInUseGoesOnUntilItIsClosed) {
  SealedLog log;
  {
    const auto pOutput = log.Open();
    fs::remove(log.Keys() + "/state");
    EXPECT_TRUE(pOutput->Log(std::string_view("one")));
  }
  EXPECT_EQ(log.Open(), nullptr);
  EXPECT_THAT(log.Verify(false), ElementsAre("intact"));
}

// As the system says it: "lo" is locked (sanitizers lock nothing), "dd" is not dumped.
TEST(SealState, IsLockedInMemoryAndInNoCoreDump) {
  SealedLog log;
  const auto pOutput = log.Open();
  std::ifstream mappings("/proc/self/smaps");
  std::string strLine;
  while (std::getline(mappings, strLine) && !strLine.ends_with(log.Keys() + "/state")) {
  }
  while (std::getline(mappings, strLine) && !strLine.starts_with("VmFlags:")) {
  }
  EXPECT_TRUE(strLine.find(" lo ") != std::string::npos || test_support::IsSanitized) << strLine;
  EXPECT_THAT(strLine, HasSubstr(" dd "));
}

// ---- Loss of power ------------------------------------------------------------------------------

// The state on the disk is older than the file: also by some files.
TEST(SealPowerLoss, WithTheFileAheadRollsForward) {
  using namespace stand_ins;
  for (const int iFiles : {0, 1, 3}) {
    SealedLog log(true);
    log.Write("before", 3);
    const std::string strState = log.directory.Read("keys/state");
    log.Write("ahead", 20);
    if (iFiles > 0) log.WriteFiles(iFiles, 3);
    log.directory.Write("keys/state", strState);
    for (long lOpen = 1; lOpen < 8; ++lOpen) {  // no descriptor: no number is used twice
      Inject({Call::Open, Effect::Failure, EMFILE, lOpen, 2});
      log.Open();
      Withdraw(Call::Open);
    }
    log.Write("after", 3);
    EXPECT_THAT(log.Verify(), ElementsAre("intact")) << iFiles << '\n' << log.explanations;
    EXPECT_THAT(log.Verify(true, "", true), Contains("intact"));
  }
}

TEST(SealPowerLoss, WithTheStateAheadLeavesASealedGap) {
  SealedLog log;
  log.Write("record", 10);
  const std::string strLine = log.Lines().back();
  fs::resize_file(log.Path(), fs::file_size(log.Path()) - strLine.size() - 5);
  log.Write("after", 2);
  EXPECT_THAT(log.Verify(), testing::UnorderedElementsAre("gap 10..11", "torn"));
}

// The ~torn or ~gap record that is due is cut short, or written and not counted; the next process
// goes on.
TEST(SealRecovery, DescribesTheRestsOfItsOwnRecordsToo) {
  using stand_ins::Effect;
  for (const bool bGap : {false, true}) {
    for (const Effect effect : {Effect::Short, Effect::DeathHalfWay, Effect::DeathAfter}) {
      SealedLog log;
      log.Write("record", 10);
      stand_ins::Inject({stand_ins::Call::WriteV, Effect::Short, 0});
      if (bGap) {
        fs::resize_file(log.Path(), fs::file_size(log.Path()) - log.Lines().back().size() - 5);
      } else {
        EXPECT_FALSE(log.Open()->Log(std::string_view("torn")));
      }
      const pid_t child = fork();
      if (child == 0) {
        stand_ins::Inject({stand_ins::Call::WriteV, effect, 0, 1, 2});
        const auto pOutput = log.Open();
        for (int i = 0; pOutput != nullptr && i < 2; ++i) pOutput->Log(std::string_view("refused"));
        _exit(0);
      }
      stand_ins::Withdraw(stand_ins::Call::WriteV);
      ASSERT_EQ(waitpid(child, nullptr, 0), child);
      log.Write("after", 2);
      EXPECT_THAT(log.Verify(),
                  testing::UnorderedElementsAre("torn", bGap ? "gap 10..11" : "intact"))
          << static_cast<int>(effect) << '\n'
          << log.explanations;
    }
  }
}

// ---- Full disks ---------------------------------------------------------------------------------

void LimitFileSize(rlim_t uBytes) {
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = uBytes;
  setrlimit(RLIMIT_FSIZE, &limit);
}

// The disk has room for a part of the record, each part of it. The log goes on in a new file; or in
// the same one, after room for a part of the record that describes the first part.
void WriteToFullDisk(uint64_t uRoom, bool bNewFile) {
  SealedLog log;
  auto pOutput = log.Open();
  ASSERT_TRUE(pOutput->Log(std::string_view("first")));
  const uint64_t uSize = fs::file_size(log.Path());
  LimitFileSize(uSize + uRoom);
  const bool bSecond = pOutput->Log(std::string_view("second"));
  EXPECT_FALSE(pOutput->Log(std::string_view("third")));
  if (!bNewFile) LimitFileSize(uSize + uRoom + 10);
  EXPECT_FALSE(pOutput->Log(std::string_view("third")));
  LimitFileSize(RLIM_INFINITY);
  log.file.mode = bNewFile ? 2 : 1;
  if (bNewFile) pOutput = log.Open();
  ASSERT_NE(pOutput, nullptr);
  EXPECT_TRUE(pOutput->Log(std::string_view("fourth")));
  FindingsOf(log);
  const std::set<std::string> texts = log.Texts();
  EXPECT_EQ(texts.contains("second"), bSecond) << uRoom;
  EXPECT_FALSE(texts.contains("third"));
  EXPECT_TRUE(texts.contains("first") && texts.contains("fourth"));
}

TEST(SealFullDisk, CostsTheRecordsThatItRefusesAndNothingElse) {
  signal(SIGXFSZ, SIG_IGN);
  for (uint64_t uRoom = 0; uRoom < 60; ++uRoom) {
    for (const bool bNewFile : {false, true}) WriteToFullDisk(uRoom, bNewFile);
  }
}

// ---- Keys ---------------------------------------------------------------------------------------

TEST(SealKeys, AreNeverReplacedAndNoSecretIsInTheState) {
  SealedLog log;
  WySealKeyTexts keys;
  EXPECT_FALSE(WySealCreateKeys(log.Keys(), false, keys));
  EXPECT_EQ(errno, EEXIST);
  log.Write("record", 3);
  CWySealVerifier verifier([](const WySealFinding&) {});
  EXPECT_FALSE(verifier.AddKey("wyseal-key-1-short"));
  EXPECT_TRUE(verifier.AddKey(log.keys.verification));
  EXPECT_FALSE(verifier.Run().isIntact) << "without a file";
  EXPECT_FALSE(verifier.AddKey(SealedLog().keys.verification)) << "of another log";
}

// Inverted, so that a search for the key does not find this copy.
std::string Inverted(const WySealKey& key) {
  std::string strKey(key.size(), '\0');
  std::transform(key.begin(), key.end(), strKey.begin(), [](int c) { return ~c; });
  return strKey;
}

// How many of the keys are in the private writable memory of this process. Read into a shared
// mapping, which is not searched.
long CopiesInMemory(const std::vector<std::string>& keys) {
  constexpr size_t Most = 64u << 20;
  auto* const pBytes = static_cast<char*>(
      mmap(nullptr, Most, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  const CWySealDescriptor memory(open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
  std::ifstream mappings("/proc/self/maps");
  long lFound = 0;
  for (std::string strLine; std::getline(mappings, strLine);) {
    unsigned long uFrom = 0, uTo = 0;
    if (sscanf(strLine.c_str(), "%lx-%lx rw-p", &uFrom, &uTo) != 2) continue;
    if (strLine.find(" rw-p ") == std::string::npos) continue;
    const ssize_t lRead =
        pread(memory.Get(), pBytes, std::min(uTo - uFrom, Most), static_cast<off_t>(uFrom));
    const std::string_view content(pBytes, static_cast<size_t>(std::max(lRead, ssize_t{0})));
    std::transform(content.begin(), content.end(), pBytes, [](int c) { return ~c; });
    for (const std::string& strKey : keys) lFound += content.find(strKey) != content.npos ? 1 : 0;
  }
  munmap(pBytes, Most);
  return lFound;
}

// Of the state and of the verifier, after both are closed. Sanitizers keep freed memory as it was.
TEST(SealKeys, LeaveNoCopyInTheMemoryOfTheProcess) {
  if (test_support::IsSanitized) GTEST_SKIP();
  SealedLog log(true);
  std::vector<std::string> keys;
  for (int i = 0; i < 3; ++i) {
    log.WriteFiles(1, 3);
    CWySealState state;
    ASSERT_TRUE(state.Open(log.Keys()) && state.Lock());
    const WySealSlot& slot = state.Slot();
    keys.insert(keys.end(), {Inverted(slot.key), Inverted(slot.fileKey), Inverted(slot.seed)});
    state.Unlock();
  }
  FindingsOf(log);
  ASSERT_TRUE(WySealRenewKeys(log.Keys(), log.keys));
  CWySealWiped<WySealNamedKey> renewed;
  ASSERT_TRUE(WySealParseKey(log.keys.verification, *renewed));
  keys.push_back(Inverted(renewed->key));
  sodium_memzero(&*renewed, sizeof(WySealNamedKey));
  EXPECT_EQ(CopiesInMemory(keys), 0);
}

TEST(SealKeys, RenewedOnesVerifyTheFilesAfterThem) {
  SealedLog log(true);
  log.Write("record", 5);
  WySealKeyTexts renewed;
  ASSERT_TRUE(WySealRenewKeys(log.Keys(), renewed));
  log.Write("later", 5);
  EXPECT_EQ(log.Files().size(), 2u);
  EXPECT_THAT(log.Verify(), ElementsAre("no-key 2..2")) << "the old key opens nothing new";
  log.moreKeys = {renewed.verification};
  EXPECT_THAT(log.Verify(), ElementsAre("intact")) << log.explanations;
  log.keys.verification = renewed.verification;
  log.moreKeys.clear();
  EXPECT_THAT(log.Verify(), Contains("no-key 1..1"));
}

// Signatures need no secret to be verified, and cover everything before them.
TEST(SealKeys, APublicKeyVerifiesWhatIsSigned) {
  SealedLog log(true);
  log.options.markRecords = 4;
  log.Write("record", 10);
  EXPECT_THAT(log.Verify(true, "", true), ElementsAre("intact"));
  EXPECT_GE(log.summary.signedThrough, 8u);
  const std::vector<std::string> lines = log.Lines();
  for (size_t u = 0; u < 8; ++u) {
    std::vector<std::string> changed = lines;
    changed[u][1] ^= 1;
    log.SetLines(changed);
    EXPECT_THAT(log.Verify(true, "", true), Contains(HasSubstr(u == 0 ? "" : "changed"))) << u;
    EXPECT_FALSE(log.summary.isIntact);
    changed = lines;
    changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(u));
    log.SetLines(changed);
    log.Verify(true, "", true);
    EXPECT_FALSE(log.summary.isIntact);
  }
}

}  // namespace
