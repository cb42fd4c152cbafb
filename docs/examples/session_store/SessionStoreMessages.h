#ifndef SESSIONSTOREMESSAGES_H
#define SESSIONSTOREMESSAGES_H

#include <wyerrlog/WyMessageId.h>

namespace SessionStore {

// Component number 12, and its sub-component number 1.
enum ComponentId : unsigned int {
  Component = WyComponentId(12),
  Cleanup = WyComponentId(12, 1),
};

// The comments name the arguments.
enum Message : unsigned int {
  Opened = WyMessageId(Component, WySeverity::Information, 1),  // {0} file, {1} sessions
  Refused = WyMessageId(Component, WySeverity::Warning, 2),     // {0} user, {1} limit
  WriteFailed = WyMessageId(Component, WySeverity::Error, 3),   // {0} file, {1} reason
};

}  // namespace SessionStore

#endif
