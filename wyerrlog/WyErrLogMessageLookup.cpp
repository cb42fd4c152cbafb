// Messages by identifier: the component's key or printf pattern, the translated text, and the
// arguments in it. Look-ups go to the catalog of the process logger, inside its read-side section,
// which keeps the texts valid.

#include <wyi18n/wyi18n.h>
#include <wyxlate/WyXlate.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyEscape.h"
#include "wyerrlog/WyLogStatement.h"
#include "wyerrlog/WyMessageId.h"
#include "wyerrlog/internal/WyFormatMemo.h"
#include "wyerrlog/internal/WyMessageCatalog.h"
#include "wyerrlog/internal/WyMessageMemo.h"
#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyTextPieces.h"

// One look-up in the catalog of the process logger. Texts stay valid as long as the object.
class CWyMessageLookup {
 public:
  CWyMessageLookup()
      : m_pCatalog(ProcessCatalog()),
        m_scope(m_pCatalog != nullptr ? &m_pCatalog->ReadSide() : nullptr) {}

  const char* FetchMsg(unsigned int uId) const {
    return m_pCatalog != nullptr ? m_pCatalog->FetchMsg(uId) : nullptr;
  }
  WyMessageSource FindMessage(unsigned int uId) const {
    return m_pCatalog != nullptr ? m_pCatalog->FindMessage(uId) : WyMessageSource{};
  }

 private:
  // Null while the process logger is under construction, and if there is no memory for it.
  static const CWyMessageCatalog* ProcessCatalog() {
    if (const CWyMessageCatalog* const pCatalog = CWyMessageCatalog::OfProcess()) return pCatalog;
    // The first use in the process. A message that is constructed without a time base asks the
    // process logger for it, which constructs that logger and its catalog.
    const CWyErrLogMessage first;
    return CWyMessageCatalog::OfProcess();
  }

  const CWyMessageCatalog* m_pCatalog;  // null: no message is found
  const CWyReadSideSection::Scope m_scope;
};

namespace {

// The contract's limit of 4095 bytes for a formatted message; it is on the stack, so its size is
// fixed.
constexpr int TextSize = 4096;  // bytes, with the terminator

constexpr unsigned int BuiltInComponent = 1;
constexpr const char* BuiltInKey = "wy-log-00000";

unsigned int SeverityOf(unsigned int uId) {
  return static_cast<unsigned int>(WyMessageSeverity(uId));
}

struct BundleRelease {
  void operator()(CWyXlateBundle* pBundle) const { pBundle->Release(); }
};

// The form of an identifier's message in a locale. The texts belong to the component and to the
// bundle, which is held as long as this object lives.
struct Template {
  const char* pszPattern;
  const char* pszKey;
  std::unique_ptr<CWyXlateBundle, BundleRelease> pBundle;
};

// Never fails: each thing that is missing has a text and a key of its own, so that the log shows
// what to install. A key without a translation stands for its text. The built-in component has no
// catalog: its message is its first argument.
Template FindTemplate(const CWyMessageLookup& lookup, unsigned int uId, const char* pszLocale) {
  if (WyComponentNumber(uId) == BuiltInComponent) return {"{0}", BuiltInKey, nullptr};
  const auto [pszBundle, pszKey] = lookup.FindMessage(uId);
  if (pszBundle == nullptr) return {"missing component library", "wy-log-00001", nullptr};
  if (pszKey == nullptr) return {"missing message key", "wy-log-00002", nullptr};
  Template found{pszKey, pszKey, nullptr};
  found.pBundle.reset(CWyXlate::GetBundle(pszBundle, pszLocale));
  const char* const pszPattern = found.pBundle != nullptr ? found.pBundle->Lookup(pszKey) : nullptr;
  if (pszPattern != nullptr) found.pszPattern = pszPattern;
  return found;
}

void CopyCut(char* pszOut, const char* pszText, unsigned long uSize) {
  const std::size_t uLength = strnlen(pszText, uSize - 1);
  memcpy(pszOut, pszText, uLength);
  pszOut[uLength] = '\0';
}

// Both generations are read before the message is looked up.
WyMessageOrigin OriginNow(unsigned int uId) {
  return {uId, CWyMessageCatalog::Generation(), CWyMessageMemo::DirectoryGeneration()};
}

// Returns the form if it is that of the message now.
[[gnu::always_inline]] inline const CWyMessageForm* IfCurrent(const CWyMessageForm& form,
                                                              unsigned int uId) {
  return form.Is(OriginNow(uId), WyGetAdminLocale()) ? &form : nullptr;
}

// Not inlined: the usual way keeps nothing for it.
[[gnu::noinline]] const CWyMessageForm* FindSecondForm(const CWyMessageMemo& memo,
                                                       unsigned int uId) {
  return IfCurrent(memo.Second(uId), uId);
}

// Returns the remembered form of the message; null if there is none.
[[gnu::always_inline]] inline const CWyMessageForm* FindForm(unsigned int uId) {
  const CWyMessageMemo* const pMemo = CWyMessageMemo::OfThisThread();
  if (pMemo == nullptr) return nullptr;
  const CWyMessageForm* const pFirst = IfCurrent(pMemo->First(uId), uId);
  return pFirst != nullptr ? pFirst : FindSecondForm(*pMemo, uId);
}

// By severity: two bits of an identifier, so every value has its word.
constexpr std::string_view SeverityWords[] = {"[INVALID MESSAGE TYPE]", "[INFO]", "[WARNING]",
                                              "[ERROR]"};
constexpr WyShortText SeverityWordsAndBlank[] = {
    {"[INVALID MESSAGE TYPE] ", 23}, {"[INFO] ", 7}, {"[WARNING] ", 10}, {"[ERROR] ", 8}};

// Replaces the "%s" of the pattern by the texts, one after another. The search goes on where the
// text inserted last begins, so a "%s" in it takes the next text.
std::string Substitute(const char* pszPattern, char** ppszArguments, int iCount) {
  std::string strText = pszPattern;
  std::size_t uFrom = 0;
  for (int i = 0; ppszArguments != nullptr && i < iCount; ++i) {
    uFrom = strText.find("%s", uFrom);
    if (uFrom == std::string::npos) break;
    strText.replace(uFrom, 2, ppszArguments[i]);
  }
  return strText;
}

}  // namespace

// Formats into a buffer of its own: the message's text, which may move when it grows, may be among
// the arguments.
bool CWyErrLogMessage::AppendPrintf(const char* pszPattern, va_list args) {
  if (*pszPattern == '\0') return true;
  char szText[TextSize];
  VSNPRINTFEX(szText, TextSize, pszPattern, args);
  m_pBuffer->Append(std::string_view(szText));
  return !IsIncomplete();
}

const char* CWyErrLogMessage::GetMsgSeverity() const {
  static constexpr const char* s_apszWords[] = {"UNKNOWN", "INFO", "WARN", "ERROR"};
  return s_apszWords[m_nSeverity];
}

// ---- The printf way -----------------------------------------------------------------------------

// The pattern is the component's own, so it is trusted to fit the arguments. The look-up lives
// until the pattern has been used.
[[gnu::always_inline]] inline bool CWyErrLogMessage::AppendByPrintf(unsigned int uId,
                                                                    va_list args) {
  const CWyMessageLookup lookup;
  const char* const pszPattern = lookup.FetchMsg(uId);
  if (pszPattern == nullptr) return false;
  const WyShortText& severity = SeverityWordsAndBlank[SeverityOf(uId)];
  if (CWyFormatMemo::Write(*m_pBuffer, severity, pszPattern, '\n', args)) return true;
  m_pBuffer->Append(severity.View());
  AppendPrintf(pszPattern, args);
  m_pBuffer->Append('\n');
  return !IsIncomplete();
}

bool CWyErrLogMessage::FormatLogMessage(int iId, ...) {
  va_list args;
  va_start(args, iId);
  const bool bFound = AppendByPrintf(static_cast<unsigned int>(iId), args);
  va_end(args);
  return bFound;
}

bool CWyErrLogMessage::FormatLogMessageVA(int iId, va_list args) {
  return AppendByPrintf(static_cast<unsigned int>(iId), args);
}

bool CWyErrLogMessage::FormatLogMessage(int iId, char** ppszArguments, int iCount) {
  const CWyMessageLookup lookup;
  const auto uId = static_cast<unsigned int>(iId);
  const char* const pszPattern = lookup.FetchMsg(uId);
  if (pszPattern == nullptr) return false;
  m_pBuffer->Append(SeverityWordsAndBlank[SeverityOf(uId)].View());
  // A text of any length, which a std::string assembles; here its exception ends.
  try {
    m_pBuffer->Append(std::string_view(Substitute(pszPattern, ppszArguments, iCount)));
  } catch (const std::bad_alloc&) {
    m_pBuffer->SetIncomplete();
  }
  m_pBuffer->Append('\n');
  return !IsIncomplete();
}

bool CWyErrLogMessage::FormatLogMessageForTrace(int iId, ...) {
  const CWyMessageLookup lookup;
  const auto uId = static_cast<unsigned int>(iId);
  const char* const pszPattern = lookup.FetchMsg(uId);
  // Also for a message that is not found: GetMsgSeverity reports the identifier's severity.
  m_nSeverity = static_cast<int>(SeverityOf(uId));
  if (pszPattern == nullptr) return false;
  m_pBuffer->Append(' ');
  va_list args;
  va_start(args, iId);
  const bool bAppended = AppendPrintf(pszPattern, args);
  va_end(args);
  return bAppended;
}

// ---- The translated way -------------------------------------------------------------------------

// The identifier 0 keeps the one used last.
void CWyErrLogMessage::SetId(unsigned int uId) {
  if (uId == 0) return;
  m_nMsgId = uId;
  m_nSeverity = static_cast<int>(SeverityOf(uId));
}

// Without arguments the pattern is copied as it is: quotes and braces have a meaning only if there
// is something to insert.
void CWyErrLogMessage::WriteText(const char* pszPattern, char* pszOut, unsigned long uSize) {
  OwnArguments();
  const char* apszArguments[CpaArgList::MaxArguments];
  const unsigned long uCount = m_args.toArgv(apszArguments);
  // An argument could not be copied: the text would be wrong, so the message is not written.
  if (m_args.m_bIncomplete) m_pBuffer->SetIncomplete();
  if (uCount != 0) {
    // It writes up to its size, and a terminator behind.
    CWyXlate::FormatMessage(pszOut, uSize - 1, pszPattern, uCount, apszArguments);
  } else {
    CopyCut(pszOut, pszPattern, uSize);
  }
}

// The key is valid as long as the look-up.
const char* CWyErrLogMessage::Translate(const CWyMessageLookup& lookup, unsigned int uId,
                                        const char* pszLocale, char* pszOut, unsigned long uSize) {
  SetId(uId);
  const Template found = FindTemplate(lookup, m_nMsgId, pszLocale);
  if (pszOut != nullptr && uSize != 0) WriteText(found.pszPattern, pszOut, uSize);
  return found.pszKey;
}

const char* CWyErrLogMessage::PreformatMessage(unsigned int uId, const char* pszLocale,
                                               char* pszOut, unsigned long uSize) {
  const CWyMessageLookup lookup;
  return Translate(lookup, uId, pszLocale, pszOut, uSize);
}

const char* CWyErrLogMessage::FormatMessage(unsigned int uId) {
  if (m_args.m_pStatement != nullptr) [[unlikely]]
    OwnArguments();
  SetId(uId);
  // The texts of the arguments lie one behind the other, each with a zero byte behind it.
  WyTextPiece aArguments[CpaArgList::MaxArguments];
  const char* const pFirst = m_args.m_stream.m_strBytes.data();
  const std::size_t uSize = m_args.m_stream.m_strBytes.size();
  std::size_t uEnd = uSize;
  for (unsigned long i = m_args.m_uCount; i-- > 0;) {
    const std::size_t uStart = m_args.m_auStarts[i];
    aArguments[i] = {pFirst + uStart, uEnd - uStart - 1};
    uEnd = uStart;
  }
  const CWyMessageForm* const pForm = m_args.m_bIncomplete ? nullptr : FindForm(m_nMsgId);
  if (pForm == nullptr || !pForm->AppendTo(*m_pBuffer, aArguments, m_args.m_uCount, uSize)) {
    AppendLookedUp();
  }
  return m_pBuffer->c_str();
}

// The arguments stay with the statement, until the host's output asks for the message once more.
void CWyErrLogMessage::FormatStatement(const WyLogDetail::Statement& statement) {
  WriteProlog(statement.file, statement.iLine);
  SetId(statement.uId);
  m_args.m_pStatement = &statement;
  const CWyMessageForm* const pForm = FindForm(m_nMsgId);
  const bool bAppended =
      pForm != nullptr
          ? pForm->AppendPlain(*m_pBuffer, statement.pTexts, statement.uTexts, statement.uAsTheyAre)
          : AppendOwn(statement);
  if (!bAppended) FormatMessage(0);
}

// A list that has got arguments since then replaces those of the statement.
void CWyErrLogMessage::OwnArguments() {
  const WyLogDetail::Statement* const pStatement = std::exchange(m_args.m_pStatement, nullptr);
  if (pStatement == nullptr || m_args.m_uCount != 0 || m_args.m_bIncomplete) return;
  m_args.m_bIncomplete = !pStatement->CopyTo(m_args);
}

// A text of the program itself, which needs no catalog. Without the memo the platform library is
// asked for it too: see CWyMessageMemo::OfThisThread.
bool CWyErrLogMessage::AppendOwn(const WyLogDetail::Statement& statement) {
  if (statement.uTexts != 1 || WyComponentNumber(m_nMsgId) != BuiltInComponent) return false;
  const WyLogDetail::TextRef& text = statement.pTexts[0];
  if (text.pszText == nullptr || text.uSize >= TextSize || !statement.IsPlain(0) ||
      CWyMessageMemo::OfThisThread() == nullptr) {
    return false;
  }
  m_pBuffer->Append(SeverityWords[SeverityOf(m_nMsgId)], '[', std::string_view(BuiltInKey), ']',
                    ' ', std::string_view(text.pszText, text.uSize), '\n');
  return true;
}

// The locale is read for each message: the host may change the environment at run time, and finding
// it unchanged is cheap (see platform/wyi18n). Not inlined: the usual way needs no text on the
// stack.
[[gnu::noinline]] void CWyErrLogMessage::AppendLookedUp() {
  const char* const pszLocale = WyGetAdminLocale();
  const WyMessageOrigin origin = OriginNow(m_nMsgId);
  const CWyMessageLookup lookup;
  Template found = FindTemplate(lookup, origin.uId, pszLocale);
  char szText[TextSize];
  szText[0] = '\0';
  WriteText(found.pszPattern, szText, TextSize);
  const std::string_view severity = SeverityWords[SeverityOf(origin.uId)];
  m_pBuffer->Append(severity, '[', std::string_view(found.pszKey), ']', ' ',
                    std::string_view(szText), '\n');
  CWyMessageMemo* const pMemo = CWyMessageMemo::OfThisThread();
  if (pMemo == nullptr) return;
  // A key that stands for its text is not the bundle's.
  if (found.pszPattern == found.pszKey) found.pBundle.reset();
  pMemo->Learn(origin, pszLocale,
               {severity, found.pszKey, found.pszPattern, found.pBundle.release()});
}

// Trace records are in English, whatever the administrator's locale.
const char* CWyErrLogMessage::FormatMessageForTrace(unsigned int uId) {
  const CWyMessageLookup lookup;
  char szText[TextSize];
  szText[0] = '\0';
  m_pBuffer->Clear();
  const char* const pszKey = Translate(lookup, uId, "en", szText, TextSize);
  m_pBuffer->Append('[', std::string_view(pszKey), ']', ' ', std::string_view(szText));
  return GetBuffer();
}
