#ifndef WYERRLOG_WYLOGFIELD_H
#define WYERRLOG_WYLOGFIELD_H

// The data fields of trace records by their numbers, which are the rows of the table of known data
// fields (GetKnownDataFields); in trace configuration files they bear the same names. Wherever an
// operation takes the number of a field, it takes one of these: SetFieldValue(WyField::User, ...).

namespace WyField {

// A field's number, its row in the table.
enum Number : unsigned int {
  Message = 0,
  SrcFile = 1,
  Pid = 2,
  Tid = 3,
  Date = 4,
  Time = 5,
  PreciseTime = 6,
  Function = 7,
  ReturnValue = 8,
  User = 9,
  Group = 10,
  Domain = 11,
  Realm = 12,
  Policy = 13,
  Rule = 14,
  Directory = 15,
  AgentName = 16,
  AgentType = 17,
  TransactionID = 18,
  ObjectClass = 19,
  DomainOID = 20,
  SearchKey = 21,
  ErrorString = 22,
  ErrorValue = 23,
  ObjectOID = 24,
  Property = 25,
  IPAddr = 26,
  IPPort = 27,
  AuthStatus = 28,
  AuthReason = 29,
  AuthScheme = 30,
  CertSerial = 31,
  SubjectDN = 32,
  IssuerDN = 33,
  SessionSpec = 34,
  SessionID = 35,
  CertDistPt = 36,
  UserDN = 37,
  Resource = 38,
  Action = 39,
  RealmOID = 40,
  State = 41,
  ClusterID = 42,
  HandleCount = 43,
  FreeHandleCount = 44,
  BusyHandleCount = 45,
  ResponseTime = 46,
  Throughput = 47,
  MaxThroughput = 48,
  MinThroughput = 49,
  Threshold = 50,
  TransactionName = 51,
  Data = 52,
  HexadecimalData = 53,
  Query = 54,
  ActiveExpr = 55,
  CallDetail = 56,
  RequestIPAddr = 57,
  Returns = 58,
  Expression = 59,
  Result = 60,
  CacheHits = 61,
  CacheSize = 62,
  RefCount = 63,
  ExecutionTime = 64,
  Tenant = 65,
};

// How many there are.
inline constexpr unsigned int Count = 66;

}  // namespace WyField

#endif
