// Logs messages while components, catalogs, locales and resource directories change between them:
// FormatMessage and log statements, which remember the form of a message, against PreformatMessage,
// which looks it up each time.
//
// Each line is a step; its first letter says which:
//
//   m<number><part>[\t<argument>...]  a message, twice; a number above 4 is one that does not
//   exist,
//                                     the part is one of ten that all have the same messages
//   w<directory><file><number>=<pattern>   writes the pattern of a key to a catalog, see NewFile
//   d<directory>                      sets the resource directory
//   l<locale>                         sets the administrator's locale
//   c                                 changes the components
//   u                                 loads a component library and unloads it

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyEscape.h"
#include "wyerrlog/WyLogStatement.h"
#include "wyerrlog/WyLogger.h"
#include "wyxlate/WyXlate.h"

namespace {

using fuzz::Require;

constexpr unsigned int Component = 14;  // tests/plugins/ChangingPlugin.cpp

unsigned int Digit(std::string_view& text) {
  const char c = text.empty() ? '0' : text[0];
  if (!text.empty()) text.remove_prefix(1);
  return '0' <= c && c <= '9' ? static_cast<unsigned int>(c - '0') : 0;
}

// ---- Messages -----------------------------------------------------------------------------------

std::string LookedUp(CWyErrLogMessage& message, unsigned int uId) {
  constexpr const char* Words[] = {"INVALID MESSAGE TYPE", "INFO", "WARNING", "ERROR"};
  char szText[4096] = "";
  const char* const pszLocale = std::getenv("LC_ALL");
  const std::string strKey = message.PreformatMessage(uId, pszLocale, szText, sizeof szText);
  return "[" + std::string(Words[uId >> 14 & 3]) + "][" + strKey + "] " + szText + "\n";
}

std::string Remembered(CWyErrLogMessage& message, unsigned int uId,
                       const std::vector<std::string>& texts) {
  const auto text = [&texts](std::size_t u) { return texts[u].c_str(); };
  switch (texts.size()) {
    case 0:
      return message.FormatMessage(uId);
    case 1:
      return message.FormatMessage(uId, text(0));
    case 2:
      return message.FormatMessage(uId, text(0), text(1));
    default:
      return message.FormatMessage(uId, text(0), text(1), text(2));
  }
}

// The line of a log statement behind its prolog. The message then has the texts as arguments, with
// their control characters escaped.
std::string Stated(CWyErrLogMessage& message, unsigned int uId,
                   const std::vector<std::string>& texts) {
  constexpr std::string_view Place = "[memo:1]";
  std::array<WyLogDetail::TextRef, 3> refs{};
  const std::size_t uCount = std::min(texts.size(), refs.size());
  for (std::size_t i = 0; i < uCount; ++i) {
    refs[i] = {texts[i].c_str(), std::string_view(texts[i].c_str()).size(), true};
  }
  Require(WyLogDetail::Statement{uId, 1, "memo", refs.data(), uCount, 0}.Format(message));
  const std::string strLine = message.GetBuffer();
  return strLine.substr(strLine.find(Place) + Place.size());
}

void Log(std::string_view step) {
  const unsigned int uNumber = Digit(step);
  const unsigned int uId = Component << 24 | Digit(step) << 16 | (uNumber & 3) << 14 | uNumber;
  fuzz::Take(step, '\t');
  std::vector<std::string> texts;
  while (!step.empty()) texts.push_back(fuzz::Argument(fuzz::Take(step, '\t')));
  for (int i = 0; i < 2; ++i) {
    CWyErrLogMessage message(false);
    const std::string strLine = Remembered(message, uId, texts);
    Require(strLine == LookedUp(message, uId));
    CWyErrLogMessage statement(false);
    const std::string strStated = Stated(statement, uId, texts);
    Require(strStated == LookedUp(statement, uId));
  }
}

// ---- Changes ------------------------------------------------------------------------------------

class Catalogs {
 public:
  Catalogs() {
    for (const char* pszName : {"0", "1"}) {
      std::filesystem::create_directory(m_directory.Path(pszName));
    }
  }

  // Two directories; in each a general file and a German one, for either component's bundle.
  void NewFile(std::string_view step) {
    const unsigned int uDirectory = Digit(step) % 2;
    const unsigned int uFile = Digit(step) % 4;
    const char* const pszKeys = uFile < 2 ? "a" : "b";
    const std::string strName = std::to_string(uDirectory) + (uFile < 2 ? "/first" : "/second") +
                                (uFile % 2 == 0 ? "" : "_de") + ".properties";
    std::string& strFile = m_files[strName];
    strFile += pszKeys + std::to_string(Digit(step));
    strFile += fuzz::Argument(step) + "\n";
    m_directory.Write(strName, strFile);
  }

  void Set(std::string_view step) const {
    Require(CWyXlate::SetResourceDirectory(m_directory.Path(Digit(step) % 2 ? "1" : "0").c_str()));
  }

  // Files of an input must not be found by the next one.
  void Clear() {
    for (const auto& [strName, strFile] : m_files) m_directory.Write(strName, "");
    m_files.clear();
  }

 private:
  const TempDirectory m_directory;
  std::map<std::string, std::string> m_files;
};

void ChangeComponents() {
  theLogger()->Release();
  theLogger()->Init();
}

// Each input finds the same component first.
void ResetComponents() {
  for (int i = 0; i < 2; ++i) {
    const char* const pszBundle = theLogger()->GetMsgBundle(Component << 24);
    Require(pszBundle != nullptr);
    if (pszBundle == std::string_view("first")) return;
    ChangeComponents();
  }
}

void LoadAndUnload() {
  CWyLogger& logger = *theLogger();
  logger.UnloadComponent(logger.LoadComponent(0, "Policy_Store"));
}

void SetLocale(std::string_view step) {
  const std::string strLocale(step.substr(0, step.find('\0')));
  setenv("LC_ALL", strLocale.empty() ? "en" : strLocale.c_str(), 1);
}

void Step(Catalogs& catalogs, std::string_view step) {
  const char cKind = step.empty() ? '\0' : step[0];
  if (!step.empty()) step.remove_prefix(1);
  switch (cKind) {
    case 'm':
      return Log(step);
    case 'w':
      return catalogs.NewFile(step);
    case 'd':
      return catalogs.Set(step);
    case 'l':
      return SetLocale(step);
    case 'c':
      return ChangeComponents();
    case 'u':
      return LoadAndUnload();
    default:
      return;
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  constexpr std::size_t MaxSteps = 40;  // a change of components loads libraries
  [[maybe_unused]] static const int s_iPlugins = setenv("ORVA_WA_ROOT", TEST_PLUGINS, 1);
  static Catalogs s_catalogs;
  ResetComponents();
  s_catalogs.Clear();
  SetLocale("en");
  std::string_view input = fuzz::Text(pData, uSize);
  for (std::size_t u = 0; u < MaxSteps && !input.empty(); ++u) {
    Step(s_catalogs, fuzz::Take(input, '\n'));
  }
  return 0;
}
