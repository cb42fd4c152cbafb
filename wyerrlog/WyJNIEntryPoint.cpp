// The native methods of the Java class com.orvantis.wyerrlog.WyLogger, whose documentation states
// their contracts. Each one converts its strings, calls the logger and releases the strings; if the
// virtual machine has no memory for one of them, the call fails or logs nothing.

#include <jni.h>
#include <wyxlate/WyXlate.h>

#include <string>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyLog.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyLoggerList.h"
#include "wyerrlog/WyTraceData.h"
#include "wyerrlog/internal/WyJavaText.h"
#include "wyerrlog/internal/WyTextPattern.h"

namespace {

// The results that the Java class documents. What logs and traces returns Done in any case.
enum Result : jint { NoLogger = -1, Failed = 0, Done = 1 };

// Runs a method's body. No C++ exception may pass through the frames of the virtual machine: it
// would end the process, so every exception ends here, those of a host's outputs included.
template <typename Body>
jint Run(Result onException, Body body) noexcept {
  try {
    return body();
  } catch (...) {
    return onException;
  }
}

// The empty name and null are the process logger's. A name whose bytes are lost selects none: the
// process logger would be the wrong one.
CWyLogger* SelectLogger(const CWyJavaText& name) {
  if (name.IsLost()) return nullptr;
  return *name.OrEmpty() == '\0' ? theLogger() : getMyLogger(name.OrNull());
}

// ---- Outputs ------------------------------------------------------------------------------------

struct OutputParameters {
  jint iType;
  const char* pszFileName;
  jint iMode;
  jint iMaxSizeMB;
  jint iMaxBackups;
};

// The form of the call chooses the kind of output; whatever is not the console is a file.
CWyLogOutput* NewOutput(CWyLogger& logger, const OutputParameters& parameters) {
  if (parameters.iType == WyOutputType::Console) return logger.NewLogOutput(parameters.iType);
  return logger.NewLogOutput(parameters.iType, parameters.pszFileName, parameters.iMode,
                             parameters.iMaxSizeMB, parameters.iMaxBackups);
}

// Returns the result of an attempt to install an output. If it failed the output still belongs to
// the caller, which no Java code could delete.
jint Installed(bool bInstalled, CWyLogger& logger, CWyLogOutput* pOutput) {
  if (bInstalled) return Done;
  logger.DeleteLogOutput(pOutput);
  return Failed;
}

// ---- Log messages -------------------------------------------------------------------------------

// The location is the Java caller's text as it stands, so there is no line number. The methods
// write all texts as they are: their callers decide on control characters.
template <typename... Texts>
void WriteLogMessage(CWyLogger& logger, const CWyJavaText& location, jint iMessageId,
                     const Texts&... texts) {
  WyLog(logger, {static_cast<unsigned int>(iMessageId), {location.OrEmpty(), 0, ""}},
        WyRaw(texts)...);
}

// A call with more arguments than the pattern can take is reported as a warning in the process
// logger's trace, because the Java method returns nothing that would show it.
constexpr const char* FunctionThatWarns = "WyJNIEntryPoint::LogMsg";

void WarnOfUnloggedMessage(jint iMessageId) {
  const auto uId = static_cast<unsigned int>(iMessageId);
  const unsigned int uComponentId =
      WyComponentId(WyComponentNumber(uId), WySubComponentNumber(uId));
  WY_TRACE(uComponentId)
      .Set(WyField::Function, FunctionThatWarns)
      .Message("WARNING!!! Too many arguments in message.  Message not logged.  Message ID is: %d",
               iMessageId);
}

void WarnOfUnformattedMessage(unsigned int uComponentId, const char* pszMessage) {
  const std::string strWarning =
      std::string("WARNING!!! Too many arguments in message - Message not logged.  ") +
      "Unformatted message is: " + pszMessage;
  WY_TRACE(uComponentId)
      .Set(WyField::Function, FunctionThatWarns)
      .Set(WyField::Message, WyRaw(strWarning));
}

// ---- Trace messages -----------------------------------------------------------------------------

// The Java arguments of a TraceMsg: converted only if the call is traced.
struct TraceCall {
  jstring hLoggerName;
  jstring hSrcFile;
  jstring hFunction;
  jint iComponentId;
  jstring hTransactionId;
  jstring hMessage;
  jobjectArray hArguments;

  unsigned int ComponentId() const { return static_cast<unsigned int>(iComponentId); }
};

// The same as bytes. An object is constructed on the stack of the method and released with it.
struct TraceTexts {
  TraceTexts(JNIEnv* pEnv, const TraceCall& call)
      : srcFile(pEnv, call.hSrcFile),
        function(pEnv, call.hFunction),
        transactionId(pEnv, call.hTransactionId),
        message(pEnv, call.hMessage),
        arguments(pEnv, call.hArguments) {}

  bool AreLost() const {
    return srcFile.IsLost() || function.IsLost() || transactionId.IsLost() || message.IsLost() ||
           arguments.AreLost();
  }

  CWyJavaText srcFile;
  CWyJavaText function;
  CWyJavaText transactionId;
  CWyJavaText message;
  CWyJavaArguments arguments;
};

// The message is a pattern if there are arguments for it, and a text otherwise. In either case it
// goes through "%s": a Java text must never be a format of printf.
const char* MessageOf(const TraceTexts& texts, CWyTraceData& record) {
  const CWyJavaArguments& arguments = texts.arguments;
  if (arguments.Count() == 0 || arguments.AreTooMany()) {
    return record.FormatTraceMessage("%s", texts.message.OrEmpty());
  }
  const std::string strMessage = WyFormatTexts(texts.message.OrEmpty(), arguments.Texts());
  return record.FormatTraceMessage("%s", strMessage.c_str());
}

// A function of its own, so that only calls that are traced need the room for a record (about 70
// KiB) on their stack.
[[gnu::noinline]] void WriteTraceMessage(CWyLogger& logger, unsigned int uComponentId,
                                         const TraceTexts& texts) {
  CWyTraceData ownRecord;
  ownRecord.SetLogger(&logger);
  const bool bTraced = logger.TraceEnabled(0) && logger.ShouldTrace(uComponentId, &ownRecord);
  // The thread may be inside a trace record already: a callback may call Java code.
  if (!bTraced || !CWyTraceSupresser::isTracing()) return;
  CWyTraceRecord(ownRecord)
      .Set(WyField::Function, WyRaw(texts.function.OrEmpty()))
      .Set(WyField::Message, [&] { return WyRaw(MessageOf(texts, ownRecord)); })
      .Set(WyField::TransactionID, WyRaw(texts.transactionId.OrEmpty()))
      .Set(WyField::SrcFile, WyRaw(CWyErrLogMessage::PathnameFindFilePart(texts.srcFile.OrEmpty())))
      .Write();
}

void Trace(JNIEnv* pEnv, const TraceCall& call) {
  const CWyJavaText loggerName(pEnv, call.hLoggerName);
  CWyLogger* const pLogger = SelectLogger(loggerName);
  if (pLogger == nullptr) return;
  // The length is asked for before anything is converted: a longer array is not fetched.
  const bool bWarn = call.hArguments != nullptr &&
                     pEnv->GetArrayLength(call.hArguments) > CWyJavaArguments::MaxCount;
  // Most calls are not traced: they end here, before anything else is converted.
  if (!bWarn && !pLogger->TraceEnabled(call.ComponentId())) return;

  const TraceTexts texts(pEnv, call);
  if (texts.AreLost()) return;
  if (bWarn) WarnOfUnformattedMessage(call.ComponentId(), texts.message.OrEmpty());
  WriteTraceMessage(*pLogger, call.ComponentId(), texts);
}

}  // namespace

// ---- The native methods -------------------------------------------------------------------------

// The names are those that the virtual machine derives from class, method and, for overloaded
// methods, the signature. Strings are null in Java as in C; each body's first lines decide what
// null means.
extern "C" {

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_InitializeLog(
    JNIEnv* pEnv, jobject, jstring hLoggerName, jint iOutputType, jstring hFileName, jint iMode,
    jint iMaxSizeMB, jboolean bUseLocalTime, jint iMaxBackups) {
  return Run(Failed, [=]() -> jint {
    // A name whose bytes are lost is null, which the file output refuses.
    const CWyJavaText fileName(pEnv, hFileName);
    const CWyJavaText loggerName(pEnv, hLoggerName);
    CWyLogger* const pLogger = SelectLogger(loggerName);
    if (pLogger == nullptr) return NoLogger;
    // Never set to UTC here: a logger that several callers initialise keeps local time.
    if (bUseLocalTime != JNI_FALSE) pLogger->UseLocalTime(true);
    CWyLogOutput* const pOutput =
        NewOutput(*pLogger, {iOutputType, fileName.OrNull(), iMode, iMaxSizeMB, iMaxBackups});
    if (pOutput == nullptr) return Failed;
    return Installed(pLogger->SetLogOutput(pOutput), *pLogger, pOutput);
  });
}

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_SetResourcesDirectory(
    JNIEnv* pEnv, jobject, jstring hDirectory) {
  return Run(Failed, [=]() -> jint {
    const CWyJavaText directory(pEnv, hDirectory);
    // A directory whose bytes are lost counts as the empty text, and is refused with it.
    if (*directory.OrEmpty() == '\0') return Failed;
    return CWyXlate::SetResourceDirectory(directory.OrNull()) ? Done : Failed;
  });
}

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_InitializeTrace(
    JNIEnv* pEnv, jobject, jstring hLoggerName, jint iOutputType, jstring hFileName, jint iMode,
    jint iMaxSizeMB, jint iFormat, jstring hDelimiter, jstring hConfigFile, jboolean bUseLocalTime,
    jint iMaxBackups) {
  return Run(Failed, [=]() -> jint {
    if (hConfigFile == nullptr) return Failed;
    const CWyJavaText configFile(pEnv, hConfigFile);
    const CWyJavaText loggerName(pEnv, hLoggerName);
    const CWyJavaText fileName(pEnv, hFileName);
    const CWyJavaText delimiter(pEnv, hDelimiter);
    CWyLogger* const pLogger = SelectLogger(loggerName);
    if (pLogger == nullptr || *configFile.OrEmpty() == '\0' || delimiter.IsLost()) return Failed;
    CWyLogOutput* const pOutput =
        NewOutput(*pLogger, {iOutputType, fileName.OrNull(), iMode, iMaxSizeMB, iMaxBackups});
    // EnableTrace refuses an output that could not be constructed, and deleting null has no effect.
    const bool bEnabled =
        pLogger->EnableTrace(pOutput, iFormat, delimiter.OrNull(), configFile.OrNull(),
                             bUseLocalTime != JNI_FALSE, false, false);
    return Installed(bEnabled, *pLogger, pOutput);
  });
}

JNIEXPORT jint JNICALL
Java_com_orvantis_wyerrlog_WyLogger_LogMsg__Ljava_lang_String_2Ljava_lang_String_2ILjava_lang_String_2(
    JNIEnv* pEnv, jobject, jstring hLoggerName, jstring hLocation, jint iMessageId,
    jstring hArgument) {
  return Run(Done, [=]() -> jint {
    const CWyJavaText loggerName(pEnv, hLoggerName);
    const CWyJavaText location(pEnv, hLocation);
    const CWyJavaText argument(pEnv, hArgument);
    CWyLogger* const pLogger = SelectLogger(loggerName);
    if (pLogger == nullptr || location.IsLost() || argument.IsLost()) return Done;
    WriteLogMessage(*pLogger, location, iMessageId, argument.OrEmpty());
    return Done;
  });
}

JNIEXPORT jint JNICALL
Java_com_orvantis_wyerrlog_WyLogger_LogMsg__Ljava_lang_String_2Ljava_lang_String_2I_3Ljava_lang_String_2(
    JNIEnv* pEnv, jobject, jstring hLoggerName, jstring hLocation, jint iMessageId,
    jobjectArray hArguments) {
  return Run(Done, [=]() -> jint {
    const CWyJavaText loggerName(pEnv, hLoggerName);
    const CWyJavaText location(pEnv, hLocation);
    CWyLogger* const pLogger = SelectLogger(loggerName);
    if (pLogger == nullptr || location.IsLost()) return Done;
    const CWyJavaArguments arguments(pEnv, hArguments);
    if (arguments.AreTooMany()) {
      WarnOfUnloggedMessage(iMessageId);
      return Done;
    }
    if (arguments.Count() == 0 || arguments.AreLost()) return Done;
    // Always five: placeholders without an argument get the empty text.
    const auto& [a1, a2, a3, a4, a5] = arguments.Texts();
    WriteLogMessage(*pLogger, location, iMessageId, a1, a2, a3, a4, a5);
    return Done;
  });
}

JNIEXPORT jint JNICALL
Java_com_orvantis_wyerrlog_WyLogger_TraceMsg__Ljava_lang_String_2Ljava_lang_String_2Ljava_lang_String_2ILjava_lang_String_2Ljava_lang_String_2(
    JNIEnv* pEnv, jobject, jstring hLoggerName, jstring hSrcFile, jstring hFunction,
    jint iComponentId, jstring hTransactionId, jstring hMessage) {
  return Run(Done, [=]() -> jint {
    Trace(pEnv,
          {hLoggerName, hSrcFile, hFunction, iComponentId, hTransactionId, hMessage, nullptr});
    return Done;
  });
}

JNIEXPORT jint JNICALL
Java_com_orvantis_wyerrlog_WyLogger_TraceMsg__Ljava_lang_String_2Ljava_lang_String_2Ljava_lang_String_2ILjava_lang_String_2Ljava_lang_String_2_3Ljava_lang_String_2(
    JNIEnv* pEnv, jobject, jstring hLoggerName, jstring hSrcFile, jstring hFunction,
    jint iComponentId, jstring hTransactionId, jstring hMessage, jobjectArray hArguments) {
  return Run(Done, [=]() -> jint {
    Trace(pEnv,
          {hLoggerName, hSrcFile, hFunction, iComponentId, hTransactionId, hMessage, hArguments});
    return Done;
  });
}

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_TraceEnabledComponent(
    JNIEnv* pEnv, jobject, jstring hLoggerName, jint iComponentId) {
  return Run(Failed, [=]() -> jint {
    const CWyJavaText loggerName(pEnv, hLoggerName);
    CWyLogger* const pLogger = SelectLogger(loggerName);
    if (pLogger == nullptr) return Failed;
    return pLogger->TraceEnabled(static_cast<unsigned int>(iComponentId)) ? Done : Failed;
  });
}

JNIEXPORT jint JNICALL Java_com_orvantis_wyerrlog_WyLogger_TraceEnabled(JNIEnv* pEnv,
                                                                        jobject hReceiver,
                                                                        jstring hLoggerName) {
  // The component number 0 asks whether anything is traced.
  return Java_com_orvantis_wyerrlog_WyLogger_TraceEnabledComponent(pEnv, hReceiver, hLoggerName, 0);
}

}  // extern "C"
