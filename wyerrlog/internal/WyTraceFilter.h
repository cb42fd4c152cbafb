#ifndef WYERRLOG_INTERNAL_WYTRACEFILTER_H
#define WYERRLOG_INTERNAL_WYTRACEFILTER_H

// The filters of a trace configuration: an operator and a text that a field's value is compared
// with. Bytes are compared, so upper and lower case differ in every locale.

#include <array>
#include <string_view>

namespace WyTraceFilter {

// The numbers are those of WyTraceDataFieldInfo::uFilterOp.
enum Operator : unsigned int { None = 0, Equal = 1, NotEqual = 2, Holds = 7, HoldsNot = 8 };

struct Sign {
  std::string_view text;
  Operator op;
  std::string_view meaning;
};
inline constexpr std::array<Sign, 4> Signs = {{{"==", Equal, "is exactly"},
                                               {"!=", NotEqual, "is anything but"},
                                               {"@@", Holds, "contains"},
                                               {"!@", HoldsNot, "does not contain"}}};

// The operator that `text` begins with; None if it begins with none. Each sign has two characters.
inline Operator AtStartOf(std::string_view text) {
  for (const Sign& sign : Signs) {
    if (text.starts_with(sign.text)) return sign.op;
  }
  return None;
}

inline bool Passes(unsigned int uOperator, std::string_view value, std::string_view text) {
  switch (uOperator) {
    case Equal:
      return value == text;
    case NotEqual:
      return value != text;
    case Holds:
      return value.find(text) != std::string_view::npos;
    case HoldsNot:
      return value.find(text) == std::string_view::npos;
    default:
      return false;
  }
}

}  // namespace WyTraceFilter

#endif
