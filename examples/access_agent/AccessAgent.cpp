// Serves requests: each one is decided, answered and audited, in this order, on one thread of the
// HTTP server. The answer is sent only after the audit record has been written.

#include "AccessAgent.h"

#include <unistd.h>

#include <atomic>
#include <ctime>
#include <system_error>

#include "IsAuthorizedMessages.h"
#include "RequestText.h"

namespace {

constexpr char Loopback[] = "127.0.0.1";

// The host name in a "Host" header, in lower case: "example.org" for "Example.org:8080".
std::string HostName(const std::string& strHeader) {
  std::string strName = strHeader.substr(0, strHeader.find(':'));
  for (char& c : strName) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return strName;
}

// Unlike that of any other request, also of other processes that log to the same place.
std::string NewRequestId() {
  static std::atomic<unsigned int> s_uCount{0};
  static const std::string s_strProcess =
      std::to_string(std::time(nullptr)) + '-' + std::to_string(getpid());
  return s_strProcess + '-' + std::to_string(++s_uCount);
}

AccessRequest MakeRequest(const httplib::Request& httpRequest, const AgentLog& log) {
  AccessRequest request;
  request.strId = NewRequestId();
  request.strTenant = log.TenantOf(HostName(httpRequest.get_header_value("Host")));
  request.strClient = httpRequest.remote_addr;
  request.strMethod = httpRequest.method;
  request.strResource = httpRequest.path;
  return request;
}

bool IsNotThere(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
         error == std::errc::filename_too_long;
}

// Every refusal has a body. An error response without one comes from the HTTP server itself.
void Refuse(httplib::Response& response, int iStatus, const char* pszReason) {
  response.status = iStatus;
  response.set_content(std::string(pszReason) + "\n", "text/plain");
}

}  // namespace

AccessAgent::AccessAgent(const Policy& policy, const AgentLog& log, const std::string& root)
    : m_control(policy, log), m_log(log), m_site(root) {}

AccessAgent::~AccessAgent() { Stop(); }

// ---- Serving ------------------------------------------------------------------------------------

bool AccessAgent::Start(int iPort, size_t uThreads) {
  m_server.new_task_queue = [uThreads] { return new httplib::ThreadPool(uThreads); };
  // One request for each connection: the agent does not read bodies, and the unread body of a
  // request would be parsed as the next one.
  m_server.set_keep_alive_max_count(1);
  m_server.set_pre_routing_handler(
      [this](const httplib::Request& request, httplib::Response& response) {
        Handle(request, response);
        return httplib::Server::HandlerResponse::Handled;
      });
  m_server.set_error_handler([this](const httplib::Request& request, httplib::Response& response) {
    if (response.body.empty()) HandleRefusedByServer(request, response);
  });

  if (!Listen(iPort)) return false;
  m_listener = std::thread([this] { m_server.listen_after_bind(); });
  // httplib ignores a stop before the server runs.
  while (!m_server.is_running()) std::this_thread::yield();
  return true;
}

bool AccessAgent::Listen(int iPort) {
  socket_t socket = INVALID_SOCKET;
  // By default httplib sets SO_REUSEPORT, and two agents could share a port.
  m_server.set_socket_options([&socket](socket_t created) {
    const int iYes = 1;
    setsockopt(created, SOL_SOCKET, SO_REUSEADDR, &iYes, sizeof iYes);
    socket = created;
  });
  m_iPort = iPort;
  if (iPort == 0) {
    m_iPort = m_server.bind_to_any_port(Loopback);
  } else if (!m_server.bind_to_port(Loopback, iPort)) {
    return false;
  }
  // httplib's backlog is five connections; further clients would repeat their SYN after a second.
  return m_iPort > 0 && listen(socket, SOMAXCONN) == 0;
}

void AccessAgent::Stop() {
  if (!m_listener.joinable()) return;
  m_server.stop();
  m_listener.join();
}

std::string AccessAgent::Address() const {
  return std::string(Loopback) + ":" + std::to_string(m_iPort);
}

void AccessAgent::Handle(const httplib::Request& httpRequest, httplib::Response& response) {
  AccessRequest request = MakeRequest(httpRequest, m_log);
  const WyRequestScope scope(WyField::TransactionID, request.strId);
  const Decision decision =
      m_control.Decide(request, httpRequest.get_header_value("Authorization"));
  Answer(request, decision, response);
  if (response.status == 200 && !httpRequest.ranges.empty()) response.status = 206;
  if (!m_log.Audit(request, decision, response.status)) {
    response.headers.clear();
    Refuse(response, 503, "Service unavailable");
  }
}

void AccessAgent::HandleRefusedByServer(const httplib::Request& httpRequest,
                                        httplib::Response& response) {
  const AccessRequest request = MakeRequest(httpRequest, m_log);
  const WyRequestScope scope(WyField::TransactionID, request.strId);
  WyLog(m_log.LoggerOf(request), IsAuthorized::InvalidRequest, Who(Client(request), request),
        response.status);
  m_log.Audit(request, Decision::Invalid, response.status);
}

// ---- Answering ----------------------------------------------------------------------------------

void AccessAgent::Answer(const AccessRequest& request, Decision decision,
                         httplib::Response& response) const {
  switch (decision) {
    case Decision::Allow:
      return Perform(request, response);
    case Decision::Deny:
      return Refuse(response, 403, "Forbidden");
    case Decision::Unauthenticated:
      response.set_header("WWW-Authenticate", "Basic realm=\"access agent\"");
      return Refuse(response, 401, "Please log in");
    case Decision::Invalid:
      return Refuse(response, 400, "Bad request");
  }
}

void AccessAgent::Perform(const AccessRequest& request, httplib::Response& response) const {
  std::error_code error;
  if (request.strMethod == "DELETE") {
    m_site.Delete(request.strResource, error);
    response.status = 204;
  } else {
    response.set_content(m_site.Read(request.strResource, error), ContentType(request.strResource));
    response.status = 200;
  }
  if (!error) return;
  if (IsNotThere(error)) {
    WyLog(m_log.LoggerOf(request), IsAuthorized::NotFound, Who(User(request), request),
          Resource(request));
    return Refuse(response, 404, "Not found");
  }
  WyLog(m_log.LoggerOf(request), IsAuthorized::ActionFailed, Who(User(request), request),
        Method(request), Resource(request), error.message());
  Refuse(response, 500, "Failed");
}
