// Passes the calls on to Policy. No exception leaves a function: a login or a path that there is no
// memory for is refused.

#include "agent_policy.h"

#include <cstdio>
#include <exception>
#include <memory>

#include "Credentials.h"
#include "IsAuthorizedMessages.h"
#include "LoginLogoutMessages.h"
#include "Policy.h"

constexpr bool IsSame(unsigned int uDefined, unsigned int uInC) { return uDefined == uInC; }
static_assert(IsSame(IsAuthorized::ReceiveRequest, ISAUTH_RECEIVE_REQUEST));
static_assert(IsSame(IsAuthorized::SendResponse, ISAUTH_SEND_RESPONSE));
static_assert(IsSame(IsAuthorized::NotPermitted.Id, ISAUTH_NOT_PERMITTED));
static_assert(IsSame(IsAuthorized::NoRule.Id, ISAUTH_NO_RULE));
static_assert(IsSame(IsAuthorized::InvalidPath.Id, ISAUTH_INVALID_PATH));
static_assert(IsSame(IsAuthorized::AuditFailed.Id, ISAUTH_AUDIT_FAILED));
static_assert(IsSame(IsAuthorized::TracingOn.Id, ISAUTH_TRACING_ON));
static_assert(IsSame(IsAuthorized::TracingOff.Id, ISAUTH_TRACING_OFF));
static_assert(IsSame(IsAuthorized::TracingFailed.Id, ISAUTH_TRACING_FAILED));
static_assert(IsSame(LoginLogout::Authentication, LOGIN_AUTHENTICATION));
static_assert(IsSame(LoginLogout::LoginRequired.Id, LOGIN_REQUIRED));
static_assert(IsSame(LoginLogout::UnreadableLogin.Id, LOGIN_UNREADABLE));
static_assert(IsSame(LoginLogout::UnknownUser.Id, LOGIN_UNKNOWN_USER));
static_assert(IsSame(LoginLogout::WrongPassword.Id, LOGIN_WRONG_PASSWORD));

struct agent_policy {
  Policy policy;
};

agent_policy* agent_policy_load(const char* file, char* error, size_t size) try {
  auto pPolicy = std::make_unique<agent_policy>();
  PolicyError found;
  if (pPolicy->policy.Load(file, found)) return pPolicy.release();
  if (found.iLine == 0) {
    std::snprintf(error, size, "%s: %s", file, found.strText.c_str());
  } else {
    std::snprintf(error, size, "%s:%d: \"%s\" is not understood", file, found.iLine,
                  found.strText.c_str());
  }
  return nullptr;
} catch (const std::exception& exception) {
  std::snprintf(error, size, "%s: %s", file, exception.what());
  return nullptr;
}

void agent_policy_free(agent_policy* policy) { delete policy; }

int agent_policy_rule(const agent_policy* policy, const char* method, const char* path) try {
  if (!IsValidResource(path)) return -1;
  const PolicyRule* const pRule = policy->policy.FindRule(method, path);
  return pRule != nullptr ? pRule->iNumber : 0;
} catch (const std::exception&) {
  return 0;
}

int agent_policy_permits(const agent_policy* policy, int rule, const char* user) try {
  const PolicyRule& found = policy->policy.Rule(rule);
  return user != nullptr ? policy->policy.Permits(found, user) : found.bForAnyone;
} catch (const std::exception&) {
  return 0;
}

enum agent_login agent_policy_login(const agent_policy* policy, const char* authorization,
                                    char* user, size_t size) try {
  const auto credentials = ReadBasicCredentials(authorization);
  if (!credentials || credentials->strUser.size() >= size) return AGENT_LOGIN_UNREADABLE;
  std::snprintf(user, size, "%s", credentials->strUser.c_str());
  switch (policy->policy.CheckLogin(credentials->strUser, credentials->strPassword)) {
    case LoginResult::Accepted:
      return AGENT_LOGIN_ACCEPTED;
    case LoginResult::UnknownUser:
      return AGENT_LOGIN_UNKNOWN_USER;
    case LoginResult::WrongPassword:
      break;
  }
  return AGENT_LOGIN_WRONG_PASSWORD;
} catch (const std::exception&) {
  return AGENT_LOGIN_UNREADABLE;
}
