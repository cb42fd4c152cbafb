// The native methods of the Java class Native that write records: messages, texts, trace records
// and audit records. Each one reads a frame (internal/WyJavaFrame.h) and calls the front end as a
// C++ caller does, so that a record looks the same from both languages.
//
// A logger is passed as its address. The Java class WyLogs keeps a named logger until the last call
// on it has ended.

#include <jni.h>

#include <string>
#include <string_view>
#include <utility>

#include "wyerrlog/WyLog.h"
#include "wyerrlog/internal/WyJavaCall.h"
#include "wyerrlog/internal/WyJavaFrame.h"

namespace {

CWyLogger* LoggerOf(jlong hLogger) { return reinterpret_cast<CWyLogger*>(hLogger); }

// ---- Messages -----------------------------------------------------------------------------------

// Removes the bytes of an incomplete character before the newline at the end of the line.
void RemoveCutCharacter(CWyErrLogMessage& line) {
  constexpr std::size_t LongestCharacter = 4;
  std::string_view text(line.GetBuffer(), static_cast<std::size_t>(line.GetBufferLen()));
  if (text.empty() || text.back() != '\n') return;
  text.remove_suffix(1);
  std::size_t uSize = 1;
  while (uSize < LongestCharacter && uSize < text.size() &&
         (text[text.size() - uSize] & 0xC0) == 0x80) {
    ++uSize;
  }
  if (text.empty() || WyLogDetail::SequenceLength(text.substr(text.size() - uSize)) == uSize)
    return;
  text.remove_suffix(uSize);
  line.SetFormattedMessage((std::string(text) + '\n').c_str());
}

// The Java caller's text takes the place of a file, without a line number. The library cuts the
// text of a message to 4095 bytes, which may be in the middle of a character: only a line with long
// arguments is looked at. The texts are escaped already.
bool LogMessage(CWyLogger& logger, unsigned int uId, CWyJavaFrame& frame) {
  constexpr std::size_t Long = 1024;  // bytes; patterns are much shorter than what is left
  constexpr unsigned int AllAsTheyAre = ~0u;
  const WyRawText location = frame.Text("");
  WyLogDetail::TextRef aTexts[CpaArgList::MaxArguments];
  std::size_t uCount = 0;
  std::size_t uSize = 0;
  while (!frame.IsAtEnd() && uCount < CpaArgList::MaxArguments) {
    const bool bRaw = frame.Read<WyJavaKind>() == WyJavaKind::Raw;
    const WyRawText text = bRaw ? WyRaw(frame.Bytes()) : frame.Text("<null>");
    aTexts[uCount] = WyLogDetail::ToText(text).Ref();
    uSize += aTexts[uCount++].uSize;
  }
  const WyLogDetail::Statement statement = {uId,    0,      WyLogDetail::FilePart(location.pszText),
                                            aTexts, uCount, AllAsTheyAre};
  if (uSize <= Long) return logger.LogStatement(statement);
  CWyErrLogMessage line(logger.ShouldUseLocalTime());
  static_cast<void>(statement.Format(line));
  RemoveCutCharacter(line);
  return logger.LogErrMsg(line);
}

// ---- Trace records ------------------------------------------------------------------------------

void SetField(CWyTraceRecord& record, CWyJavaFrame& frame) {
  const auto field = static_cast<WyField::Number>(frame.Read<std::uint8_t>() % WyField::Count);
  switch (frame.Read<WyJavaKind>()) {
    case WyJavaKind::Raw:
      record.Set(field, WyRaw(frame.Bytes()));
      return;
    case WyJavaKind::Long:
      record.Set(field, static_cast<long long>(frame.Read<std::int64_t>()));
      return;
    case WyJavaKind::Double:
      record.Set(field, frame.Read<double>());
      return;
    case WyJavaKind::Bool:
      record.Set(field, frame.Read<std::uint8_t>() != 0);
      return;
    case WyJavaKind::Text:
      record.Set(field, frame.Text("").pszText);
  }
}

bool Trace(CWyLogger& logger, unsigned int uComponent, CWyJavaFrame& frame) {
  CWyTraceData* const pData = WyLogDetail::TakeTraceData(logger, uComponent);
  if (pData == nullptr) return false;
  const WyRawText source = frame.Text("");
  const WyRawText function = frame.Text("");
  CWyTraceRecord record(*pData);
  record.At({source.pszText, 0, function.pszText});
  while (!frame.IsAtEnd()) SetField(record, frame);
  return record.Write();
}

// ---- Audit records ------------------------------------------------------------------------------

// The record escapes texts itself, so it takes them as they are.
void SetMember(CWyAuditRecord& record, CWyJavaFrame& frame) {
  const std::string_view key = frame.Bytes();
  switch (frame.Read<WyJavaKind>()) {
    case WyJavaKind::Long:
      record.Set(key, static_cast<long long>(frame.Read<std::int64_t>()));
      return;
    case WyJavaKind::Double:
      record.Set(key, frame.Read<double>());
      return;
    case WyJavaKind::Bool:
      record.Set(key, frame.Read<std::uint8_t>() != 0);
      return;
    case WyJavaKind::Text:
    case WyJavaKind::Raw:
      const std::string_view text = frame.Bytes();
      if (text.data() == nullptr) {
        record.Set(key, static_cast<const char*>(nullptr));
      } else {
        record.Set(key, text);
      }
  }
}

bool Audit(CWyLogger& logger, CWyJavaFrame& frame) {
  CWyAuditRecord record(logger, frame.Bytes());
  while (!frame.IsAtEnd()) SetMember(record, frame);
  return record.Write();
}

// Runs a body inside a scope with the fields that the frame begins with, if there are any: those
// that hold for one record alone.
template <typename Body>
jboolean WithRequest(CWyJavaFrame& frame, const Body& body) {
  WyRequestFields fields = frame.Request();
  if (fields.empty()) return body() ? JNI_TRUE : JNI_FALSE;
  const WyRequestScope scope(std::move(fields));
  return body() ? JNI_TRUE : JNI_FALSE;
}

}  // namespace

extern "C" {

JNIEXPORT jboolean JNICALL Java_com_orvantis_wyerrlog_Native_message(JNIEnv* pEnv, jclass,
                                                                     jlong hLogger, jint iMessageId,
                                                                     jbyteArray hFrame,
                                                                     jint iSize) {
  return WyRunForJava(pEnv, jboolean{JNI_FALSE}, [=]() -> jboolean {
    CWyJavaFrame frame(pEnv, hFrame, iSize);
    const auto uId = static_cast<unsigned int>(iMessageId);
    return LogMessage(*LoggerOf(hLogger), uId, frame) ? JNI_TRUE : JNI_FALSE;
  });
}

JNIEXPORT jboolean JNICALL Java_com_orvantis_wyerrlog_Native_trace(JNIEnv* pEnv, jclass,
                                                                   jlong hLogger, jint iComponent,
                                                                   jbyteArray hFrame, jint iSize) {
  return WyRunForJava(pEnv, jboolean{JNI_FALSE}, [=]() -> jboolean {
    CWyJavaFrame frame(pEnv, hFrame, iSize);
    const auto uComponent = static_cast<unsigned int>(iComponent);
    return WithRequest(frame, [&] { return Trace(*LoggerOf(hLogger), uComponent, frame); });
  });
}

JNIEXPORT jboolean JNICALL Java_com_orvantis_wyerrlog_Native_audit(JNIEnv* pEnv, jclass,
                                                                   jlong hLogger, jbyteArray hFrame,
                                                                   jint iSize) {
  return WyRunForJava(pEnv, jboolean{JNI_FALSE}, [=]() -> jboolean {
    CWyJavaFrame frame(pEnv, hFrame, iSize);
    return WithRequest(frame, [&] { return Audit(*LoggerOf(hLogger), frame); });
  });
}

}  // extern "C"
