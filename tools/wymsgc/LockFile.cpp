// The lock is text, one line for each thing locked, in the order of the numbers, so that a change
// of it is easy to review and merges like code.
#include "tools/wymsgc/LockFile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>

namespace {

std::string Quoted(std::string_view word) { return '`' + std::string(word) + '`'; }

// Every change can be recorded: only people know what has been released. The lock's purpose is that
// none is made unnoticed.
constexpr std::string_view Remedy =
    "if the change is intended, and no released program or catalog relies on it, record it with "
    "`wymsgc lock --update`";

std::vector<std::string_view> SplitWords(std::string_view line) {
  std::vector<std::string_view> words;
  while (!line.empty()) {
    const std::size_t uEnd = std::min(line.find(' '), line.size());
    if (uEnd > 0) words.push_back(line.substr(0, uEnd));
    line.remove_prefix(std::min(uEnd + 1, line.size()));
  }
  return words;
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view word, int iBase) {
  Number number{};
  const auto [pEnd, error] = std::from_chars(word.data(), word.data() + word.size(), number, iBase);
  if (error != std::errc() || pEnd != word.data() + word.size()) return std::nullopt;
  return number;
}

bool ReadTranslation(const std::vector<std::string_view>& words, WyLock& lock) {
  if (words.size() != 5) return false;
  const auto number = ParseNumber<unsigned int>(words[2], 10);
  const auto source = ParseNumber<std::uint32_t>(words[3], 16);
  const auto translation = ParseNumber<std::uint32_t>(words[4], 16);
  if (!number || !source || !translation) return false;
  lock.translations[{std::string(words[1]), *number}] = {*source, *translation};
  return true;
}

// A number that is there twice makes the line malformed: two branches that each added a message
// merge into such a file without a conflict.
bool ReadMessage(std::string_view line, const std::vector<std::string_view>& words, WyLock& lock) {
  if (words.size() < 4) return false;
  const auto number = ParseNumber<unsigned int>(words[1], 10);
  if (!number) return false;
  return lock.messages
      .emplace(*number, WyLockedMessage{words[2], words[3], {words.begin() + 4, words.end()}, line})
      .second;
}

bool ReadSub(const std::vector<std::string_view>& words, WyLock& lock) {
  const auto number = words.size() == 3 ? ParseNumber<unsigned int>(words[1], 10) : std::nullopt;
  return number && lock.subComponents.emplace(*number, words[2]).second;
}

bool ReadLine(std::string_view line, WyLock& lock) {
  const std::vector<std::string_view> words = SplitWords(line);
  // No other kind of line is accepted, unlike in formats that grow: a lock that is half understood
  // would let a change pass.
  if (words.empty() || words[0].starts_with('#')) return true;
  if (words[0] == "message") return ReadMessage(line, words, lock);
  if (words[0] == "sub") return ReadSub(words, lock);
  if (words[0] == "translation") return ReadTranslation(words, lock);
  if (words[0] != "component" || words.size() != 3) return false;
  lock.number = words[1];
  lock.bundle = words[2];
  return true;
}

class CWyLockCheck {
 public:
  CWyLockCheck(const CWySourceText& source, const CWySourceText& lockSource,
               CWyDiagnostics& diagnostics)
      : m_source(source), m_lockSource(lockSource), m_diagnostics(diagnostics) {}

  // Keys contain the bundle, identifiers the number: either of them changes all messages at once.
  void CheckHead(const WyDefinition& definition, const WyLock& lock) {
    if (!lock.number.empty() && lock.number != std::to_string(definition.uNumber)) {
      Changed("M405", definition.number, "the component's number was " + Quoted(lock.number),
              lock.number);
    }
    if (!lock.bundle.empty() && lock.bundle != definition.bundle) {
      Changed("M405", definition.bundle,
              "the bundle was " + Quoted(lock.bundle) + ", and all keys change with it",
              lock.bundle);
    }
  }

  // By number and not by name: trace configurations name them, but programs are compiled with the
  // numbers. More of them at the end are no change.
  void CheckSubComponents(const WyDefinition& definition, const WyLock& lock) {
    for (const auto& [uNumber, name] : lock.subComponents) {
      const auto& subs = definition.subComponents;
      if (uNumber == 0 || uNumber > subs.size()) {
        Changed("M406", definition.number,
                "sub-component " + std::to_string(uNumber) + ", " + Quoted(name) + ", is gone",
                name);
      } else if (subs[uNumber - 1].name != name) {
        Changed("M406", subs[uNumber - 1].name,
                "sub-component " + std::to_string(uNumber) + " was " + Quoted(name), name);
      }
    }
  }

  void CheckMessage(const WyMessageEntry& message, const WyLockedMessage& locked,
                    unsigned int uNextFree);
  void ReportGone(const WyDefinition& definition, unsigned int uNumber,
                  const WyLockedMessage& locked);
  void ReportNew(const WyMessageEntry& message);

 private:
  WyDiagnostic& Changed(std::string_view code, std::string_view part, std::string strMessage,
                        std::string_view locked) {
    return m_diagnostics.Error(code, m_source.At(part), std::move(strMessage))
        .Help(std::string(Remedy))
        .Note(m_lockSource.At(locked), "locked here");
  }
  void CheckArguments(const WyMessageEntry& message, const WyLockedMessage& locked);

  const CWySourceText& m_source;
  const CWySourceText& m_lockSource;
  CWyDiagnostics& m_diagnostics;
};

// A retired number stays in the lock forever: logs and monitoring rules of old releases have its
// key, and a new message with it would be read as the old one. Texts are not locked: they may be
// improved at any time.
void CWyLockCheck::CheckMessage(const WyMessageEntry& message, const WyLockedMessage& locked,
                                unsigned int uNextFree) {
  const bool bWasRetired = locked.severity == "retired";
  if (message.name != locked.name || (bWasRetired && !message.bRetired)) {
    const std::string strNumber(message.number);
    m_diagnostics
        .Error("M401", m_source.At(message.number),
               "number " + strNumber + " is used again: it " +
                   (bWasRetired ? "belonged to the retired " : "is ") + Quoted(locked.name))
        .Help("give " + Quoted(message.name) + " the next free number, " +
              std::to_string(uNextFree) + ", and keep `message " + strNumber + " retired " +
              std::string(locked.name) + '`')
        .Help(bWasRetired ? "" : "if only the name is new: `wymsgc lock --update`")
        .Note(m_lockSource.At(locked.line), "locked here");
    return;
  }
  // Retiring is always allowed, and needs no comparison of arguments: nothing is logged with it any
  // more.
  if (message.bRetired) return;
  if (SeverityWord(message.severity) != locked.severity) {
    Changed("M402", message.name,
            "severity of " + Quoted(message.name) + " was " + Quoted(locked.severity) +
                ", and its identifier changes with it",
            locked.line);
  }
  CheckArguments(message, locked);
}

// Names and order, without types: translations refer to arguments by their place, which the order
// decides. A type is checked by the compiler of each caller.
void CWyLockCheck::CheckArguments(const WyMessageEntry& message, const WyLockedMessage& locked) {
  const auto& arguments = message.arguments;
  const auto [own, other] = std::mismatch(
      arguments.begin(), arguments.end(), locked.arguments.begin(), locked.arguments.end(),
      [](const auto& argument, auto name) { return argument.name == name; });
  if (own == arguments.end() && other == locked.arguments.end()) return;
  std::string strLocked;
  for (const std::string_view name : locked.arguments) {
    strLocked += (strLocked.empty() ? "" : " ") + std::string(name);
  }
  const std::string_view first = own == arguments.end() ? message.name : own->name;
  Changed("M403", first,
          "arguments of " + Quoted(message.name) + " were " +
              (strLocked.empty() ? "none" : Quoted(strLocked)),
          locked.line)
      .Help("for other arguments, retire the message and add a new one");
}

void CWyLockCheck::ReportGone(const WyDefinition& definition, unsigned int uNumber,
                              const WyLockedMessage& locked) {
  m_diagnostics
      .Error("M404", m_source.At(definition.number),
             "message " + std::to_string(uNumber) + ", " + Quoted(locked.name) + ", is gone")
      .Help("keep `message " + std::to_string(uNumber) + " retired " + std::string(locked.name) +
            "`, so that its number is never used again")
      .Note(m_lockSource.At(locked.line), "locked here");
}

void CWyLockCheck::ReportNew(const WyMessageEntry& message) {
  m_diagnostics
      .Warning("M306", m_source.At(message.name),
               "message " + Quoted(message.name) + " is not in the lock file")
      .Help("record it with `wymsgc lock --update`");
}

}  // namespace

// It must never change: lock files and manifests store it. 32 bits suffice, since two texts of one
// message are compared, not texts among each other.
std::uint32_t TextChecksum(std::string_view text) {
  std::uint32_t uSum = 2166136261U;
  for (const char c : text) uSum = (uSum ^ static_cast<unsigned char>(c)) * 16777619U;
  return uSum;
}

WyLock ReadLock(const CWySourceText& source, CWyDiagnostics& diagnostics) {
  WyLock lock;
  std::string_view text = source.Text();
  while (!text.empty()) {
    const std::size_t uEnd = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, uEnd);
    text.remove_prefix(std::min(uEnd + 1, text.size()));
    if (ReadLine(line, lock)) continue;
    diagnostics.Error("M407", source.At(line), "not a line of a lock file")
        .Help("take the file from version control again; `wymsgc lock --update` writes it");
  }
  return lock;
}

void CheckAgainstLock(const CWySourceText& definitionSource, const WyDefinition& definition,
                      const CWySourceText& lockSource, const WyLock& lock,
                      CWyDiagnostics& diagnostics) {
  CWyLockCheck check(definitionSource, lockSource, diagnostics);
  check.CheckHead(definition, lock);
  check.CheckSubComponents(definition, lock);
  // Beyond both the locked and the present numbers: neither a retired one nor one of this file is
  // proposed.
  unsigned int uNextFree = lock.messages.empty() ? 1 : lock.messages.rbegin()->first + 1;
  if (!definition.messages.empty()) {
    uNextFree = std::max(uNextFree, definition.messages.back().uNumber + 1);
  }
  std::map<unsigned int, WyLockedMessage> gone = lock.messages;
  for (const WyMessageEntry& message : definition.messages) {
    const auto locked = lock.messages.find(message.uNumber);
    if (locked == lock.messages.end()) {
      check.ReportNew(message);
    } else {
      check.CheckMessage(message, locked->second, uNextFree);
      gone.erase(message.uNumber);
    }
  }
  for (const auto& [uNumber, locked] : gone) check.ReportGone(definition, uNumber, locked);
}

void ReportNoLock(const CWySourceText& definitionSource, const std::string& strLockFile,
                  CWyDiagnostics& diagnostics) {
  diagnostics
      .Warning("M306", definitionSource.Whole(), "there is no lock file " + Quoted(strLockFile))
      .Help("write it with `wymsgc lock --update`, and check it in");
}

std::string WriteLock(const WyDefinition& definition, const LockedTranslations& translations) {
  std::string str =
      "# What has been released of this component. Written by `wymsgc lock --update`; check it "
      "in.\n";
  str.append("component ").append(std::to_string(definition.uNumber)).append(" ");
  str.append(definition.bundle) += '\n';
  for (const WySubComponentEntry& sub : definition.subComponents) {
    str.append("sub ").append(std::to_string(sub.uNumber)).append(" ").append(sub.name) += '\n';
  }
  for (const WyMessageEntry& message : definition.messages) {
    str.append("message ").append(std::to_string(message.uNumber)).append(" ");
    str.append(message.bRetired ? "retired" : SeverityWord(message.severity)).append(" ");
    str.append(message.name);
    for (const WyArgumentEntry& argument : message.arguments) str.append(" ").append(argument.name);
    str += '\n';
  }
  for (const auto& [key, sums] : translations) {
    std::array<char, 64> line{};
    std::snprintf(line.data(), line.size(), " %u %08x %08x\n", key.second, sums.uSource,
                  sums.uTranslation);
    str.append("translation ").append(key.first).append(line.data());
  }
  return str;
}
