#include <wyerrlog/WyLogger.h>

#include "AgentLog.h"
#include "TraceFields.h"
#include "components/IsAuthorized/IsAuthorizedMessages.h"
#include "components/Login_Logout/LoginLogoutMessages.h"

// The trace half of AgentLog.

namespace {

// One trace call on this thread. While it lives, nothing that is called on the way traces again.
class TraceRecord {
 public:
  TraceRecord(CWyTraceData& data, const AccessRequest& request, const CallSite& where)
      : m_data(data) {
    Set(TraceField::SrcFile, CWyErrLogMessage::PathnameFindFilePart(where.pszFile));
    Set(TraceField::Function, where.pszFunction);
    Set(TraceField::Tenant, Printable(request.strTenant).c_str());
    Set(TraceField::User, Printable(request.strUser).c_str());
    Set(TraceField::IPAddr, Printable(request.strClient).c_str());
    Set(TraceField::Resource, Printable(request.strResource).c_str());
    Set(TraceField::Action, Printable(request.strMethod).c_str());
    Set(TraceField::Rule, request.iRule);
  }

  // Empties the thread's record for its next call, whatever became of this one.
  ~TraceRecord() { m_data.LeaveNoBody(); }
  TraceRecord(const TraceRecord&) = delete;
  TraceRecord& operator=(const TraceRecord&) = delete;

  // Sets a field that the configuration shows or filters by. Once a filter has refused a value the
  // record is not written, and nothing more is set.
  template <typename Value>
  TraceRecord& Set(TraceField::Number field, Value value) {
    if (Wants(field)) m_bWanted = m_data.SetFieldValue(field, value);
    return *this;
  }

  // The text of the field Message, by printf rules; formatted only when it is wanted.
  template <typename... Arguments>
  TraceRecord& SetMessage(const char* pszFormat, Arguments... arguments) {
    if (!Wants(TraceField::Message)) return *this;
    return Set(TraceField::Message, m_data.FormatTraceMessage(pszFormat, arguments...));
  }

  void Write() {
    SetByLibrary();
    if (m_bWanted && m_data.Format()) m_data.Log();
  }

 private:
  bool Wants(TraceField::Number field) const {
    return m_bWanted && (m_data.FieldTraced(field) || m_data.FieldFiltered(field));
  }

  // Fields whose values the library knows; date and time come last, in ascending order.
  void SetByLibrary() {
    constexpr int Ignored = 0;
    Set(TraceField::Pid, Ignored).Set(TraceField::Tid, Ignored);
    Set(TraceField::Date, Ignored).Set(TraceField::Time, Ignored);
    Set(TraceField::PreciseTime, Ignored);
  }

  CWyTraceData& m_data;
  CWyTraceSupresser m_suppresser;
  bool m_bWanted = true;
};

// Fills and writes the record of a trace call, when its component is traced. `fill` sets the fields
// of its own; it is not called otherwise, so a call that is not traced costs next to nothing.
template <typename Fill>
void Trace(CWyLogger& logger, unsigned int uComponent, const AccessRequest& request,
           const CallSite& where, Fill&& fill) {
  CWyTraceData* pData = nullptr;
  if (!CWyTraceSupresser::isTracing()) return;
  if (!logger.ShouldTraceAlloc(uComponent, &pData)) return;
  TraceRecord record(*pData, request, where);
  fill(record);
  record.Write();
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

const char* LoginText(LoginResult result) {
  if (result == LoginResult::Accepted) return "accepted";
  return result == LoginResult::WrongPassword ? "wrong password" : "unknown user";
}

}  // namespace

void AgentLog::TraceLoginRequest(const AccessRequest& request, CallSite where) const {
  Trace(LoggerOf(request), LoginLogout::ReceiveRequest, request, where,
        [](TraceRecord& record) { record.SetMessage("Login requested"); });
}

void AgentLog::TraceLogin(const AccessRequest& request, LoginResult result, CallSite where) const {
  Trace(LoggerOf(request), LoginLogout::Authentication, request, where,
        [result](TraceRecord& record) {
          record.Set(TraceField::AuthScheme, "Basic")
              .Set(TraceField::AuthReason, LoginText(result))
              .SetMessage("Name and password checked: %s", LoginText(result));
        });
}

void AgentLog::TraceLoginResponse(const AccessRequest& request, bool bAccepted,
                                  CallSite where) const {
  Trace(LoggerOf(request), LoginLogout::SendResponse, request, where, [&](TraceRecord& record) {
    record.Set(TraceField::Result, bAccepted ? "accepted" : "refused")
        .Set(TraceField::ResponseTime, MillisecondsSince(request.arrival))
        .SetMessage("Login answered");
  });
}

void AgentLog::TraceAccessRequest(const AccessRequest& request, CallSite where) const {
  Trace(LoggerOf(request), IsAuthorized::ReceiveRequest, request, where, [&](TraceRecord& record) {
    record.SetMessage("Asked whether rule %d permits it", request.iRule);
  });
}

void AgentLog::TraceAccessResponse(const AccessRequest& request, Decision decision,
                                   CallSite where) const {
  Trace(LoggerOf(request), IsAuthorized::SendResponse, request, where, [&](TraceRecord& record) {
    record.Set(TraceField::Result, DecisionText(decision))
        .Set(TraceField::ResponseTime, MillisecondsSince(request.arrival))
        .SetMessage("Decided");
  });
}
