// Names are compared with what the logger has loaded, then with the table of component libraries: a
// component's name is that of its library.

#include "wyerrlog/internal/WyTraceNames.h"

#include <algorithm>
#include <utility>

#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/internal/WyEditDistance.h"

namespace {

std::string Quoted(std::string_view name) { return "`" + std::string(name) + "`"; }

// Linear: tables have tens of names, and a file is checked once.
bool Contains(const std::vector<std::string_view>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

}  // namespace

bool WyEqualButCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return ToLower(x) == ToLower(y); });
}

std::string WyDidYouMean(std::span<const std::string_view> names) {
  std::string strNames;
  for (const std::string_view name : names)
    strNames += (strNames.empty() ? "" : " or ") + Quoted(name);
  return strNames.empty() ? "" : "did you mean " + strNames + "?";
}

CWyTraceNames::CWyTraceNames(std::span<const WyTraceComponentInfo> components,
                             std::span<const WyTraceDataFieldInfo> fields) {
  for (const WyTraceComponentInfo& component : components) {
    if (component.pszName != nullptr) m_components.emplace_back(component.pszName);
  }
  for (const WyTraceDataFieldInfo& field : fields) {
    if (field.pszName != nullptr) m_fields.emplace_back(field.pszName);
  }
  int iCount = 0;
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&iCount, &ppszNames);
  // The table is static, so that views of its names stay valid.
  m_known.assign(ppszNames + 1, ppszNames + iCount);  // row 0, the built-in one, is no library
}

bool CWyTraceNames::IsComponent(std::string_view word) const {
  return Contains(m_components, word);
}

bool CWyTraceNames::IsField(std::string_view word) const { return Contains(m_fields, word); }

// Returns the sub-components of `component`, or with an empty one of all, that `word` can mean.
// Several components may have one of the same name ("Send_Response"): all are named, since the
// parser needs the full form.
std::string CWyTraceNames::SuggestSubComponent(std::string_view component,
                                               std::string_view word) const {
  std::vector<std::string_view> subs, same, all;
  for (const std::string_view name : m_components) {
    const size_t uSlash = name.find('/');
    if (uSlash == std::string_view::npos) continue;
    if (!component.empty() && name.substr(0, uSlash) != component) continue;
    subs.push_back(name.substr(uSlash + 1));
    all.push_back(name);
  }
  const std::string_view nearest = NearestName(word, subs);
  if (!nearest.empty()) {
    for (size_t u = 0; u < subs.size(); ++u) {
      if (subs[u] == nearest) same.push_back(all[u]);
    }
    return WyDidYouMean(same);
  }
  if (component.empty()) return "";
  if (all.empty()) return Quoted(component) + " has no sub-components";
  std::string strHelp = Quoted(component) + " has ";
  for (size_t u = 0; u < all.size(); ++u) strHelp += (u == 0 ? "" : ", ") + Quoted(all[u]);
  return strHelp;
}

// The order goes from the surest guess to the weakest: only the case differs; a sub-component
// without its component; a misspelt name; a misspelt component that is not installed.
std::string CWyTraceNames::SuggestComponent(std::string_view word) const {
  const std::string_view whole = NearestName(word, m_components);
  if (!whole.empty() && WyEqualButCase(word, whole)) return WyDidYouMean({&whole, 1});
  // With an empty component this searches all of them: `word` may name the wrong one.
  const std::string strSub = SuggestSubComponent("", word.substr(word.find('/') + 1));
  const bool bPath = word.find('/') != std::string_view::npos;
  if (!bPath && !strSub.empty()) return strSub;
  if (!whole.empty()) return WyDidYouMean({&whole, 1});
  const std::string_view known = NearestName(word.substr(0, word.find('/')), m_known);
  if (!known.empty() && !IsComponent(known)) {
    return WyDidYouMean({&known, 1}) + " It is known, but not installed";
  }
  if (!bPath || known.empty()) return strSub;
  const std::string strFull = std::string(known) + std::string(word.substr(word.find('/')));
  const std::string_view full = strFull;
  return WyDidYouMean({&full, 1});
}

std::string CWyTraceNames::ListComponents() const {
  std::string strList;
  for (const std::string_view name : m_components) {
    if (name.find('/') != std::string_view::npos) continue;
    strList += (strList.empty() ? "there are " : ", ") + Quoted(name);
  }
  return strList;
}

// A word that is right in the wrong place comes first, since no spelling would help it; "not
// installed" comes before "misspelt", since the file is then right.
WyUnknownName CWyTraceNames::Component(std::string_view word) const {
  const std::string_view component = word.substr(0, word.find('/'));
  if (IsField(word)) {
    return {false, Quoted(word) + " is a data field, not a component", "name it on the data line"};
  }
  if (Contains(m_known, component) && !IsComponent(component)) {
    return {true, "the component " + Quoted(component) + " is known, but not installed",
            "nothing of it can be traced until lib" + std::string(component) + ".so is installed"};
  }
  if (component.size() < word.size() && IsComponent(component)) {
    return {
        false,
        Quoted(component) + " has no sub-component " + Quoted(word.substr(component.size() + 1)),
        SuggestSubComponent(component, word.substr(component.size() + 1))};
  }
  std::string strHelp = SuggestComponent(word);
  if (strHelp.empty()) strHelp = ListComponents();
  return {false, "no component is named " + Quoted(word), std::move(strHelp)};
}

WyUnknownName CWyTraceNames::Field(std::string_view word) const {
  if (IsComponent(word)) {
    return {false, Quoted(word) + " is a component, not a data field",
            "name it on the components line"};
  }
  const std::string_view nearest = NearestName(word, m_fields);
  return {false, "no data field is named " + Quoted(word),
          nearest.empty() ? "wylogctl list fields shows them" : WyDidYouMean({&nearest, 1})};
}
