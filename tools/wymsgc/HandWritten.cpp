// The source is read as a sequence of tokens: words, string literals and single characters.
// Adjacent literals are one, comments are none.
#include "tools/wymsgc/HandWritten.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace {

struct Token {
  enum class Kind { Word, Literal, Mark };
  Kind kind;
  std::string strText;    // of a literal without its escapes
  std::string_view view;  // where it stands
};

bool IsWordCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// Not a compiler: macros are not expanded and raw strings not read. What it misses is reported by
// the import as missing, and never guessed.
class CWyTokenReader {
 public:
  explicit CWyTokenReader(std::string_view text) : m_rest(text) {}

  std::vector<Token> Read() {
    while (!m_rest.empty()) ReadOne();
    return std::move(m_tokens);
  }

 private:
  std::string_view Take(std::size_t uLength) {
    const std::string_view part = m_rest.substr(0, uLength);
    m_rest.remove_prefix(part.size());
    return part;
  }

  void ReadOne() {
    if (m_rest.starts_with("//") || m_rest.starts_with('#')) {
      Take(m_rest.find('\n'));
    } else if (m_rest.starts_with("/*")) {
      // Without an end both calls take all that is left; substr allows a length beyond it.
      Take(m_rest.find("*/"));
      Take(2);
    } else if (m_rest.front() == '"') {
      ReadLiteral();
    } else if (IsWordCharacter(m_rest.front())) {
      const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), IsWordCharacter);
      const std::string_view word = Take(static_cast<std::size_t>(end - m_rest.begin()));
      m_tokens.push_back({Token::Kind::Word, std::string(word), word});
    } else {
      const std::string_view mark = Take(1);
      if (std::string_view(" \t\r\n").find(mark.front()) != std::string_view::npos) return;
      m_tokens.push_back({Token::Kind::Mark, std::string(mark), mark});
    }
  }

  void ReadLiteral() {
    std::string str;
    Take(1);
    while (!m_rest.empty() && m_rest.front() != '"' && m_rest.front() != '\n') {
      const std::string_view c = Take(m_rest.front() == '\\' ? 2 : 1);
      str += c.back() == 'n' && c.size() == 2 ? '\n' : c.back();
    }
    Take(1);
    // Literals side by side are one to the compiler too; long descriptions are written so.
    if (!m_tokens.empty() && m_tokens.back().kind == Token::Kind::Literal) {
      m_tokens.back().strText += str;
    } else {
      m_tokens.push_back({Token::Kind::Literal, std::move(str), {}});
    }
  }

  std::string_view m_rest;
  std::vector<Token> m_tokens;
};

using Tokens = std::vector<Token>;

bool IsMark(const Tokens& tokens, std::size_t u, char c) {
  return u < tokens.size() && tokens[u].kind == Token::Kind::Mark && tokens[u].strText[0] == c;
}
bool IsLiteral(const Tokens& tokens, std::size_t u) {
  return u < tokens.size() && tokens[u].kind == Token::Kind::Literal;
}
bool IsWord(const Tokens& tokens, std::size_t u, std::string_view word) {
  return u < tokens.size() && tokens[u].kind == Token::Kind::Word &&
         (word.empty() || tokens[u].strText == word);
}

unsigned int NumberOf(const Tokens& tokens, std::size_t u) {
  unsigned int uNumber = 0;
  if (IsWord(tokens, u, "")) {
    const std::string& str = tokens[u].strText;
    std::from_chars(str.data(), str.data() + str.size(), uNumber);
  }
  return uNumber;
}

// The literals "a", "b", "c" that stand from `u` on with commas between them.
std::vector<std::string> LiteralsAt(const Tokens& tokens, std::size_t u) {
  std::vector<std::string> literals;
  for (; IsLiteral(tokens, u); u += 2) {
    literals.push_back(tokens[u].strText);
    if (!IsMark(tokens, u + 1, ',')) break;
  }
  return literals;
}

// Comments are not tokens, so that the line is searched again: this is where programmers have named
// the arguments.
std::string_view CommentBehind(std::string_view text, std::string_view word) {
  const auto uAt = static_cast<std::size_t>(word.data() - text.data());
  const std::string_view line = text.substr(uAt, text.substr(uAt).find('\n'));
  const std::size_t uComment = line.find("//");
  return uComment == std::string_view::npos ? std::string_view() : line.substr(uComment + 2);
}

// "Name = WyComponentId(12)" and "Name = WyComponentId(12, 1)"; `u` is at the word of the call.
void ReadComponentId(const Tokens& tokens, std::size_t u, WyHandWrittenHeader& header) {
  if (u < 2 || !IsMark(tokens, u - 1, '=')) return;
  if (IsMark(tokens, u + 3, ')')) {
    header.uComponent = NumberOf(tokens, u + 2);
  } else if (IsMark(tokens, u + 5, ')')) {
    header.subComponents.push_back({NumberOf(tokens, u + 4), tokens[u - 2].view});
  }
}

// "Name = WyMessageId(Component, WySeverity::Error, 3)"
void ReadMessageId(std::string_view text, const Tokens& tokens, std::size_t u,
                   WyHandWrittenHeader& header) {
  if (u < 2 || !IsMark(tokens, u - 1, '=') || !IsWord(tokens, u + 4, "WySeverity")) return;
  // Counted in tokens: "WySeverity::Error" is four, since each ":" is one.
  if (u + 9 >= tokens.size()) return;
  header.messages.push_back({NumberOf(tokens, u + 9), tokens[u - 2].view, tokens[u + 7].view,
                             CommentBehind(text, tokens[u + 9].view)});
}

// "{Namespace::Name, "text"}": `u` is at the brace.
void ReadRow(const Tokens& tokens, std::size_t u, WyHandWrittenSource& source) {
  std::size_t uComma = u + 1;
  while (IsWord(tokens, uComma, "") || IsMark(tokens, uComma, ':')) ++uComma;
  if (uComma == u + 1 || !IsMark(tokens, uComma, ',') || !IsLiteral(tokens, uComma + 1)) return;
  if (!IsMark(tokens, uComma + 2, '}')) return;
  source.textsByName[tokens[uComma - 1].strText] = tokens[uComma + 1].strText;
}

// "{"text", nullptr, ...": `u` is at the brace.
void ReadTable(const Tokens& tokens, std::size_t u, WyHandWrittenSource& source) {
  if (!IsMark(tokens, u - 1, '=') || !source.texts.empty()) return;
  for (++u; IsLiteral(tokens, u) || IsWord(tokens, u, "nullptr"); u += 2) {
    source.texts.push_back(IsLiteral(tokens, u) ? tokens[u].strText : "");
  }
}

}  // namespace

WyHandWrittenHeader ReadHandWrittenHeader(std::string_view text) {
  WyHandWrittenHeader header;
  const Tokens tokens = CWyTokenReader(text).Read();
  for (std::size_t u = 0; u < tokens.size(); ++u) {
    if (header.name.empty() && IsWord(tokens, u, "namespace") && IsWord(tokens, u + 1, "")) {
      header.name = tokens[u + 1].view;
    }
    if (IsWord(tokens, u, "WyComponentId")) ReadComponentId(tokens, u, header);
    if (IsWord(tokens, u, "WyMessageId")) ReadMessageId(text, tokens, u, header);
  }
  return header;
}

WyHandWrittenSource ReadHandWrittenSource(std::string_view text) {
  WyHandWrittenSource source;
  const Tokens tokens = CWyTokenReader(text).Read();
  for (std::size_t u = 1; u < tokens.size(); ++u) {
    const std::vector<std::string> literals = LiteralsAt(tokens, u + 1);
    if (IsMark(tokens, u, '{') && literals.size() == 3 &&
        (IsMark(tokens, u - 1, '{') || IsMark(tokens, u - 1, ','))) {
      source.subComponents.push_back(literals);
    } else if (IsMark(tokens, u, '{')) {
      ReadRow(tokens, u, source);
      ReadTable(tokens, u, source);
    }
    if (IsMark(tokens, u, ',') && literals.size() >= 3 && IsWord(tokens, u - 1, "Component")) {
      source.strBundle = literals[0];
      source.strName = literals[1];
      source.strDescription = literals[2];
    }
  }
  return source;
}
