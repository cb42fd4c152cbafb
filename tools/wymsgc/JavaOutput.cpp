// The Java class of a component: a constant for each identifier, and a method for each message that
// Java can log. The file is plain ASCII, so that no compiler has to be told its encoding.
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

// A name for the place of a call that no argument of the message has.
std::string PlaceParameter(const WyMessageEntry& message) {
  std::string strName = "location";
  for (const WyArgumentEntry& argument : message.arguments) {
    if (JavaParameter(argument.name) == strName) strName += '_';
  }
  return strName;
}

std::string Method(const WyMessageEntry& message) {
  const std::string strPlace = PlaceParameter(message);
  std::string strTags =
      "   * @param " + strPlace + " where the message comes from, such as a class\n";
  std::string strParameters = "String " + strPlace, strTexts;
  for (const WyArgumentEntry& argument : message.arguments) {
    const std::string strName = JavaParameter(argument.name);
    strTags += "   * @param " + strName + " the message's argument of this name\n";
    strParameters.append(", ").append(JavaType(argument.type)).append(" ").append(strName);
    strTexts += (strTexts.empty() ? "" : ", ") + JavaText(argument);
  }
  // The library logs nothing for an empty array of arguments.
  const std::string strArguments = strTexts.empty() ? "\"\"" : "new String[] {" + strTexts + '}';
  return "\n  /**\n   * Logs: " + Markup(message.text) + "\n   *\n" + strTags + "   */\n" +
         "  public static void " + JavaMethod(message.name) + '(' + strParameters + ") {\n" +
         "    WyLogger.LogMsg(null, " + strPlace + ", " + JavaConstant(message.name) + ", " +
         strArguments + ");\n  }\n";
}

bool HasMethod(const WyMessageEntry& message) {
  return !message.bRetired && !message.bPrintf && message.arguments.size() <= MaxJavaArguments;
}

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
  for (const WyMessageEntry& message : definition.messages) {
    if (HasMethod(message)) strMethods += Method(message);
  }
  std::string str = "// Made by wymsgc from " + strFile + ". Do not edit.\n";
  if (bPackage) str += "package " + std::string(definition.java.substr(0, uDot)) + ";\n\n";
  if (!strMethods.empty()) str += "import com.orvantis.wyerrlog.WyLogger;\n\n";
  str += "/** Messages of the component " + Markup(definition.name) + ". */\n";
  str += "public final class " + strClass + " {" + Constants(definition) + "\n  private " +
         strClass + "() {}\n" + strMethods + "}\n";
  return Ascii(str);
}
