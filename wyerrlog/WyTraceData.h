#ifndef WYERRLOG_WYTRACEDATA_H
#define WYERRLOG_WYTRACEDATA_H

// The trace configuration and the trace record, which are one class: a logger's installed
// configuration is a CWyTraceData, and each thread that traces fills a copy of it with the values
// of its record.
//
// A trace configuration file selects components, data fields in their order, and filters:
//
//   version: 1.1
//   components: Login_Logout/Authentication, IsAuthorized
//   data: Date, PreciseTime, SrcFile, User, Message
//   User: ==alice

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
class CWyTextBuffer;
class CWyTraceConfigObserver;

// One component or sub-component that a trace configuration file can select. The logger's own
// tables are read with CWyLogger::GetAvailableComponents.
struct WyTraceComponentInfo {
  bool bTraced;         // selected
  unsigned int uId;     // component number in bits 24 to 31, sub-component number in bits 16 to 23
  const char* pszName;  // "Login_Logout", "Login_Logout/Authentication"; owned by the logger
};

// One of the 66 data fields: its configuration, and its value in a record. The record owns the
// value; the configuration, which its records share, owns the filter text; names are never freed.
struct WyTraceDataFieldInfo {
  bool bTraced;            // is on the "data" line
  bool bFiltered;          // has a filter
  unsigned int uId;        // field number, 0 to 65
  const char* pszName;     // from the known data fields
  unsigned int uWidth;     // column width, bytes
  char* pszFilter;         // filter text, null without a filter
  unsigned int uFilterOp;  // 1 "==", 2 "!=", 7 "@@" (holds), 8 "!@" (does not hold)
  char* pszValue;          // the value: szValue, or heap memory for a longer one
  bool bValueAllocated;    // pszValue is heap memory
  char szValue[1024];      // texts of up to 1023 bytes
  // The length of the value that SetFieldValue has stored. A host may write to the value itself:
  // then the text up to its zero byte counts.
  unsigned int uLength;
};

// The lines that CWyTraceData::AssembleTraceMessage writes: a record, or one of the header lines
// above the records.
namespace WyTraceLine {
enum Number : int {
  Values = 0,  // of the fields
  Names = 1,   // of the fields
  Dashes = 2,  // as long as the names or, in the layout FixedWidth, the columns
  EqualsSigns = 3,
};
}  // namespace WyTraceLine

// One trace call, once the logger has decided that its component is traced:
//
//   CWyTraceData* pData = nullptr;
//   if (CWyTraceSupresser::isTracing() && pLogger->ShouldTraceAlloc(uComponentId, &pData)) {
//     CWyTraceSupresser suppress;
//     bool bWanted = !pData->FieldTraced(WyField::User) ||
//                    pData->SetFieldValue(WyField::User, "alice");
//     ... further fields, until one returns false: its filter drops the record
//     if (bWanted && pData->Format()) pData->Log();
//     pData->LeaveNoBody();
//   }
//
// WY_TRACE (WyLog.h) does all that in one statement, and empties the record also if an argument or
// the host's callback throws.
//
// A record belongs to one thread at a time and takes no lock. It shares the texts and tables of its
// configuration, which live until the last record that uses them is destroyed or takes over another
// configuration, whatever happens to the logger's configuration in between. A forked child goes on
// with the record of the thread that forked; it never uses those of the parent's other threads.
//
// An object has about 70 KiB, most of it room for values: one on the stack needs that much of the
// thread's stack. If memory allocation fails, operations return false. Only Log can throw: what a
// host's output throws.
class WYERRLOG_API CWyTraceData {
 public:
  static constexpr unsigned int FieldCount = WyField::Count;  // of configurations and records
  static constexpr int InlineValueSize = 1024;                // bytes, with the terminator

  CWyTraceData();
  virtual ~CWyTraceData();
  CWyTraceData(const CWyTraceData&) = delete;
  // Takes over the configuration of another object, and its logger if it has one; this object keeps
  // its values. The tables are shared, not copied.
  CWyTraceData& operator=(const CWyTraceData& master);

  // ---- Configuration ----------------------------------------------------------------------------

  // Makes this new object a configuration. `iFormat` is a WyTraceLayout, `pszDelimiter` the
  // separator of the layout Delimited or null. The component table is copied with its names;
  // `pDataFieldInfo` has 66 entries. Returns false for null tables and a negative count, if memory
  // allocation fails, and as ReadConfigFile does. CWyLogger::EnableTrace calls it with the logger's
  // tables.
  bool SetConfiguration(int iFormat, const char* pszDelimiter, const char* pszConfigFile,
                        int iComponentCount, WyTraceComponentInfo* pComponentInfo,
                        WyTraceDataFieldInfo* pDataFieldInfo, bool bUseLocalTime);

  // Reads a trace configuration file into the tables. Returns false if it cannot be opened
  // (open(2), with the reason in errno), and if its first two statements are not "components" and
  // "data"; the statements before the wrong one are applied all the same. Unknown names and filters
  // without a known operator are ignored. A read error ends the file. Lines are parsed in pieces of
  // 8092 bytes. Objects that took this configuration over before keep the one they have.
  bool ReadConfigFile(const char* pszConfigFile);

  // Selects a component with all its sub-components, or one sub-component, for this object and
  // those that share its configuration. An unknown identifier selects nothing. Returns false
  // without a table. Requires: no other thread uses the configuration.
  bool MarkComponentTraced(unsigned int uId);

  // Return an entry by identifier or by exact name; null if there is none. The entry belongs to the
  // object, and is valid until this takes over or reads another configuration or is destroyed.
  WyTraceComponentInfo* GetComponentInfo(unsigned int uId);
  WyTraceComponentInfo* GetComponentInfo(const char* pszName);
  WyTraceDataFieldInfo* GetDataFieldInfo(unsigned int uId);
  WyTraceDataFieldInfo* GetDataFieldInfo(const char* pszName);

  // Returns true if the configuration selects the component of the identifier. A search through the
  // table: callers ask the logger, which caches the results.
  bool ComponentSelected(unsigned int uId);

  // Return whether the field is on the "data" line, and whether it has a filter; false for field
  // numbers of 66 and more.
  bool FieldTraced(unsigned int uId) const { return uId < FieldCount && m_fields[uId].bTraced; }
  bool FieldFiltered(unsigned int uId) const { return uId < FieldCount && m_fields[uId].bFiltered; }

  // ---- Values -----------------------------------------------------------------------------------

  // Sets the value of a field and applies the field's filter. Returns false if the value does not
  // pass: the caller then drops the record. Returns false also for field numbers of 66 and more,
  // and if memory allocation for a long text fails. Texts are copied; field 1 (SrcFile) keeps 1023
  // bytes, others any length; a null text is an empty one. A field that the configuration does not
  // show can be set; its filter counts, and the value is not written.
  //
  // The fields Pid and Tid (2, 3) take their own values with the int overload, and the fields Date,
  // Time and PreciseTime (4, 5, 6) are read from the clock together by the highest-numbered of them
  // that is traced; the int is ignored for these five.
  bool SetFieldValue(unsigned int uId, int iValue);
  bool SetFieldValue(unsigned int uId, unsigned int uValue);
  bool SetFieldValue(unsigned int uId, double dValue);  // six decimals
  bool SetFieldValue(unsigned int uId, const char* pszValue);
  bool SetFieldValue(unsigned int uId, bool bValue);  // "true", "false"

  // The same as SetFieldValue with the text of a number of any size, for layouts that distinguish
  // numbers from texts. A text that is no number is written as a text.
  bool SetFieldNumber(unsigned int uId, const char* pszNumber);

  // Returns true if the field's present value passes its filter; false without a filter.
  bool TestDataFilter(unsigned int uId);

  // Sets the fields 4, 5 and 6 from one reading of the clock (gettimeofday(2)) and applies their
  // filters. Returns false if one does not pass, and if the time cannot be read or converted.
  bool PopulateDateandTime();

  // Returns a printf-formatted text of any length. The record owns it; it is valid until the next
  // such call or until the record is emptied. Empty for a null format and if formatting fails; cut
  // to 1023 bytes if memory allocation fails. Never null. Meant as the argument of SetFieldValue:
  //
  //   pData->SetFieldValue(WyField::Message, pData->FormatTraceMessage("%d rules", iRules));
  char* FormatTraceMessage(const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));
  char* FormatTraceMessageVA(const char* pszFormat, va_list args)
      __attribute__((format(printf, 2, 0)));

  // ---- The record -------------------------------------------------------------------------------

  // Appends a line of the selected fields to the message; `iMode` is a WyTraceLine. Returns false
  // for a null message, in the layouts Xml and Json for every line but Values, and if memory
  // allocation fails.
  bool AssembleTraceMessage(CWyErrLogMessage* pMsg, int iMode);
  bool Format();  // appends the values to the record's own message
  bool Log();     // CWyLogger::LogTraceMsg with that message

  // The logger that Log uses, which the host keeps alive; the process logger if none is set.
  void SetLogger(CWyLogger* pLogger) { m_pLogger = pLogger; }
  CWyLogger* GetLogger() const;

  // Empty the record for the next call, and free the memory of long values. The two are the same.
  // Always return true.
  bool CleanUpData();
  bool LeaveNoBody();

 private:
  friend class CWyLogger;
  friend class CWyTraceConfigEntries;
  friend class CWyTraceConfigReading;

  // What a configuration and its records share. The raw pointers m_pszDelimiter, m_pComponents and
  // pszFilter point into it.
  struct WYERRLOG_LOCAL Shared {
    std::optional<std::string> delimiter;
    std::vector<WyTraceComponentInfo> components;
    std::shared_ptr<const std::vector<std::string>> pNames;  // that `components` points at
    std::array<std::string, FieldCount> filters;

    // A field of the "data" line.
    struct ShownField {
      unsigned int uId;       // its number
      unsigned int uWidth;    // of its column
      std::string strBefore;  // the text before its value: "][" or, in Xml, "</Before>\n\t<Name>"
    };
    // In their order.
    std::vector<ShownField> shown;
    std::string strEnd;            // the text behind the last value; empty in other layouts
    std::size_t uColumnsSize = 0;  // the length of a record in the layout FixedWidth
    std::size_t uTextsSize = 0;    // of the texts above

    // Copies the names: the logger that the components come from may be destroyed before the last
    // record is.
    WYERRLOG_LOCAL void TakeNames();
  };

  // SetConfiguration without the file: with these tables, nothing selected.
  WYERRLOG_LOCAL bool SetTables(int iFormat, const char* pszDelimiter, int iComponentCount,
                                const WyTraceComponentInfo* pComponentInfo,
                                const WyTraceDataFieldInfo* pDataFieldInfo, bool bUseLocalTime);
  WYERRLOG_LOCAL bool ReadConfigFile(const char* pszConfigFile, CWyTraceConfigObserver* pObserver);
  WYERRLOG_LOCAL void TakeOverFields(const WyTraceDataFieldInfo* pFields);
  WYERRLOG_LOCAL void StopSharing();
  WYERRLOG_LOCAL void PointIntoShared();
  WYERRLOG_LOCAL void SetFilter(WyTraceDataFieldInfo& field, unsigned int uOperator,
                                std::string_view text);
  WYERRLOG_LOCAL WyTraceComponentInfo* FindComponent(std::string_view name);
  WYERRLOG_LOCAL WyTraceDataFieldInfo* FindField(std::string_view name);

  WYERRLOG_LOCAL WyTraceDataFieldInfo* FieldToSet(unsigned int uId);
  WYERRLOG_LOCAL bool StoreText(unsigned int uId, std::string_view text);
  WYERRLOG_LOCAL static bool StoreLongText(WyTraceDataFieldInfo& field, std::string_view text);
  WYERRLOG_LOCAL void MarkNumber(unsigned int uId);
  WYERRLOG_LOCAL bool PassesFilter(unsigned int uId);
  WYERRLOG_LOCAL void ClearValues();
  WYERRLOG_LOCAL void ReplaceLongTraceText(char* pszText);

  WYERRLOG_LOCAL void AppendFields(CWyErrLogMessage& msg, int iMode) const;
  // What separates or encloses the values in this layout.
  WYERRLOG_LOCAL const char* TraceTag() const {
    if (m_nTraceFormat == WyTraceLayout::Delimited) return m_pszDelimiter;
    return m_nTraceFormat == WyTraceLayout::Xml ? XmlElement : nullptr;
  }
  WYERRLOG_LOCAL bool AssembleJson(CWyErrLogMessage& msg, int iMode) const;
  static constexpr unsigned int ColumnGap = 2;  // blanks between the columns of FixedWidth
  static constexpr const char* XmlElement = "TraceMessage";
  WYERRLOG_LOCAL void AppendColumns(CWyErrLogMessage& msg) const;
  WYERRLOG_LOCAL void AppendValues(CWyTextBuffer& text) const;
  WYERRLOG_LOCAL char* WriteValues(char* p, const char* pLimit) const;
  WYERRLOG_LOCAL std::size_t SizeOfValues() const;
  WYERRLOG_LOCAL void ListShownFields();
  WYERRLOG_LOCAL void ListTexts();
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
  // Identifies the configuration, of this logger or another, whatever its version: a number that no
  // other configuration of this process has. 0 before the first one.
  std::uint64_t m_uConfiguration;
  // A bit for each field.
  using FieldBits = std::array<std::uint64_t, 2>;
  WYERRLOG_LOCAL static bool HasBit(const FieldBits& bits, unsigned int uId) {
    return (bits[uId / 64] >> (uId % 64) & 1) != 0;
  }
  // The fields set since the record was last emptied.
  FieldBits m_auSet;
  // Those of them that were set as a number, or as true or false, for the layout Json.
  FieldBits m_auNumber;
};

// ---- Per thread ---------------------------------------------------------------------------------

// Switches tracing off for the calling thread while a record is built and written, so that nothing
// called on the way traces again. Holders are not counted: the end of any holder switches tracing
// on. A forked child has the setting of the thread that forked.
class WYERRLOG_API CWyTraceSupresser {
 public:
  CWyTraceSupresser() { setTracing(false); }  // switches tracing off
  ~CWyTraceSupresser() { setTracing(true); }  // and on
  CWyTraceSupresser(const CWyTraceSupresser&) = delete;
  CWyTraceSupresser& operator=(const CWyTraceSupresser&) = delete;

  // Returns true if the calling thread traces, as a new thread does. The logger's decisions do not
  // ask this: a caller that traces without WY_TRACE does.
  static bool isTracing();
  // The operation of constructor and destructor, for callers that cannot hold an object for a
  // scope.
  static void setTracing(bool bTracing);
};

// One opaque pointer per thread for the host, the context of the request that the thread serves.
// The library does not dereference it and does not own it: the host clears it before it frees the
// context. A forked child has that of the thread that forked. A failure to store it (no memory) is
// not reported.
//
//   CWyRequestContext::SetRequestContextData(&request);
//   ...
//   auto* pRequest = static_cast<Request*>(CWyRequestContext::GetRequestContextData());
class WYERRLOG_API CWyRequestContext {
 public:
  static void* GetRequestContextData();            // null until it is set
  static void SetRequestContextData(void* pData);  // null clears it
};

#endif
