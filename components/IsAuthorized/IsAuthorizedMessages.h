#ifndef COMPONENTS_ISAUTHORIZED_ISAUTHORIZEDMESSAGES_H
#define COMPONENTS_ISAUTHORIZED_ISAUTHORIZEDMESSAGES_H

// Messages and sub-components of "IsAuthorized": what a user may do, and the agent that asks. The
// texts are in the catalogs of the bundle "isauth"; the comments here name their arguments.

#include "wyerrlog/WyMessageId.h"

namespace IsAuthorized {

enum ComponentId : unsigned int {
  Component = WyComponentId(4),
  ReceiveRequest = WyComponentId(4, 1),
  SendResponse = WyComponentId(4, 2),
};

enum Message : unsigned int {
  AgentStarted = WyMessageId(Component, WySeverity::Information, 1),  // address, folder
  AgentStopped = WyMessageId(Component, WySeverity::Information, 2),  // address
  AgentCannotListen = WyMessageId(Component, WySeverity::Error, 3),   // address, reason

  PolicyLoaded = WyMessageId(Component, WySeverity::Information, 4),   // file, users, rules
  PolicyUnreadable = WyMessageId(Component, WySeverity::Error, 5),     // file, reason
  PolicyNotUnderstood = WyMessageId(Component, WySeverity::Error, 6),  // file, line, word

  NotPermitted = WyMessageId(Component, WySeverity::Warning, 7),     // user, action, resource, rule
  NoRule = WyMessageId(Component, WySeverity::Warning, 8),           // user, action, resource
  InvalidPath = WyMessageId(Component, WySeverity::Warning, 9),      // client, resource
  InvalidRequest = WyMessageId(Component, WySeverity::Warning, 10),  // client, status

  NotFound = WyMessageId(Component, WySeverity::Warning, 11),    // user, resource
  ActionFailed = WyMessageId(Component, WySeverity::Error, 12),  // user, action, resource, reason
  AuditFailed = WyMessageId(Component, WySeverity::Error, 13),   // resource

  TracingOn = WyMessageId(Component, WySeverity::Information, 14),   // configuration, trace file
  TracingOff = WyMessageId(Component, WySeverity::Information, 15),  // none
  TracingFailed = WyMessageId(Component, WySeverity::Error, 16),     // configuration, trace file
};

}  // namespace IsAuthorized

#endif
