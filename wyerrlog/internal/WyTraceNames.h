#ifndef WYERRLOG_INTERNAL_WYTRACENAMES_H
#define WYERRLOG_INTERNAL_WYTRACENAMES_H

// Why a word of a trace configuration names nothing: it is misspelt, it is the name of something
// else, or it belongs to a component that is known but not installed.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/WyTraceData.h"

struct WyUnknownName {
  bool bNotInstalled = false;  // known, but its library is not there
  std::string strText;
  std::string strHelp;
};

class CWyTraceNames {
 public:
  CWyTraceNames() = default;
  CWyTraceNames(std::span<const WyTraceComponentInfo> components,
                std::span<const WyTraceDataFieldInfo> fields);

  // What to say of a name on the components line, and of a field's name, that is unknown.
  WyUnknownName Component(std::string_view word) const;
  WyUnknownName Field(std::string_view word) const;

  bool IsComponent(std::string_view word) const;
  bool IsField(std::string_view word) const;

 private:
  std::string SuggestSubComponent(std::string_view component, std::string_view word) const;
  std::string SuggestComponent(std::string_view word) const;
  std::string ListComponents() const;

  std::vector<std::string_view> m_components;  // with sub-components, "Parent/Name"
  std::vector<std::string_view> m_known;       // component libraries, installed or not
  std::vector<std::string_view> m_fields;
};

// "did you mean `A`?", with any number of names: "did you mean `A` or `B`?"; empty for none.
std::string WyDidYouMean(std::span<const std::string_view> names);

// Whether two words differ at most in the case of their letters.
bool WyEqualButCase(std::string_view a, std::string_view b);

#endif
