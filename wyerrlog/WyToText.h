#ifndef WYERRLOG_WYTOTEXT_H
#define WYERRLOG_WYTOTEXT_H

// What can be logged as an argument, and how it reads. The front end (WyLog, WY_TRACE, WY_AUDIT,
// WyRequestScope) takes
//
//   texts             const char*, std::string_view, and what has c_str(); null is "<null>"
//   numbers, char     decimal; a floating number is the shortest text that reads back as the same
//   bool              "true", "false"
//   enumerations      their number
//   std::optional     its value; without one as a null pointer
//   std::error_code   "No such file or directory (generic:2)"; std::error_condition likewise
//   std::exception    what(), with those nested in it: "cannot open store: disk full"
//   WyRaw(text)       a text that is not escaped (WyEscape.h)
//
// and every type for which a function WyToText is found by argument-dependent look-up, before any
// of the above. Such a function stands in the namespace of the type and returns anything of the
// list:
//
//   namespace login {
//   enum class Result { Accepted, Refused };
//   inline const char* WyToText(Result result) {
//     return result == Result::Accepted ? "accepted" : "refused";
//   }
//   }  // namespace login
//
// A text that it returns by pointer or view must live as long as its argument. What is constructed
// for the call (texts of error codes and exceptions, the std::string of a WyToText) is destroyed
// with the statement; a statement with such an argument throws what its construction throws. All
// others throw nothing and allocate only if they must be escaped.
//
// Errors: an argument for which there is no text is an error of the compiler at the call, with the
// remedy in its text. If memory allocation for escaping fails, the statement logs nothing and
// returns false. A char* is read up to its zero byte and must not be changed by another thread
// during the call; the same holds for every other argument. Nothing of an argument is kept after
// the statement: the record has a copy.
//
// Floating numbers do not depend on the locale: the decimal point is always ".". Characters (char)
// are escaped like texts, signed char and unsigned char are numbers. Pointers other than to
// characters have no text on purpose: their bool or their address is rarely meant.
//
// Names in WyLogDetail are not part of the interface.

#include <charconv>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include "wyerrlog/WyEscape.h"

namespace WyLogDetail {

// ---- Texts that the call owns -------------------------------------------------------------------

// One character, or the decimal text of a number. Without allocation; copied by value, hence Ref at
// the time of use and not a stored pointer to its own member.
class CpaShortText {
 public:
  explicit CpaShortText(char c) : m_szText{c}, m_uSize(1) {}
  template <typename Number>
  explicit CpaShortText(Number number) {
    char* const pEnd = std::to_chars(m_szText, m_szText + sizeof m_szText - 1, number).ptr;
    *pEnd = '\0';
    m_uSize = static_cast<std::size_t>(pEnd - m_szText);
  }
  TextRef Ref() const { return {m_szText, m_uSize, true}; }

 private:
  char m_szText[48];  // enough for every standard type
  std::size_t m_uSize;
};

// A text that was constructed for the call. Ref is valid until the object is moved or destroyed: a
// short std::string has its text inside.
struct CpaOwnText {
  std::string strText;
  TextRef Ref() const { return {strText.c_str(), strText.size(), true}; }
};

// The caller's own text. Nothing is copied: it must outlive the statement, as an argument of a call
// does.
struct CpaBorrowedText {
  TextRef text;
  TextRef Ref() const { return text; }
};

// The text of an optional value.
template <typename Text>
struct CpaOptionalText {
  std::optional<Text> value;
  TextRef Ref() const { return value ? value->Ref() : TextRef{nullptr, 0, true}; }
};

// "message (category:7)"
template <typename Error>
std::string ErrorText(const Error& error) {
  return error.message() + " (" + error.category().name() + ':' + std::to_string(error.value()) +
         ')';
}

// The texts of an exception and of those nested in it, the outermost first. Programs built with
// -fno-exceptions show the outermost text alone.
inline std::string ExceptionText(const std::exception& exception) {
  std::string strText = exception.what();
#ifdef __cpp_exceptions
  try {
    std::rethrow_if_nested(exception);
  } catch (const std::exception& nested) {
    strText += ": " + ExceptionText(nested);
  } catch (...) {
    strText += ": unknown exception";
  }
#endif
  return strText;
}

// ---- Kinds of types -----------------------------------------------------------------------------

template <typename T, typename = void>
struct HasText : std::false_type {};
template <typename T>
struct HasText<T, std::enable_if_t<std::is_convertible_v<decltype(std::declval<const T&>().c_str()),
                                                         const char*>>> : std::true_type {};

template <typename T, typename = void>
struct HasToText : std::false_type {};
template <typename T>
struct HasToText<T, std::void_t<decltype(WyToText(std::declval<const T&>()))>> : std::true_type {};

template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <typename T>
inline constexpr bool IsError =
    std::is_same_v<T, std::error_code> || std::is_same_v<T, std::error_condition>;

// The type that is shown for a type: of an enumeration its number's, of an optional its value's.
template <typename T, typename = void>
struct ShownOf {
  using Type = T;
};
template <typename T>
struct ShownOf<T, std::enable_if_t<HasToText<T>::value>>
    : ShownOf<std::decay_t<decltype(WyToText(std::declval<const T&>()))>> {};
template <typename T>
struct ShownOf<T, std::enable_if_t<std::is_enum_v<T> && !HasToText<T>::value>> {
  using Type = decltype(+std::declval<std::underlying_type_t<T>>());
};
template <typename T>
struct ShownOf<std::optional<T>, void> : ShownOf<T> {};
template <typename T>
using Shown = typename ShownOf<T>::Type;

// Whether values of a type are texts, and not numbers, characters or bool.
// The front end compares it, at compile time, with the argument's kind in the message's definition.
template <typename T>
constexpr bool IsText() {
  using S = Shown<T>;
  return std::is_convertible_v<const S&, const char*> || HasText<S>::value ||
         std::is_convertible_v<const S&, std::string_view> || std::is_same_v<S, WyRawText> ||
         std::is_base_of_v<std::exception, S> || IsError<S>;
}

// Whether no value of a type needs to be escaped, or may be.
// A number has no byte that could break a line, so that the test of each byte is not compiled in.
template <typename T>
constexpr bool IsNeverEscaped() {
  using S = Shown<T>;
  return (!IsText<T>() && !std::is_same_v<S, char>) || std::is_same_v<S, WyRawText>;
}

template <typename>
inline constexpr bool IsUnknown = false;

// ---- From a value to its text -------------------------------------------------------------------

inline CpaBorrowedText Borrow(const char* pszText) {
  return {{pszText, pszText != nullptr ? std::strlen(pszText) : 0, true}};
}

// A text ends with its first zero byte. Whatever follows could not be written to a file of lines
// anyway. memchr must not get a null pointer, hence the test of the size.
inline std::size_t SizeUpToZero(const WyRawText& text) {
  const auto* const pZero = text.uSize != 0
                                ? static_cast<const char*>(std::memchr(text.pszText, 0, text.uSize))
                                : nullptr;
  return pZero != nullptr ? static_cast<std::size_t>(pZero - text.pszText) : text.uSize;
}

// Returns a value as a text, valid as long as both the value and the result exist. The order of the
// branches is the order of precedence: a WyToText of the program comes before everything;
// std::string before the types that convert to const char*, since its size is known.
template <typename T>
auto ToText(const T& value) {
  if constexpr (HasToText<T>::value) {
    using Result = decltype(WyToText(value));
    if constexpr (std::is_same_v<Result, std::string>) {
      return CpaOwnText{WyToText(value)};
    } else {
      static_assert(std::is_reference_v<Result> || std::is_scalar_v<Result> || IsError<Result> ||
                        std::is_same_v<Result, std::string_view> ||
                        std::is_same_v<Result, WyRawText>,
                    "a WyToText returns a number, a text that lives on, or a std::string");
      // The assertion above keeps a WyToText from returning an object by value that the result
      // would refer to after its end; a std::string alone is moved into the result.
      return ToText<std::decay_t<Result>>(WyToText(value));
    }
  } else if constexpr (std::is_same_v<T, bool>) {
    return CpaBorrowedText{{value ? "true" : "false", value ? 4u : 5u, true}};
  } else if constexpr (std::is_arithmetic_v<T>) {
    return CpaShortText(value);
  } else if constexpr (std::is_enum_v<T>) {
    return CpaShortText(+static_cast<std::underlying_type_t<T>>(value));
  } else if constexpr (std::is_same_v<T, WyRawText>) {
    const std::size_t uSize = value.bTerminated ? value.uSize : SizeUpToZero(value);
    return CpaBorrowedText{{value.pszText, uSize, value.bTerminated}};
  } else if constexpr (IsOptional<T>::value) {
    using Text = decltype(ToText(*value));
    return value ? CpaOptionalText<Text>{ToText(*value)} : CpaOptionalText<Text>{std::nullopt};
  } else if constexpr (std::is_base_of_v<std::exception, T>) {
    return CpaOwnText{ExceptionText(value)};
  } else if constexpr (IsError<T>) {
    return CpaOwnText{ErrorText(value)};
  } else if constexpr (std::is_same_v<T, std::string>) {
    return CpaBorrowedText{{value.c_str(), value.size(), true}};
  } else if constexpr (std::is_convertible_v<const T&, const char*>) {
    return Borrow(value);
  } else if constexpr (HasText<T>::value) {
    return Borrow(value.c_str());
  } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
    const std::string_view view = value;
    return CpaBorrowedText{{view.data() != nullptr ? view.data() : "", view.size(), false}};
  } else {
    static_assert(IsUnknown<T>, "no text for this type: declare a WyToText in its namespace");
  }
}

// An argument of the front end: its text, escaped. For the statement that logs it.
// Constructed in the call's full expression, and destroyed with it: m_ref refers to m_text, to
// m_pEscaped or to the caller's value. Not movable for that reason.
template <typename T>
class CpaArgument {
 public:
  explicit CpaArgument(const T& value) : m_text(ToText(value)), m_ref(m_text.Ref()) {
    if constexpr (!IsNeverEscaped<T>()) {
      // Nearly all texts need no escape, so that the usual cost is one pass over the bytes.
      if (__builtin_expect(!IsPlain(m_ref.pszText, m_ref.uSize), false)) {
        m_bComplete = Escape(m_ref, m_pEscaped);
      }
    }
  }
  CpaArgument(const CpaArgument&) = delete;
  CpaArgument& operator=(const CpaArgument&) = delete;

  // Returns false if memory allocation failed.
  bool IsComplete() const { return IsNeverEscaped<T>() || m_bComplete; }

  TextRef Ref() const { return m_ref; }
  // Null is shown, since a missing text is worth knowing; an empty one stays empty.
  std::string_view View() const {
    return m_ref.pszText != nullptr ? std::string_view(m_ref.pszText, m_ref.uSize) : "<null>";
  }

 private:
  decltype(ToText(std::declval<const T&>())) m_text;
  TextRef m_ref;
  std::unique_ptr<char[]> m_pEscaped;
  bool m_bComplete = true;
};

}  // namespace WyLogDetail

#endif
