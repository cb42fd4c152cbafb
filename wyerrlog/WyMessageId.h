#ifndef WYERRLOG_WYMESSAGEID_H
#define WYERRLOG_WYMESSAGEID_H

// Identifiers of messages and of traced components: composed from numbers and split into them, so
// that every component names its own in one header and no caller shifts bits:
//
//   bits 24 to 31  component number, the component's row in the known component table + 1
//   bits 16 to 23  sub-component number, from 1; 0 for the component itself
//   bits 14 and 15 severity of a message
//   bits 0 to 13   message number within the component, from 1
//
// A component's header then reads
//
//   enum ComponentId : unsigned int { Component = WyComponentId(3), Parser = WyComponentId(3, 1) };
//   enum Message : unsigned int {
//     FileRefused = WyMessageId(Component, WySeverity::Warning, 1),  // {0} file, {1} reason
//   };
//
// Everything is a constant expression without state. Numbers out of range are not checked: their
// upper bits would change another part of the identifier.

// The severity of a message: bits 14 and 15. In lines of the error log they appear as "INVALID
// MESSAGE TYPE", "INFO", "WARNING" and "ERROR". The component chooses it, not the caller that logs.
namespace WySeverity {
enum Number : unsigned int {
  Invalid = 0,
  Information = 1,
  Warning = 2,
  Error = 3,
};
}  // namespace WySeverity

// Returns the identifier of the component of that number, 1 to 255, or of its sub-component of that
// number, 1 to 255: what WY_TRACE and CWyLogger::TraceEnabled take.
constexpr unsigned int WyComponentId(unsigned int uComponent, unsigned int uSubComponent = 0) {
  return (uComponent << 24) | (uSubComponent << 16);
}

// Returns the identifier of a message, by its number, 1 to 16383, within the component with the
// identifier `uComponentId`.
constexpr unsigned int WyMessageId(unsigned int uComponentId, WySeverity::Number severity,
                                   unsigned int uNumber) {
  return uComponentId | (static_cast<unsigned int>(severity) << 14) | uNumber;
}

// Returns the number of the component, 1 to 255, from any identifier.
constexpr unsigned int WyComponentNumber(unsigned int uId) { return uId >> 24; }

// Returns the number of the sub-component; 0 for the component itself.
constexpr unsigned int WySubComponentNumber(unsigned int uId) { return (uId >> 16) & 0xFF; }

// Returns the severity of a message.
constexpr WySeverity::Number WyMessageSeverity(unsigned int uMessageId) {
  return static_cast<WySeverity::Number>((uMessageId >> 14) & 3);
}

// Returns the number of a message within its component, 1 to 16383.
constexpr unsigned int WyMessageNumber(unsigned int uMessageId) { return uMessageId & 0x3FFF; }

#endif
