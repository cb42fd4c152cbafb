// The component Login_Logout: row i of the table is message number i + 1, and the texts of the keys
// are in the catalogs login*.properties.

#include "components/Login_Logout/LoginLogoutMessages.h"
#include "components/TableComponent.h"

namespace {

constexpr WyMessageRow Messages[] = {
    {LoginLogout::LoginRequired, "login-00001"},
    {LoginLogout::UnreadableLogin, "login-00002"},
    {LoginLogout::UnknownUser, "login-00003"},
    {LoginLogout::WrongPassword, "login-00004"},
};
static_assert(AreNumberedFromOne(Messages));

constexpr WyErrSubComponentInfo SubComponents[] = {
    {"Auth", "Authentication", "Checks a user's name and password"},
    {"Receive", "Receive_Request", "Login requests as they arrive"},
    {"Send", "Send_Response", "The answers to login requests"},
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static CWyTableComponent s_component(LoginLogout::Component, "login", "Login_Logout",
                                       "Login and logout of users", Messages, SubComponents);
  return &s_component;
}
