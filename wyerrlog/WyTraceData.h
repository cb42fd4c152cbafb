#ifndef WYERRLOG_WYTRACEDATA_H
#define WYERRLOG_WYTRACEDATA_H

// The trace configuration and the trace record, which are one class: a logger's installed
// configuration is a CWyTraceData, and each thread that traces fills a copy of it with the values
// of its record.

#include <array>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyLogField.h"

class CWyLogger;

// One component or sub-component that a trace configuration file can select.
struct WyTraceComponentInfo {
  bool bTraced;         // selected
  unsigned int uId;     // component number in bits 24 to 31, sub-component number in bits 16 to 23
  const char* pszName;  // "Login_Logout", "Login_Logout/Authentication"; owned by the logger
};

// One of the 66 data fields: what the configuration says of it, and its value in a record.
struct WyTraceDataFieldInfo {
  bool bTraced;            // stands on the "data" line
  bool bFiltered;          // has a filter
  unsigned int uId;        // field number, 0 to 65
  const char* pszName;     // from the known data fields
  unsigned int uWidth;     // column width, bytes
  char* pszFilter;         // filter text, null without a filter
  unsigned int uFilterOp;  // 1 "==", 2 "!=", 7 "@@" (holds), 8 "!@" (does not hold)
  char* pszValue;          // the value: szValue, or heap memory for a longer one
  bool bValueAllocated;    // which is heap memory
  char szValue[1024];      // texts of up to 1023 bytes
};

// The lines that CWyTraceData::AssembleTraceMessage writes: a record, or a line of the header above
// the records.
namespace WyTraceLine {
enum Number : int {
  Values = 0,  // of the fields
  Names = 1,   // of the fields
  Dashes = 2,  // as long as the names or, in the layout FixedWidth, the columns
  EqualsSigns = 3,
};
}  // namespace WyTraceLine

// One trace call, when the logger has said that its component is traced:
//
//   CWyTraceData* pData = nullptr;
//   if (pLogger->ShouldTraceAlloc(uComponentId, &pData)) {
//     CWyTraceSupresser suppress;
//     bool bWanted = !pData->FieldTraced(WyField::User) ||
//                    pData->SetFieldValue(WyField::User, "alice");
//     ... further fields, until one answers false: its filter drops the record
//     if (bWanted && pData->Format()) pData->Log();
//     pData->LeaveNoBody();
//   }
//
// WY_TRACE (WyLog.h) does all that in one statement, and empties the record also when an argument
// or the host's callback throws.
//
// A record belongs to one thread at a time and takes no lock. It shares the texts and tables of its
// configuration, which live until the last record that uses them lets go, whatever happens to the
// logger's configuration in between. An object is about 70 KiB; one on the stack needs that room.
class WYERRLOG_API CWyTraceData {
 public:
  static constexpr unsigned int FieldCount = WyField::Count;  // of a configuration, and a record
  static constexpr int InlineValueSize = 1024;                // bytes, with the terminator

  CWyTraceData();
  virtual ~CWyTraceData();
  CWyTraceData(const CWyTraceData&) = delete;
  // Takes over the configuration of another object; the values stay this object's own.
  CWyTraceData& operator=(const CWyTraceData& master);

  // ---- Configuration ----------------------------------------------------------------------------

  // Makes this fresh object a configuration. `iFormat` is the layout (see
  // CWyErrLogMessage::BeginTraceFormat), `pszDelimiter` the separator of layout 2 or null. The
  // component table is copied with its names; `pDataFieldInfo` has 66 entries. Answers false for
  // null tables and for a configuration file that cannot be read or is not one.
  bool SetConfiguration(int iFormat, const char* pszDelimiter, const char* pszConfigFile,
                        int iComponentCount, WyTraceComponentInfo* pComponentInfo,
                        WyTraceDataFieldInfo* pDataFieldInfo, bool bUseLocalTime);

  // Reads a trace configuration file into the tables. False when it cannot be opened, and when its
  // first two statements are not "components" and "data"; what stood before is applied all the
  // same. Unknown names and filters that make no sense are passed over. A read error ends the file.
  // Objects that took this configuration over before keep what they have.
  bool ReadConfigFile(const char* pszConfigFile);

  // Selects a component with all its sub-components, or one sub-component, for this object and
  // those that share its configuration. False without a table.
  bool MarkComponentTraced(unsigned int uId);

  // Entries by identifier or by exact name; null when there is none.
  WyTraceComponentInfo* GetComponentInfo(unsigned int uId);
  WyTraceComponentInfo* GetComponentInfo(const char* pszName);
  WyTraceDataFieldInfo* GetDataFieldInfo(unsigned int uId);
  WyTraceDataFieldInfo* GetDataFieldInfo(const char* pszName);

  // Whether the configuration selects the component of the identifier. The logger keeps the
  // answers: callers ask it.
  bool ComponentSelected(unsigned int uId);

  // Whether the field stands on the "data" line, and whether it has a filter; false for field
  // numbers of 66 and more.
  bool FieldTraced(unsigned int uId) const { return uId < FieldCount && m_fields[uId].bTraced; }
  bool FieldFiltered(unsigned int uId) const { return uId < FieldCount && m_fields[uId].bFiltered; }

  // ---- Values -----------------------------------------------------------------------------------

  // Sets the value of a field and applies the field's filter: false means that the record is to be
  // dropped. Also false for field numbers of 66 and more, and when memory for a long text is
  // lacking. Texts are copied; field 1 (SrcFile) keeps 1023 bytes, others any length; a null text
  // is an empty one.
  //
  // The fields Pid and Tid (2, 3) take their own values with the int overload, and the fields Date,
  // Time and PreciseTime (4, 5, 6) are read from the clock together by the highest-numbered of them
  // that is traced; the int is ignored for these five.
  bool SetFieldValue(unsigned int uId, int iValue);
  bool SetFieldValue(unsigned int uId, unsigned int uValue);
  bool SetFieldValue(unsigned int uId, double dValue);  // six decimals
  bool SetFieldValue(unsigned int uId, const char* pszValue);
  bool SetFieldValue(unsigned int uId, bool bValue);  // "true", "false"

  // Whether the field's present value passes its filter; false without one.
  bool TestDataFilter(unsigned int uId);

  // Sets the fields 4, 5 and 6 from one reading of the clock and applies their filters.
  bool PopulateDateandTime();

  // A printf-formatted text of any length in memory of the record, valid until the next such call
  // or until the record is emptied. Empty for a null format and when formatting fails; cut to 1023
  // bytes when memory is lacking.
  char* FormatTraceMessage(const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));
  char* FormatTraceMessageVA(const char* pszFormat, va_list args)
      __attribute__((format(printf, 2, 0)));

  // ---- The record -------------------------------------------------------------------------------

  // Writes a line of the selected fields into the message; `iMode` is a WyTraceLine. The layout Xml
  // has Values alone: returns false for the others.
  bool AssembleTraceMessage(CWyErrLogMessage* pMsg, int iMode);
  bool Format();  // assembles the values into the record's own message
  bool Log();     // hands that message to the logger; its answer

  // The logger that Log uses; the process logger when none is set.
  void SetLogger(CWyLogger* pLogger) { m_pLogger = pLogger; }
  CWyLogger* GetLogger() const;

  // Empties the record for the next call. Always true.
  bool CleanUpData();
  bool LeaveNoBody();

 private:
  friend class CWyLogger;

  // Values of uFilterOp.
  enum FilterOperator : unsigned int { Equal = 1, NotEqual = 2, Holds = 7, HoldsNot = 8 };

  // What a configuration owns and its records share. The raw pointers m_pszDelimiter, m_pComponents
  // and pszFilter point into it.
  struct WYERRLOG_LOCAL Shared {
    std::optional<std::string> delimiter;
    std::vector<WyTraceComponentInfo> components;
    std::shared_ptr<const std::vector<std::string>> pNames;  // that `components` points at
    std::array<std::string, FieldCount> filters;

    // The logger that the components come from may be gone before the last record is.
    WYERRLOG_LOCAL void TakeNames();
  };

  class WYERRLOG_LOCAL ConfigParser;

  // SetConfiguration without the file: with these tables, nothing selected.
  WYERRLOG_LOCAL bool SetTables(int iFormat, const char* pszDelimiter, int iComponentCount,
                                const WyTraceComponentInfo* pComponentInfo,
                                const WyTraceDataFieldInfo* pDataFieldInfo, bool bUseLocalTime);
  WYERRLOG_LOCAL void TakeOverFields(const WyTraceDataFieldInfo* pFields);
  WYERRLOG_LOCAL void StopSharing();
  WYERRLOG_LOCAL void PointIntoShared();
  WYERRLOG_LOCAL void SetFilter(WyTraceDataFieldInfo& field, FilterOperator filterOp,
                                std::string_view text);
  WYERRLOG_LOCAL WyTraceComponentInfo* FindComponent(std::string_view name);
  WYERRLOG_LOCAL WyTraceDataFieldInfo* FindField(std::string_view name);

  WYERRLOG_LOCAL char* ValueToSet(unsigned int uId);
  WYERRLOG_LOCAL bool StoreText(unsigned int uId, std::string_view text);
  WYERRLOG_LOCAL bool PassesFilter(unsigned int uId);
  WYERRLOG_LOCAL void ClearValues();
  WYERRLOG_LOCAL void ReplaceLongTraceText(char* pszText);

  WYERRLOG_LOCAL void AppendFields(CWyErrLogMessage& msg, int iMode) const;
  // Called by the logger when it installs a configuration.
  WYERRLOG_LOCAL void ChooseDateTimeField();

  // Takes over the configuration unless it has it already.
  void RefreshFrom(const CWyTraceData& master) {
    if (m_uConfiguration != master.m_uConfiguration) *this = master;
  }

  bool m_bValid;
  bool m_bMaster;
  bool m_bUseLocalTime;
  int m_nTraceFormat;
  char* m_pszDelimiter;
  int m_iComponentCount;
  WyTraceComponentInfo* m_pComponents;
  WyTraceDataFieldInfo m_fields[FieldCount];
  CWyErrLogMessage m_message;
  char m_szTraceText[InlineValueSize];
  char* m_pszLongTraceText;
  unsigned int m_auFieldOrder[FieldCount];
  int m_iVersion;
  CWyLogger* m_pLogger;
  unsigned int m_uDateTimeField;

  std::shared_ptr<Shared> m_pShared;
  // Tells configurations apart, of one logger or of several, whatever their versions: a number that
  // no other configuration of this process has. 0 before the first one.
  std::uint64_t m_uConfiguration;
  // The fields set since the record was last emptied, a bit each.
  std::array<std::uint64_t, 2> m_auSet;
};

// ---- Per thread ---------------------------------------------------------------------------------

// Switches tracing off for the calling thread while a record is built and written, so that nothing
// called on the way traces again. It does not count: the end of any holder switches tracing on. The
// setting is a thread-specific value (pthread_setspecific), so a forked child has that of the
// thread that forked.
class WYERRLOG_API CWyTraceSupresser {
 public:
  CWyTraceSupresser() { setTracing(false); }  // switches tracing off
  ~CWyTraceSupresser() { setTracing(true); }  // and on
  CWyTraceSupresser(const CWyTraceSupresser&) = delete;
  CWyTraceSupresser& operator=(const CWyTraceSupresser&) = delete;

  // Whether the calling thread traces: true in a new one. The logger's decisions do not ask this,
  // so that who traces by hand does.
  static bool isTracing();
  // What the objects do, for those who cannot hold one.
  static void setTracing(bool bTracing);
};

// One opaque pointer per thread for the host, the context of the request it is serving. The library
// never looks at it and does not own it. A forked child has that of the thread that forked.
class WYERRLOG_API CWyRequestContext {
 public:
  static void* GetRequestContextData();            // null until it is set
  static void SetRequestContextData(void* pData);  // null clears it
};

#endif
