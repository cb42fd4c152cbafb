// A log statement on its way into a message. Nearly always its texts are printable ASCII and the
// thread remembers the message: then the texts are copied once, from the caller into the line.

#include "wyerrlog/WyLogStatement.h"

#include <memory>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyEscape.h"

namespace WyLogDetail {

namespace {

constexpr TextRef Null = {"<null>", 6, true};

const TextRef& OrNull(const TextRef& text) { return text.pszText != nullptr ? text : Null; }

}  // namespace

bool Statement::Format(CWyErrLogMessage& line) const {
  line.m_args.clear();  // those of a message before this one would take precedence
  line.FormatStatement(*this);
  line.OwnArguments();
  return !line.IsIncomplete();
}

bool Statement::IsPlain(std::size_t uText) const {
  const TextRef& text = OrNull(pTexts[uText]);
  return (uAsTheyAre >> uText & 1) != 0 || WyLogDetail::IsPlain(text.pszText, text.uSize);
}

bool Statement::CopyTo(CpaArgList& args) const {
  for (std::size_t i = 0; i < uTexts; ++i) {
    TextRef text = OrNull(pTexts[i]);
    std::unique_ptr<char[]> pEscaped;
    if (!IsPlain(i) && !Escape(text, pEscaped)) return false;
    args.add(std::string_view(text.pszText, text.uSize));
  }
  return true;
}

}  // namespace WyLogDetail
