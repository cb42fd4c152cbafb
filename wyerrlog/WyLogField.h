#ifndef WYERRLOG_WYLOGFIELD_H
#define WYERRLOG_WYLOGFIELD_H

// The data fields of trace records by their numbers, which are the rows of the table of known data
// fields (GetKnownDataFields); trace configuration files use the same names. An operation that
// takes the number of a field takes one of these:
//
//   WY_TRACE(Login::Authentication).Set(WyField::User, strUser).Set(WyField::ResponseTime, 0.25);
//   pData->SetFieldValue(WyField::User, "alice");
//
// A value is text, whatever its field: the library converts numbers and checks no units. A field is
// written only if the "data" line of the trace configuration has it. The numbers never change: they
// are compiled into every program that traces.
//
// WY_TRACE sets the fields SrcFile to Function, unless the statement has set them. A program that
// fills a CWyTraceData itself calls SetFieldValue for these fields too.

namespace WyField {

// A field's number.
enum Number : unsigned int {
  // The text of the record.
  Message = 0,
  // Source file and line ("agent.cpp:41"), at most 1023 bytes; ids of process and thread; date,
  // time, and time with milliseconds, in local time or UTC as EnableTrace sets it; the function
  // that traces.
  SrcFile = 1,
  Pid = 2,
  Tid = 3,
  Date = 4,
  Time = 5,
  PreciseTime = 6,
  Function = 7,
  // The value that the function returns.
  ReturnValue = 8,
  // The user and the policy objects that apply: domain of policies, realm, policy, rule, user
  // directory.
  User = 9,
  Group = 10,
  Domain = 11,
  Realm = 12,
  Policy = 13,
  Rule = 14,
  Directory = 15,
  // The agent, and the transaction: one request on its way through several processes.
  AgentName = 16,
  AgentType = 17,
  TransactionID = 18,
  // Objects in a store, by class or object id, and the key of a search for them.
  ObjectClass = 19,
  DomainOID = 20,
  SearchKey = 21,
  // An error's text and code.
  ErrorString = 22,
  ErrorValue = 23,
  ObjectOID = 24,
  Property = 25,
  // A network address and its port. The address that a request came from is RequestIPAddr.
  IPAddr = 26,
  IPPort = 27,
  // An authentication: its status, the reason of its outcome, and the scheme.
  AuthStatus = 28,
  AuthReason = 29,
  AuthScheme = 30,
  // A certificate: serial number, distinguished names of subject and issuer. CertDistPt is the
  // distribution point of revoked certificates.
  CertSerial = 31,
  SubjectDN = 32,
  IssuerDN = 33,
  // A session: description and id.
  SessionSpec = 34,
  SessionID = 35,
  CertDistPt = 36,
  // The distinguished name of a user.
  UserDN = 37,
  // What is asked for: the path of a page and the HTTP method, for instance.
  Resource = 38,
  Action = 39,
  // The object id of a realm, a state, the id of a cluster.
  RealmOID = 40,
  State = 41,
  ClusterID = 42,
  // Numbers of handles: all, free, in use.
  HandleCount = 43,
  FreeHandleCount = 44,
  BusyHandleCount = 45,
  // Measurements: the time that a response took, requests per time, a threshold, and the name of
  // the
  // transaction that is measured. The program chooses the units.
  ResponseTime = 46,
  Throughput = 47,
  MaxThroughput = 48,
  MinThroughput = 49,
  Threshold = 50,
  TransactionName = 51,
  // Data as text and in hexadecimal digits.
  Data = 52,
  HexadecimalData = 53,
  // Evaluation of queries, expressions and calls.
  Query = 54,
  ActiveExpr = 55,
  CallDetail = 56,
  RequestIPAddr = 57,
  Returns = 58,
  Expression = 59,
  Result = 60,
  // Counters of caches and references, the time that an execution took, and the tenant.
  CacheHits = 61,
  CacheSize = 62,
  RefCount = 63,
  ExecutionTime = 64,
  Tenant = 65,
};

// The number of fields: field numbers are 0 to 65.
inline constexpr unsigned int Count = 66;

}  // namespace WyField

#endif
