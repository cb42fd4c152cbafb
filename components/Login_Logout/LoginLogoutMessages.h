#ifndef COMPONENTS_LOGIN_LOGOUT_LOGINLOGOUTMESSAGES_H
#define COMPONENTS_LOGIN_LOGOUT_LOGINLOGOUTMESSAGES_H

// Messages and sub-components of "Login_Logout": who a user is. The texts are in the catalogs of
// the bundle "login"; the comments here name their arguments.

#include "wyerrlog/WyMessageId.h"

namespace LoginLogout {

enum ComponentId : unsigned int {
  Component = WyComponentId(3),
  Authentication = WyComponentId(3, 1),
  ReceiveRequest = WyComponentId(3, 2),
  SendResponse = WyComponentId(3, 3),
};

enum Message : unsigned int {
  LoginRequired = WyMessageId(Component, WySeverity::Information, 1),  // client, resource
  UnreadableLogin = WyMessageId(Component, WySeverity::Warning, 2),    // client
  UnknownUser = WyMessageId(Component, WySeverity::Warning, 3),        // user, client
  WrongPassword = WyMessageId(Component, WySeverity::Warning, 4),      // user, client
};

}  // namespace LoginLogout

#endif
