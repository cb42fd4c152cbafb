// One message, found by its key, its identifier, or a text as it stands in a log.

#include "tools/wylogctl/MessageCommand.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "tools/common/EditDistance.h"
#include "tools/wylogctl/JsonText.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/Translation.h"

namespace {

bool HasText(const CWyManifests& manifests, const WyKnownMessage& message,
             const std::string& strText) {
  std::vector<std::string> arguments;
  for (const WyTranslation& translation : manifests.Translations(message)) {
    if (translation.uLine == 0) continue;
    const CWyTextPattern pattern(translation.strText);
    // A pattern that is nothing but a placeholder matches every text.
    if (pattern.LiteralSize() == 0) continue;
    if (pattern.Match(strText, arguments) != CWyTextPattern::Result::NoMatch) return true;
  }
  return false;
}

std::vector<const WyKnownMessage*> FindMessages(const CWyManifests& manifests,
                                                const std::string& strWhat) {
  std::vector<const WyKnownMessage*> found;
  if (const WyKnownMessage* const pMessage = manifests.ByKey(strWhat)) return {pMessage};
  if (strWhat.starts_with("0x") || strWhat.starts_with("0X")) {
    const auto uId = static_cast<unsigned int>(std::strtoul(strWhat.c_str(), nullptr, 16));
    if (const WyKnownMessage* const pMessage = manifests.ById(uId)) found.push_back(pMessage);
    return found;
  }
  for (const WyKnownMessage& message : manifests.Messages()) {
    if (message.strName == strWhat || HasText(manifests, message, strWhat))
      found.push_back(&message);
  }
  return found;
}

std::string LocaleName(const WyTranslation& translation) {
  return translation.strLocale.empty() ? "en" : translation.strLocale;
}

void PrintText(CWyContext& context, const CWyManifests& manifests, const WyKnownMessage& message) {
  std::string strText =
      message.strKey + "  " + message.IdText() + "  " + WySeverityText(message.severity) + "\n";
  const auto line = [&strText](const std::string& strName, const std::string& strValue) {
    if (!strValue.empty())
      strText += "  " + strName + std::string(12 - strName.size(), ' ') + strValue + "\n";
  };
  line("component", manifests.ComponentOf(message).strName);
  line("name", message.strName);
  for (std::size_t i = 0; i < message.arguments.size(); ++i) {
    line("{" + std::to_string(i) + "}",
         message.arguments[i].strName + " (" + message.arguments[i].strType + ")");
  }
  if (message.bPrintf) line("printf", message.strText);
  for (const WyTranslation& translation : manifests.Translations(message)) {
    if (translation.uLine == 0) {
      line(LocaleName(translation), "missing in " + translation.strFile);
      continue;
    }
    line(LocaleName(translation), translation.strText);
    line("", translation.strFile + ":" + std::to_string(translation.uLine));
  }
  line("advice", message.strAdvice);
  context.out.Write(strText);
}

void AppendTranslations(std::string& strText, const std::vector<WyTranslation>& translations,
                        bool bMissing) {
  bool bFirst = true;
  strText += '[';
  for (const WyTranslation& translation : translations) {
    if ((translation.uLine == 0) != bMissing) continue;
    if (!bFirst) strText += ',';
    bFirst = false;
    CWyJsonObject object(strText);
    object.Text("lang", LocaleName(translation));
    object.Text("file", translation.strFile);
    if (!bMissing) object.Number("line", translation.uLine);
    if (!bMissing) object.Text("text", translation.strText);
    object.End();
  }
  strText += ']';
}

void PrintJson(CWyContext& context, const CWyManifests& manifests, const WyKnownMessage& message) {
  std::string strText;
  CWyJsonObject object(strText);
  object.Text("key", message.strKey);
  object.Text("id", message.IdText());
  object.Text("severity", WySeverityText(message.severity));
  object.Text("component", manifests.ComponentOf(message).strName);
  if (!message.strName.empty()) object.Text("name", message.strName);
  object.Name("args");
  strText += '[';
  for (const WyMessageArgument& argument : message.arguments) {
    if (&argument != message.arguments.data()) strText += ',';
    CWyJsonObject entry(strText);
    entry.Text("name", argument.strName);
    entry.Text("type", argument.strType);
    entry.End();
  }
  strText += ']';
  if (message.bPrintf) object.Text("printf", message.strText);
  const auto translations = manifests.Translations(message);
  object.Name("translations");
  AppendTranslations(strText, translations, false);
  object.Name("missing");
  AppendTranslations(strText, translations, true);
  if (!message.strAdvice.empty()) object.Text("advice", message.strAdvice);
  object.End();
  context.out.Write(strText + "\n");
}

int RunMessage(CWyContext& context, const std::string& strWhat) {
  context.Start(true);
  CWyManifests manifests;
  manifests.Load(context);
  const auto found = FindMessages(manifests, strWhat);
  for (const WyKnownMessage* const pMessage : found) {
    if (context.options.strFormat == "json") {
      PrintJson(context, manifests, *pMessage);
    } else {
      PrintText(context, manifests, *pMessage);
    }
  }
  if (found.empty() && manifests.Messages().empty()) {
    context.Note("no manifests of messages are found; --messages DIR says where they are");
  } else if (found.empty()) {
    std::vector<std::string> keys;
    for (const WyKnownMessage& message : manifests.Messages()) keys.push_back(message.strKey);
    const std::string_view nearest = NearestName(strWhat, keys);
    context.Note("no message has this key, identifier or text" +
                 (nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?"));
  }
  return context.Exit(!found.empty());
}

}  // namespace

void RegisterMessageCommand(CWyProgram& program) {
  auto pWhat = std::make_shared<std::string>();
  CWyCommand& command = program.Add("message", "Explain a message", {"table", "json"});
  command.Argument("MESSAGE", "A key, an identifier (0x0C004001), or a text from a log", *pWhat);
  command.Example("wylogctl message sessionstore-00003", "What a message of a log means");
  command.Run([pWhat](CWyContext& context) { return RunMessage(context, *pWhat); });
}
