// The Java class of a component: a constant for each identifier, and methods for each message that
// Java can log: one that logs with a WyLog, and for up to five arguments one with the class
// WyLogger. The file is plain ASCII, so that no compiler has to be told its encoding.
#include <nlohmann/json.hpp>

#include "tools/common/Utf8.h"
#include "tools/wymsgc/Names.h"
#include "tools/wymsgc/Outputs.h"

namespace {

// Text for a documentation comment. A backslash would begin a Unicode escape even there.
std::string Markup(std::string_view text) {
  std::string str;
  for (const char c : text) {
    constexpr std::string_view Special = "&<>@{}\\*/";
    const bool bSpecial = Special.find(c) != std::string_view::npos;
    str += bSpecial ? "&#" + std::to_string(static_cast<int>(c)) + ';' : std::string(1, c);
  }
  return str;
}

// Characters beyond ASCII as Unicode escapes, which JSON writes as Java does.
std::string Ascii(std::string_view text) {
  std::string str;
  while (!text.empty()) {
    const std::size_t uLength = std::max<std::size_t>(1, Utf8CharacterLength(text));
    if (uLength == 1) {
      str += text.front();
    } else {
      const std::string strJson = nlohmann::json(text.substr(0, uLength)).dump(-1, ' ', true);
      str += strJson.substr(1, strJson.size() - 2);
    }
    text.remove_prefix(uLength);
  }
  return str;
}

std::string_view JavaType(WyArgumentType type) {
  switch (type) {
    case WyArgumentType::String:
      return "String";
    case WyArgumentType::Int:
    case WyArgumentType::UInt:
      return "int";
    case WyArgumentType::Long:
    case WyArgumentType::ULong:
      return "long";
    case WyArgumentType::Double:
      return "double";
    case WyArgumentType::Char:
      return "char";
    case WyArgumentType::Bool:
      return "boolean";
  }
  return "";
}

std::string JavaText(const WyArgumentEntry& argument) {
  const std::string strName = JavaParameter(argument.name);
  switch (argument.type) {
    case WyArgumentType::String:
      return strName;
    case WyArgumentType::UInt:
      return "Integer.toUnsignedString(" + strName + ')';
    case WyArgumentType::ULong:
      return "Long.toUnsignedString(" + strName + ')';
    default:
      return "String.valueOf(" + strName + ')';
  }
}

std::string Constant(const std::string& strName, unsigned int uId, std::string_view text) {
  return "\n  /** " + Markup(text) + " */\n  public static final int " + JavaConstant(strName) +
         " = " + HexId(uId) + ";\n";
}

// A parameter's text for WyLog.message, which takes objects.
std::string JavaObject(const WyArgumentEntry& argument) {
  const bool bUnsigned =
      argument.type == WyArgumentType::UInt || argument.type == WyArgumentType::ULong;
  return bUnsigned ? JavaText(argument) : JavaParameter(argument.name);
}

// A name for a parameter of the method itself that no argument of the message has. An argument may
// be named "log"; the names of arguments are the author's, so that the method's own gives way.
std::string OwnParameter(const WyMessageEntry& message, std::string strOwn) {
  for (const WyArgumentEntry& argument : message.arguments) {
    if (JavaParameter(argument.name) == strOwn) strOwn += '_';
  }
  return strOwn;
}

// The comment and the head of a method, up to its opening brace.
std::string Head(const WyMessageEntry& message, const std::string& strOwn, std::string_view meaning,
                 std::string_view returned) {
  const std::size_t uBlank = strOwn.rfind(' ');
  std::string strTags =
      "   * @param " + strOwn.substr(uBlank + 1) + ' ' + std::string(meaning) + '\n';
  std::string strParameters = strOwn;
  for (const WyArgumentEntry& argument : message.arguments) {
    const std::string strName = JavaParameter(argument.name);
    strTags += "   * @param " + strName + " the message's argument of this name\n";
    strParameters.append(", ").append(JavaType(argument.type)).append(" ").append(strName);
  }
  if (!returned.empty()) strTags.append("   * @return ").append(returned).append("\n");
  return "\n  /**\n   * Logs: " + Markup(message.text) + "\n   *\n" + strTags + "   */\n" +
         "  public static " + (returned.empty() ? "void " : "boolean ") + JavaMethod(message.name) +
         '(' + strParameters + ") {\n";
}

// The method that logs with a WyLog.
std::string Method(const WyMessageEntry& message) {
  const std::string strLog = OwnParameter(message, "log");
  std::string strArguments;
  for (const WyArgumentEntry& argument : message.arguments) {
    strArguments += ", " + JavaObject(argument);
  }
  return Head(message, "WyLog " + strLog, "logs the message for its class",
              "true if the output of the log has taken the message") +
         "    return " + strLog + ".message(" + JavaConstant(message.name) + strArguments +
         ");\n  }\n";
}

// More do not fit the operation of WyLogger that it calls.
bool HasNativeMethod(const WyMessageEntry& message) {
  return message.arguments.size() <= MaxJavaArguments;
}

// The method that logs with the class WyLogger.
std::string NativeMethod(const WyMessageEntry& message) {
  const std::string strPlace = OwnParameter(message, "location");
  std::string strTexts;
  for (const WyArgumentEntry& argument : message.arguments) {
    strTexts += (strTexts.empty() ? "" : ", ") + JavaText(argument);
  }
  // The library logs nothing for an empty array of arguments.
  const std::string strArguments = strTexts.empty() ? "\"\"" : "new String[] {" + strTexts + '}';
  return Head(message, "String " + strPlace, "where the message comes from, such as a class", "") +
         "    WyLogger.LogMsg(null, " + strPlace + ", " + JavaConstant(message.name) + ", " +
         strArguments + ");\n  }\n";
}

bool IsLogged(const WyMessageEntry& message) { return !message.bRetired && !message.bPrintf; }

std::string Constants(const WyDefinition& definition) {
  std::string str = Constant("Component", WyComponentId(definition.uNumber), definition.about);
  for (const WySubComponentEntry& sub : definition.subComponents) {
    str += Constant(CppName(sub), WyComponentId(definition.uNumber, sub.uNumber), sub.description);
  }
  for (const WyMessageEntry& message : definition.messages) {
    if (message.bRetired) continue;
    str += Constant(std::string(message.name), MessageId(definition, message), message.text);
  }
  return str;
}

}  // namespace

std::string MakeJavaClass(const WyDefinition& definition, const std::string& strFile) {
  const std::size_t uDot = definition.java.rfind('.');
  const bool bPackage = uDot != std::string_view::npos;
  const std::string strClass(bPackage ? definition.java.substr(uDot + 1) : definition.java);
  std::string strMethods;
  bool bNative = false;
  for (const WyMessageEntry& message : definition.messages) {
    if (!IsLogged(message)) continue;
    strMethods += Method(message);
    if (!HasNativeMethod(message)) continue;
    strMethods += NativeMethod(message);
    bNative = true;
  }
  std::string str = "// Made by wymsgc from " + strFile + ". Do not edit.\n";
  if (bPackage) str += "package " + std::string(definition.java.substr(0, uDot)) + ";\n\n";
  if (!strMethods.empty()) str += "import com.orvantis.wyerrlog.WyLog;\n";
  if (bNative) str += "import com.orvantis.wyerrlog.WyLogger;\n";
  if (!strMethods.empty()) str += '\n';
  str += "/** Messages of the component " + Markup(definition.name) + ". */\n";
  str += "public final class " + strClass + " {" + Constants(definition) + "\n  private " +
         strClass + "() {}\n" + strMethods + "}\n";
  return Ascii(str);
}
