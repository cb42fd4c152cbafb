#ifndef WYERRLOG_TOOLS_WYMSGC_HANDWRITTEN_H
#define WYERRLOG_TOOLS_WYMSGC_HANDWRITTEN_H

// What can be read from the header and the source of a component that was written by hand. It is
// not a parser of C++: it finds the calls and the tables that every such component has.

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/WyMessageId.h"

struct WyHandWrittenMessage {
  unsigned int uNumber;
  std::string_view name;
  std::string_view severity;  // "Information"
  std::string_view comment;   // on the line of its declaration
};

struct WyHandWrittenSub {
  unsigned int uNumber;
  std::string_view cpp;
};

struct WyHandWrittenHeader {
  std::string_view name;  // of the namespace
  unsigned int uComponent = 0;
  std::vector<WyHandWrittenSub> subComponents;
  std::vector<WyHandWrittenMessage> messages;
};

struct WyHandWrittenSource {
  std::string strBundle, strName, strDescription;
  std::vector<std::vector<std::string>> subComponents;  // abbreviation, name, description
  std::map<std::string, std::string> textsByName;       // rows {Namespace::Name, "text"}
  std::vector<std::string> texts;                       // rows "text", from number 1
};

WyHandWrittenHeader ReadHandWrittenHeader(std::string_view text);
WyHandWrittenSource ReadHandWrittenSource(std::string_view text);

#endif
