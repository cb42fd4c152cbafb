#ifndef WYERRLOG_TOOLS_WYMSGC_DEFINITION_H
#define WYERRLOG_TOOLS_WYMSGC_DEFINITION_H

// A component's definition, as read from a .wymsg file. All words are views into the file's text,
// so that each knows where it stands; the CWySourceText outlives the definition.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/WyMessageId.h"

// Limits of the interface: CpaArgList, the identifier's bits, WyErrSubComponentInfo's arrays, and
// the buffer that a translated text is formatted into.
inline constexpr std::size_t MaxArguments = 13;
inline constexpr unsigned int MaxMessageNumber = 16383;
inline constexpr unsigned int MaxSubComponents = 255;
inline constexpr std::size_t MaxSubComponentName = 31;
inline constexpr std::size_t MaxSubComponentAbbr = 23;
inline constexpr std::size_t MaxTextLength = 4095;
// WyLogger.MAX_ARGUMENTS of the Java class.
inline constexpr std::size_t MaxJavaArguments = 5;

enum class WyArgumentType { String, Int, UInt, Long, ULong, Double, Char, Bool };

struct WyArgumentEntry {
  std::string_view name;
  WyArgumentType type;
};

// A part of a text: a literal, or the number of an argument.
struct WyTextPart {
  std::string strLiteral;
  std::optional<std::size_t> uArgument;
};

struct WyMessageEntry {
  std::string_view number;
  unsigned int uNumber = 0;
  std::string_view name;
  WySeverity::Number severity = WySeverity::Invalid;
  bool bRetired = false;
  std::vector<WyArgumentEntry> arguments;
  bool bPrintf = false;  // `text` is a printf pattern
  bool bHasText = false;
  std::string_view text;          // as it stands in the definition
  std::vector<WyTextPart> parts;  // of a translated text
  std::string_view advice;        // empty: none
};

struct WySubComponentEntry {
  std::string_view number;
  unsigned int uNumber = 0;
  std::string_view name;
  std::string_view abbr;
  std::string_view cpp;  // empty: the name without its separators
  std::string_view description;
};

struct WyDefinition {
  std::string_view number;
  unsigned int uNumber = 0;
  std::string_view name;
  std::string_view bundle;
  std::string_view about;
  std::string_view cpp;                            // namespace, and the stem of the C++ files
  std::string_view java;                           // qualified name of the class; empty: none
  std::vector<WySubComponentEntry> subComponents;  // by number, from 1, without gaps
  std::vector<WyMessageEntry> messages;            // by number
};

// The identifier in C++ of a sub-component: "Receive_Request" becomes "ReceiveRequest".
std::string CppName(const WySubComponentEntry& subComponent);

// The identifier of a message.
unsigned int MessageId(const WyDefinition& definition, const WyMessageEntry& message);

// "sessionstore-00003".
std::string MessageKey(const WyDefinition& definition, const WyMessageEntry& message);

// The text of a message in the form of a bundle: "{0}" for the first argument, single quotes
// doubled, literal braces quoted.
std::string BundlePattern(const WyMessageEntry& message);

// The words of the definition language.
std::string_view SeverityWord(WySeverity::Number severity);
std::string_view TypeWord(WyArgumentType type);

#endif
