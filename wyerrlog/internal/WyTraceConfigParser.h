#ifndef WYERRLOG_INTERNAL_WYTRACECONFIGPARSER_H
#define WYERRLOG_INTERNAL_WYTRACECONFIGPARSER_H

// The parser of trace configuration files. It enters what each line selects into its target as it
// reads the line, and reports each of its decisions to an observer, if there is one: what it takes,
// and what it passes over in silence. It knows the configuration by that target alone.

#include <cstddef>
#include <span>
#include <string_view>

#include "wyerrlog/WyFileUtil.h"
#include "wyerrlog/WyTraceData.h"
#include "wyerrlog/internal/WyTraceFilter.h"

class CWyLineTokens;

enum class WyTraceStatement { Components, Data, Filters };

// One decision. The views and pointers are valid during the call that reports it.
struct WyTraceDecision {
  enum Kind {
    Version,    // word: the value; the keyword, with an empty text, if there is none; bTaken: 1.1
    Refused,    // word: what stands in the place of the keyword `expected`; the parsing ends
    Statement,  // word: the keyword; `expected` says which statement begins
    Component,  // word: a name; pComponent: its entry, now selected; null if unknown
    Field,      // word: a name; pField: null if unknown; bTaken: not named before
    Filter,     // word: a name; pField: null if unknown; uOperator: 0 if there is none
    Added,      // pComponent: selected because pBy is, and the file is not of version 1.1
    LongLine,   // the piece is the rest of a line longer than the reader's limit
    ZeroByte,   // word: what stands behind a zero byte on the line, and is not read
    End,        // of the file; bTaken: false after a read error
  };

  Kind kind;
  std::string_view word;
  std::string_view text;  // of a version; of a filter, without an operator what stands there
  WyTraceStatement expected = WyTraceStatement::Components;
  const WyTraceComponentInfo* pComponent = nullptr;
  const WyTraceComponentInfo* pBy = nullptr;
  const WyTraceDataFieldInfo* pField = nullptr;
  unsigned int uOperator = 0;
  bool bTaken = true;

  // Where the words stand.
  unsigned int uLine = 0;         // from 1; 0: at no line
  unsigned int uPieceColumn = 0;  // of the first byte of `piece`, from 1
  std::string_view piece;         // of the line, that is parsed

  // The column, in bytes, of a view into the piece.
  unsigned int ColumnOf(std::string_view part) const {
    return uPieceColumn + static_cast<unsigned int>(part.data() - piece.data());
  }
};

// The tables live until the parsing has ended, and contain what was selected so far.
class CWyTraceConfigObserver {
 public:
  virtual ~CWyTraceConfigObserver() = default;
  virtual void Begin(std::span<const WyTraceComponentInfo> components,
                     std::span<const WyTraceDataFieldInfo> fields) = 0;
  virtual void Decided(const WyTraceDecision& decision) = 0;
};

// What the parser enters its selections into.
class CWyTraceConfigTarget {
 public:
  virtual ~CWyTraceConfigTarget() = default;
  virtual std::span<const WyTraceComponentInfo> Components() const = 0;
  virtual std::span<const WyTraceDataFieldInfo> Fields() const = 0;
  // Null if there is no such name.
  virtual const WyTraceComponentInfo* FindComponent(std::string_view name) const = 0;
  virtual const WyTraceDataFieldInfo* FindField(std::string_view name) const = 0;

  // With a component its sub-components are selected.
  virtual void SelectComponent(const WyTraceComponentInfo& component) = 0;
  // Shows the field behind those selected before. Returns false if it is one of them.
  virtual bool SelectField(const WyTraceDataFieldInfo& field) = 0;
  // Replaces the field's filter.
  virtual void SetFilter(const WyTraceDataFieldInfo& field, WyTraceFilter::Operator op,
                         std::string_view text) = 0;
};

class CWyTraceConfigParser {
 public:
  // Bytes of a line that are parsed at a time; a longer line is parsed in pieces. The number (not
  // 8192) is part of the file format: it decides where a long line is cut.
  static constexpr int PieceSize = 8092;

  CWyTraceConfigParser(CWyTraceConfigTarget& target, CWyTraceConfigObserver* pObserver)
      : m_target(target), m_pObserver(pObserver) {}

  // Reads the file to its end. Returns false if a line is not what must stand there.
  bool Read(CWyFile& file);

 private:
  bool ParsePiece(std::string_view piece);
  bool ParseLine(std::string_view line);
  void ParseVersion(std::string_view keyword, CWyLineTokens& tokens);
  bool ParseStatement(std::string_view keyword, CWyLineTokens& tokens);
  void SelectComponents(CWyLineTokens& tokens);
  void SelectFields(CWyLineTokens& tokens);
  void AddFilter(std::string_view name, std::string_view text);
  void Finish();
  void Report(WyTraceDecision decision) const;

  CWyTraceConfigTarget& m_target;
  CWyTraceConfigObserver* const m_pObserver;
  WyTraceStatement m_expected = WyTraceStatement::Components;
  bool m_bExpand = true;

  // The piece that is parsed.
  std::string_view m_piece;
  unsigned int m_uLine = 0;
  unsigned int m_uPieceColumn = 1;
  bool m_bLineGoesOn = false;
};

#endif
