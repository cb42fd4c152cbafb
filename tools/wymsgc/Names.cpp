// The keywords are those of C++20 and Java 17, and of both the words that are reserved in some
// places only, so that a generated file compiles wherever it is included.
#include "tools/wymsgc/Names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace {

// In alphabetical order. Searched by bisection: a new word goes to its place.
constexpr std::string_view CppKeywords[] = {"alignas",       "alignof",     "and",
                                            "and_eq",        "asm",         "auto",
                                            "bitand",        "bitor",       "bool",
                                            "break",         "case",        "catch",
                                            "char",          "char16_t",    "char32_t",
                                            "char8_t",       "class",       "co_await",
                                            "co_return",     "co_yield",    "compl",
                                            "concept",       "const",       "const_cast",
                                            "consteval",     "constexpr",   "constinit",
                                            "continue",      "decltype",    "default",
                                            "delete",        "do",          "double",
                                            "dynamic_cast",  "else",        "enum",
                                            "explicit",      "export",      "extern",
                                            "false",         "float",       "for",
                                            "friend",        "goto",        "if",
                                            "inline",        "int",         "long",
                                            "mutable",       "namespace",   "new",
                                            "noexcept",      "not",         "not_eq",
                                            "nullptr",       "operator",    "or",
                                            "or_eq",         "private",     "protected",
                                            "public",        "register",    "reinterpret_cast",
                                            "requires",      "return",      "short",
                                            "signed",        "sizeof",      "static",
                                            "static_assert", "static_cast", "struct",
                                            "switch",        "template",    "this",
                                            "thread_local",  "throw",       "true",
                                            "try",           "typedef",     "typeid",
                                            "typename",      "union",       "unsigned",
                                            "using",         "virtual",     "void",
                                            "volatile",      "wchar_t",     "while",
                                            "xor",           "xor_eq"};
constexpr std::string_view JavaKeywords[] = {
    "_",        "abstract",  "assert",    "boolean", "break",      "byte",         "case",
    "catch",    "char",      "class",     "const",   "continue",   "default",      "do",
    "double",   "else",      "enum",      "extends", "false",      "final",        "finally",
    "float",    "for",       "goto",      "if",      "implements", "import",       "instanceof",
    "int",      "interface", "long",      "native",  "new",        "null",         "package",
    "permits",  "private",   "protected", "public",  "record",     "return",       "sealed",
    "short",    "static",    "strictfp",  "super",   "switch",     "synchronized", "this",
    "throw",    "throws",    "transient", "true",    "try",        "var",          "void",
    "volatile", "while",     "yield"};

// The methods of java.lang.Object, which a static method cannot hide.
constexpr std::string_view ObjectMethods[] = {"clone",     "equals",   "finalize",
                                              "getClass",  "hashCode", "notify",
                                              "notifyAll", "toString", "wait"};

template <std::size_t Count>
bool IsIn(const std::string_view (&words)[Count], std::string_view word) {
  return std::binary_search(std::begin(words), std::end(words), word);
}

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
char ToUpper(char c) { return IsLower(c) ? static_cast<char>(c - ('a' - 'A')) : c; }
char ToLower(char c) { return IsUpper(c) ? static_cast<char>(c + ('a' - 'A')) : c; }

// Whether a word of a name in mixed case begins at `u`. "WriteFailed" and "XMLRead" have two words
// each: in a run of capitals the last one begins the next word.
bool BeginsWord(std::string_view name, std::size_t u) {
  if (u == 0 || !IsUpper(name[u]) || name[u - 1] == '_') return false;
  return !IsUpper(name[u - 1]) || (u + 1 < name.size() && IsLower(name[u + 1]));
}

}  // namespace

bool IsIdentifier(std::string_view name) {
  return !name.empty() && !IsDigit(name.front()) &&
         std::all_of(name.begin(), name.end(),
                     [](char c) { return IsUpper(c) || IsLower(c) || IsDigit(c) || c == '_'; });
}

bool IsCppKeyword(std::string_view name) { return IsIn(CppKeywords, name); }
bool IsJavaKeyword(std::string_view name) { return IsIn(JavaKeywords, name); }

std::string JavaConstant(std::string_view name) {
  std::string str;
  for (std::size_t u = 0; u < name.size(); ++u) {
    if (BeginsWord(name, u)) str += '_';
    str += ToUpper(name[u]);
  }
  return str;
}

// A keyword or a method of Object gets a suffix; a constant cannot meet one, being in capitals.
std::string JavaMethod(std::string_view name) {
  std::string str(name);
  for (std::size_t u = 0; u < str.size() && (u == 0 || (IsUpper(name[u]) && !BeginsWord(name, u)));
       ++u) {
    str[u] = ToLower(str[u]);
  }
  return IsJavaKeyword(str) || IsIn(ObjectMethods, str) ? str + "Message" : str;
}

std::string JavaParameter(std::string_view name) {
  return std::string(name) + (IsJavaKeyword(name) ? "_" : "");
}
