// The native methods without a virtual machine: what they give back when it runs out of memory, the
// stack that they need, and patterns that are no printf formats. All else is tested from Java.

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <functional>

#include "test_support/FakeJvm.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyTextPattern.h"

extern "C" {
JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_InitializeLog(JNIEnv*, jobject, jstring,
                                                                         jint, jstring, jint, jint,
                                                                         jboolean, jint);
JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_InitializeTrace(
    JNIEnv*, jobject, jstring, jint, jstring, jint, jint, jint, jstring, jstring, jboolean, jint);
JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_SetResourcesDirectory(JNIEnv*, jobject,
                                                                                 jstring);
JNIEXPORT jint JNICALL
Java_com_orvantis_wyerrlog_WyLogger_LogMsg__Ljava_lang_String_2Ljava_lang_String_2ILjava_lang_String_2(
    JNIEnv*, jobject, jstring, jstring, jint, jstring);
JNIEXPORT jint JNICALL
Java_com_orvantis_wyerrlog_WyLogger_LogMsg__Ljava_lang_String_2Ljava_lang_String_2I_3Ljava_lang_String_2(
    JNIEnv*, jobject, jstring, jstring, jint, jobjectArray);
JNIEXPORT jint JNICALL
Java_com_orvantis_wyerrlog_WyLogger_TraceMsg__Ljava_lang_String_2Ljava_lang_String_2Ljava_lang_String_2ILjava_lang_String_2Ljava_lang_String_2_3Ljava_lang_String_2(
    JNIEnv*, jobject, jstring, jstring, jstring, jint, jstring, jstring, jobjectArray);
JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_TraceEnabledComponent(JNIEnv*, jobject,
                                                                                 jstring, jint);
}

namespace {

constexpr jint ComponentLog = 0x01000000, MessageInformation = 0x01004001;
constexpr jint File = 1, Append = 1, Bracketed = 0;

// One of a method's calls, with the same arguments each time.
struct Method {
  const char* pszName;
  jint iWhenDone;
  jint iWhenOutOfMemory;
  std::function<jint()> call;
};

class NativeMethods : public testing::Test {
 protected:
  jint InitializeLog() {
    return Java_com_orvantis_wyerrlog_WyLogger_InitializeLog(&m_jvm, nullptr, Text("app"), File,
                                                             Text(m_directory.Path("error.log")),
                                                             Append, 0, JNI_FALSE, 0);
  }
  jint InitializeTrace() {
    m_directory.Write("trace.conf",
                      "components Log\ndata Function Message SrcFile TransactionID\n");
    return Java_com_orvantis_wyerrlog_WyLogger_InitializeTrace(
        &m_jvm, nullptr, Text("app"), File, Text(m_directory.Path("trace.log")), Append, 0,
        Bracketed, Text("|"), Text(m_directory.Path("trace.conf")), JNI_FALSE, 0);
  }
  jint TraceMsg() {
    return Java_com_orvantis_wyerrlog_WyLogger_TraceMsg__Ljava_lang_String_2Ljava_lang_String_2Ljava_lang_String_2ILjava_lang_String_2Ljava_lang_String_2_3Ljava_lang_String_2(
        &m_jvm, nullptr, Text("app"), Text("src/App.java"), Text("run"), ComponentLog, Text("t1"),
        Text("%s, %s and %s"), m_jvm.Array({Text("a"), nullptr, Text("c")}));
  }
  jint LogMsg() {
    return Java_com_orvantis_wyerrlog_WyLogger_LogMsg__Ljava_lang_String_2Ljava_lang_String_2ILjava_lang_String_2(
        &m_jvm, nullptr, Text("app"), Text("App"), MessageInformation, Text("hello"));
  }
  jint LogMsgWithArray() {
    return Java_com_orvantis_wyerrlog_WyLogger_LogMsg__Ljava_lang_String_2Ljava_lang_String_2I_3Ljava_lang_String_2(
        &m_jvm, nullptr, Text("app"), Text("App"), MessageInformation,
        m_jvm.Array({Text("hello"), nullptr, Text("c"), Text("d"), Text("e")}));
  }
  jstring Text(const std::string& strText) { return m_jvm.String(strText); }

  test_support::FakeJvm m_jvm;
  TempDirectory m_directory;
};

TEST_F(NativeMethods, FailOrWriteNothingWithoutMemoryForAStringAndGiveBackTheOthers) {
  ASSERT_EQ(InitializeTrace(), 1);
  const std::string strTitles = m_directory.Read("trace.log");
  const Method methods[] = {
      {"SetResourcesDirectory", 1, 0,
       [this] {
         return Java_com_orvantis_wyerrlog_WyLogger_SetResourcesDirectory(&m_jvm, nullptr,
                                                                          Text("/"));
       }},
      {"TraceEnabledComponent", 1, 0,
       [this] {
         return Java_com_orvantis_wyerrlog_WyLogger_TraceEnabledComponent(
             &m_jvm, nullptr, Text("app"), ComponentLog);
       }},
      {"TraceMsg", 1, 1, [this] { return TraceMsg(); }},
      {"InitializeLog", 1, 0, [this] { return std::max(InitializeLog(), 0); }},
      {"LogMsg", 1, 1, [this] { return LogMsg(); }},
      {"LogMsg with an array", 1, 1, [this] { return LogMsgWithArray(); }},
      {"InitializeTrace", 1, 0, [this] { return InitializeTrace(); }}};
  for (const auto& [pszName, iWhenDone, iWhenOutOfMemory, call] : methods) {
    m_jvm.RunOutOfMemoryAt(0);
    EXPECT_EQ(call(), iWhenDone) << pszName;
    EXPECT_TRUE(m_jvm.IsAsBefore()) << pszName;
    const std::string strTrace = m_directory.Read("trace.log");
    const std::string strLog = m_directory.Read("error.log");
    for (int i = m_jvm.Conversions(); i > 0; --i) {
      m_jvm.RunOutOfMemoryAt(i);
      EXPECT_EQ(call(), iWhenOutOfMemory) << pszName << ", string " << i;
      EXPECT_TRUE(m_jvm.IsAsBefore()) << pszName << ", string " << i;
    }
    EXPECT_EQ(m_directory.Read("trace.log"), strTrace) << pszName;
    EXPECT_EQ(m_directory.Read("error.log"), strLog) << pszName;
  }
  m_jvm.RunOutOfMemoryAt(1);
  EXPECT_EQ(InitializeLog(), 0) << "without the file's name";
  m_jvm.RunOutOfMemoryAt(2);
  EXPECT_EQ(InitializeLog(), -1) << "without the logger's name";
  EXPECT_THAT(m_directory.Read("trace.log"),
              testing::StartsWith(strTitles + "[run][a,  and c][App.java][t1]\n"));
  EXPECT_THAT(m_directory.Read("error.log"), testing::HasSubstr("[App][INFO][wy-log-00000] hello"));
}

// ---- Stack --------------------------------------------------------------------------------------

#ifdef WYERRLOG_TEST_STACK  // not under a sanitizer, whose code needs more

// The bytes of stack that a new thread uses for a call, with what starting it takes.
size_t StackOf(std::function<void()> call) {
  constexpr size_t Size = 512 * 1024;
  constexpr unsigned char Paint = 0xA5;
  auto* const pStack = static_cast<unsigned char*>(
      mmap(nullptr, Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0));
  std::fill_n(pStack, Size, Paint);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, pStack, Size);
  pthread_t thread;
  const auto run = [](void* pCall) -> void* {
    (*static_cast<std::function<void()>*>(pCall))();
    return nullptr;
  };
  pthread_create(&thread, &attributes, run, &call);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const auto* const pUsed =
      std::find_if(pStack, pStack + Size, [](unsigned char c) { return c != Paint; });
  const auto uUsed = static_cast<size_t>(pStack + Size - pUsed);
  munmap(pStack, Size);
  return uUsed;
}

TEST_F(NativeMethods, NeedNoMoreStackThanTheirDocumentationSays) {
  constexpr size_t KiB = 1024;
  const size_t uThread = StackOf([] {});
  EXPECT_LT(StackOf([this] { InitializeLog(); }) - uThread, 16 * KiB) << "making the loggers, too";
  EXPECT_LT(StackOf([this] { InitializeTrace(); }) - uThread, 16 * KiB);
  EXPECT_LT(StackOf([this] { LogMsgWithArray(); }) - uThread, 16 * KiB);
  EXPECT_LT(StackOf([this] { TraceMsg(); }) - uThread, 80 * KiB);
}

#endif

// ---- Patterns -----------------------------------------------------------------------------------

TEST(TextPattern, TakesTextConversionsAloneAndNoMoreTextsThanThereAre) {
  const struct {
    const char* pszPattern;
    const char* pszResult;
  } cases[] = {{"", ""},
               {"plain", "plain"},
               {"user %s denied %s", "user bob denied /x"},
               {"%s%s%s%s%s%s|%5s", "bob/xc%d%se%s|%5s"},
               {"%%s %s%% %%", "%s bob% %"},
               {"[%5s][%-5s][%.2s][%5.1s][%-+ #05.9s]", "[  bob][/x   ][c][    %][%se  ]"},
               {"%.s|%.0s|%s", "||c"},
               {"%d %n %i %x %f %c %p %ls %hhs %S %m %", "%d %n %i %x %f %c %p %ls %hhs %S %m %"},
               {"%*s %.*s %5$s %1$s %-", "%*s %.*s %5$s %1$s %-"},
               {"%5%%s %5.%s", "%5%s %5.bob"},
               {"%.99999999999999999999s", "bob"}};
  const char* const texts[] = {"bob", "/x", "c", "%d", "%se"};
  for (const auto& [pszPattern, pszResult] : cases) {
    EXPECT_EQ(WyFormatTexts(pszPattern, texts), pszResult) << pszPattern;
  }
  EXPECT_EQ(WyFormatTexts("%99999999999999999999s", texts), std::string(4093, ' ') + "bob");
}

}  // namespace
