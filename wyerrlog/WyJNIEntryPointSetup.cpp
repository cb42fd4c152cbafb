// The native methods of the Java class Native that find loggers, install and remove outputs, and
// decide what is traced. Failures are returned as numbers of errno, which Java turns into
// exceptions; texts are UTF-8.

#include <jni.h>
#include <wyxlate/WyXlate.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "wyerrlog/WyAuditRecord.h"
#include "wyerrlog/WyLogFile.h"
#include "wyerrlog/WyLoggerList.h"
#include "wyerrlog/internal/WyDeadlockCheck.h"
#include "wyerrlog/internal/WyJavaCall.h"
#include "wyerrlog/internal/WyTraceGeneration.h"

namespace {

CWyLogger& LoggerOf(jlong hLogger) { return *reinterpret_cast<CWyLogger*>(hLogger); }

// Throws std::bad_alloc. Of a null array the text is empty.
std::string TextOf(JNIEnv* pEnv, jbyteArray hBytes) {
  if (hBytes == nullptr) return {};
  const jsize iSize = pEnv->GetArrayLength(hBytes);
  std::string strText(static_cast<std::size_t>(iSize), '\0');
  pEnv->GetByteArrayRegion(hBytes, 0, iSize, reinterpret_cast<jbyte*>(strText.data()));
  return strText;
}

// A text that open(2) would see only a part of. Java's texts may have zero bytes.
bool HasZeroByte(const std::string& strText) { return strText.find('\0') != std::string::npos; }

// The numbers of WyLogKind.
enum Log : jint { Error = 0, Trace = 1, Audit = 2 };

struct TraceParameters {
  std::string strConfig;
  jint iLayout;
  std::string strDelimiter;
};

bool Install(CWyLogger& logger, jint iLog, const char* pszPath, const WyFileOptions& options,
             const TraceParameters& trace) {
  if (iLog == Error) return WyLogToFile(logger, pszPath, options);
  if (iLog == Audit) return WyAuditToFile(logger, pszPath, options);
  return WyTraceToFile(
      logger, pszPath,
      {trace.strConfig.c_str(), trace.iLayout, trace.strDelimiter.c_str(), options});
}

int ToTerminal(CWyLogger& logger) {
  CWyLogOutput* const pOutput = logger.NewLogOutput(WyOutputType::Console);
  errno = 0;
  if (pOutput != nullptr && logger.SetLogOutput(pOutput)) return 0;
  const int iErrno = errno != 0 ? errno : ENOTSUP;
  logger.DeleteLogOutput(pOutput);
  return iErrno;
}

// What Native.decide returns. In an output or a callback of the host the logger may refuse the
// question: a result of false holds for this thread and moment alone.
enum Decision : jint { Unknown = -1, NotTraced = 0, Traced = 1 };

Decision Decide(CWyLogger& logger, unsigned int uComponent) {
  if (logger.TraceEnabled(uComponent)) return Traced;
  return CWyGuardHold::InnermostOfThisThread() != nullptr ? Unknown : NotTraced;
}

// The fields that the configuration shows, a bit for each; of a logger that traces the component.
void ListShownFields(CWyLogger& logger, unsigned int uComponent, jlong (&alShown)[2]) {
  CWyTraceData* pData = nullptr;
  if (!logger.ShouldTraceAlloc(uComponent, &pData)) return;
  for (unsigned int uField = 0; uField < WyField::Count; ++uField) {
    if (pData->FieldTraced(uField)) {
      alShown[uField / 64] |= static_cast<jlong>(std::uint64_t{1} << (uField % 64));
    }
  }
}

}  // namespace

extern "C" {

JNIEXPORT jobject JNICALL Java_com_orvantis_wyerrlog_Native_generation(JNIEnv* pEnv, jclass) {
  return pEnv->NewDirectByteBuffer(&g_uWyTraceGeneration, sizeof g_uWyTraceGeneration);
}

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_Native_decide(JNIEnv* pEnv, jclass, jlong hLogger,
                                                                jint iComponent,
                                                                jlongArray hShown) {
  return WyRunForJava(pEnv, jint{Unknown}, [=]() -> jint {
    CWyLogger& logger = LoggerOf(hLogger);
    const auto uComponent = static_cast<unsigned int>(iComponent);
    const Decision decision = Decide(logger, uComponent);
    if (decision != Traced || hShown == nullptr) return decision;
    jlong alShown[2] = {};
    ListShownFields(logger, uComponent, alShown);
    pEnv->SetLongArrayRegion(hShown, 0, 2, alShown);
    return Traced;
  });
}

JNIEXPORT jlong JNICALL Java_com_orvantis_wyerrlog_Native_processLogger(JNIEnv*, jclass) {
  return reinterpret_cast<jlong>(theLogger());
}

JNIEXPORT jlong JNICALL Java_com_orvantis_wyerrlog_Native_findLogger(JNIEnv* pEnv, jclass,
                                                                     jbyteArray hName) {
  return WyRunForJava(pEnv, jlong{0}, [=]() -> jlong {
    CWyLoggerList* const pList = theLoggerList();
    if (pList == nullptr) return 0;
    return reinterpret_cast<jlong>(pList->GetLogger(TextOf(pEnv, hName).c_str()));
  });
}

JNIEXPORT jlong JNICALL Java_com_orvantis_wyerrlog_Native_addLogger(JNIEnv* pEnv, jclass,
                                                                    jbyteArray hName) {
  return WyRunForJava(pEnv, jlong{0}, [=]() -> jlong {
    return reinterpret_cast<jlong>(getMyLogger(TextOf(pEnv, hName).c_str()));
  });
}

JNIEXPORT jboolean JNICALL Java_com_orvantis_wyerrlog_Native_removeLogger(JNIEnv* pEnv, jclass,
                                                                          jbyteArray hName) {
  return WyRunForJava(pEnv, jboolean{JNI_FALSE}, [=]() -> jboolean {
    return removeMyLogger(TextOf(pEnv, hName).c_str()) ? JNI_TRUE : JNI_FALSE;
  });
}

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_Native_toFile(
    JNIEnv* pEnv, jclass, jlong hLogger, jint iLog, jbyteArray hPath, jint iMode, jint iMaxSizeMB,
    jint iBackups, jint iPermissions, jboolean bSynchronous, jboolean bDaily, jint iMaxAgeDays,
    jbyteArray hConfig, jint iLayout, jbyteArray hDelimiter) {
  return WyRunForJava(pEnv, jint{ENOMEM}, [=]() -> jint {
    const std::string strPath = TextOf(pEnv, hPath);
    const TraceParameters trace{TextOf(pEnv, hConfig), iLayout, TextOf(pEnv, hDelimiter)};
    if (HasZeroByte(strPath) || HasZeroByte(trace.strConfig) || HasZeroByte(trace.strDelimiter)) {
      return EINVAL;
    }
    WyFileOptions options;
    options.mode = iMode;
    options.maxSizeMB = iMaxSizeMB;
    options.backups = iBackups;
    options.permissions = static_cast<unsigned int>(iPermissions);
    options.synchronous = bSynchronous != JNI_FALSE;
    options.daily = bDaily != JNI_FALSE;
    options.maxAgeDays = iMaxAgeDays;
    errno = 0;
    if (Install(LoggerOf(hLogger), iLog, strPath.c_str(), options, trace)) return 0;
    return errno != 0 ? errno : EINVAL;
  });
}

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_Native_toTerminal(JNIEnv* pEnv, jclass,
                                                                    jlong hLogger) {
  return WyRunForJava(pEnv, jint{ENOMEM}, [=]() -> jint { return ToTerminal(LoggerOf(hLogger)); });
}

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Native_stop(JNIEnv* pEnv, jclass, jlong hLogger,
                                                              jint iLog) {
  WyRunForJava(pEnv, 0, [=]() -> int {
    CWyLogger& logger = LoggerOf(hLogger);
    if (iLog == Error) logger.DisableLog();
    if (iLog == Trace) logger.DisableTrace(false);
    if (iLog == Audit) logger.DisableAuditLog();
    return 0;
  });
}

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Native_useLocalTime(JNIEnv*, jclass,
                                                                      jlong hLogger,
                                                                      jboolean bLocal) {
  LoggerOf(hLogger).UseLocalTime(bLocal != JNI_FALSE);
}

JNIEXPORT jboolean JNICALL Java_com_orvantis_wyerrlog_Native_useMessages(JNIEnv* pEnv, jclass,
                                                                         jbyteArray hFolder) {
  return WyRunForJava(pEnv, jboolean{JNI_FALSE}, [=]() -> jboolean {
    const std::string strFolder = TextOf(pEnv, hFolder);
    if (strFolder.empty() || HasZeroByte(strFolder)) return JNI_FALSE;
    return CWyXlate::SetResourceDirectory(strFolder.c_str()) ? JNI_TRUE : JNI_FALSE;
  });
}

JNIEXPORT void JNICALL Java_com_orvantis_wyerrlog_Native_useJsonForAudit(JNIEnv*, jclass,
                                                                         jboolean bJson) {
  WySetAuditFormat(bJson != JNI_FALSE ? WyAuditFormat::Json : WyAuditFormat::Logfmt);
}

// The texts of errno are ASCII in every locale that the process has not changed itself.
JNIEXPORT jstring JNICALL Java_com_orvantis_wyerrlog_Native_errorText(JNIEnv* pEnv, jclass,
                                                                      jint iErrno) {
  return WyRunForJava(pEnv, jstring{nullptr}, [=]() -> jstring {
    return pEnv->NewStringUTF(std::generic_category().message(iErrno).c_str());
  });
}

}  // extern "C"
