// Decides requests by the policy: messages say why one is refused, traces who was asked and when.

#include "AccessControl.h"

#include <wyerrlog/WyLog.h>

#include "Credentials.h"
#include "IsAuthorizedMessages.h"
#include "LoginLogoutMessages.h"
#include "RequestText.h"

namespace {

const char* LoginText(LoginResult result) {
  if (result == LoginResult::Accepted) return "accepted";
  return result == LoginResult::WrongPassword ? "wrong password" : "unknown user";
}

}  // namespace

Decision AccessControl::Decide(AccessRequest& request, const std::string& strAuthorization) const {
  if (!IsValidResource(request.strResource)) {
    WyLog(m_log.LoggerOf(request), IsAuthorized::InvalidPath, Who(Client(request), request),
          Resource(request));
    return Decision::Invalid;
  }
  const PolicyRule* pRule = m_policy.FindRule(request.strMethod, request.strResource);
  if (pRule == nullptr) {
    WyLog(m_log.LoggerOf(request), IsAuthorized::NoRule, Who(User(request), request),
          Method(request), Resource(request));
    return Decision::Deny;
  }
  request.iRule = pRule->iNumber;
  if (!pRule->bForAnyone) {
    if (!Authenticate(request, strAuthorization)) {
      return Decision::Unauthenticated;
    }
  }
  return Authorize(request, *pRule);
}

bool AccessControl::Authenticate(AccessRequest& request, const std::string& strHeader) const {
  WY_TRACE(m_log.LoggerOf(request), LoginLogout::ReceiveRequest)
      .With(FieldsOf{request})
      .Message("Login requested");
  const bool bAccepted = CheckLogin(request, strHeader);
  WY_TRACE(m_log.LoggerOf(request), LoginLogout::SendResponse)
      .With(FieldsOf{request})
      .Set(WyField::Result, bAccepted ? "accepted" : "refused")
      .Set(WyField::ResponseTime, MillisecondsSince(request.arrival))
      .Message("Login answered");
  return bAccepted;
}

bool AccessControl::CheckLogin(AccessRequest& request, const std::string& strHeader) const {
  if (strHeader.empty()) {
    WyLog(m_log.LoggerOf(request), LoginLogout::LoginRequired, Who(Client(request), request),
          Resource(request));
    return false;
  }
  const std::optional<Credentials> credentials = ReadBasicCredentials(strHeader);
  if (!credentials) {
    WyLog(m_log.LoggerOf(request), LoginLogout::UnreadableLogin, Who(Client(request), request));
    return false;
  }
  request.strUser = credentials->strUser;
  const LoginResult result = m_policy.CheckLogin(credentials->strUser, credentials->strPassword);
  WY_TRACE(m_log.LoggerOf(request), LoginLogout::Authentication)
      .With(FieldsOf{request})
      .Set(WyField::AuthScheme, "Basic")
      .Set(WyField::AuthReason, LoginText(result))
      .Message("Name and password checked: %s", LoginText(result));
  if (result == LoginResult::Accepted) return true;
  const bool bKnown = result == LoginResult::WrongPassword;
  WyLog(m_log.LoggerOf(request), bKnown ? LoginLogout::WrongPassword : LoginLogout::UnknownUser,
        Who(User(request), request), Client(request));
  return false;
}

Decision AccessControl::Authorize(const AccessRequest& request, const PolicyRule& rule) const {
  WY_TRACE(m_log.LoggerOf(request), IsAuthorized::ReceiveRequest)
      .With(FieldsOf{request})
      .Message("Asked whether rule %d permits it", request.iRule);
  const bool bPermitted = m_policy.Permits(rule, request.strUser);
  const Decision decision = bPermitted ? Decision::Allow : Decision::Deny;
  if (!bPermitted) {
    WyLog(m_log.LoggerOf(request), IsAuthorized::NotPermitted, Who(User(request), request),
          Method(request), Resource(request), request.iRule);
  }
  WY_TRACE(m_log.LoggerOf(request), IsAuthorized::SendResponse)
      .With(FieldsOf{request})
      .Set(WyField::Result, DecisionText(decision))
      .Set(WyField::ResponseTime, MillisecondsSince(request.arrival))
      .Message("Decided");
  return decision;
}
