package com.orvantis.wyerrlog;

import java.util.HashMap;
import java.util.Map;

/**
 * The data fields of trace records and requests. Trace configurations select them by their names
 * ({@link #fieldName}). A value is a text, a number or a truth value, whatever its field: the
 * library checks no units.
 */
public enum WyField {
  /** The text of the record. */
  MESSAGE("Message"),
  /** The source file, set by the library. */
  SRC_FILE("SrcFile"),
  /** The process, set by the library. */
  PID("Pid"),
  /** The thread, set by the library. */
  TID("Tid"),
  /** The date, set by the library. */
  DATE("Date"),
  /** The time, set by the library. */
  TIME("Time"),
  /** The time with milliseconds, set by the library. */
  PRECISE_TIME("PreciseTime"),
  /** The function that traces. */
  FUNCTION("Function"),
  /** The value that the function returns. */
  RETURN_VALUE("ReturnValue"),
  /** The user. */
  USER("User"),
  /** The group of the user. */
  GROUP("Group"),
  /** The domain of policies. */
  DOMAIN("Domain"),
  /** The realm. */
  REALM("Realm"),
  /** The policy. */
  POLICY("Policy"),
  /** The rule. */
  RULE("Rule"),
  /** The user directory. */
  DIRECTORY("Directory"),
  /** The name of the agent. */
  AGENT_NAME("AgentName"),
  /** The type of the agent. */
  AGENT_TYPE("AgentType"),
  /** One request on its way through several processes. */
  TRANSACTION_ID("TransactionID"),
  /** The class of an object in a store. */
  OBJECT_CLASS("ObjectClass"),
  /** The object id of a domain. */
  DOMAIN_OID("DomainOID"),
  /** The key of a search in a store. */
  SEARCH_KEY("SearchKey"),
  /** The text of an error. */
  ERROR_STRING("ErrorString"),
  /** The code of an error. */
  ERROR_VALUE("ErrorValue"),
  /** The id of an object. */
  OBJECT_OID("ObjectOID"),
  /** A property of an object. */
  PROPERTY("Property"),
  /** A network address. */
  IP_ADDR("IPAddr"),
  /** The port of a network address. */
  IP_PORT("IPPort"),
  /** The status of an authentication. */
  AUTH_STATUS("AuthStatus"),
  /** The reason of its outcome. */
  AUTH_REASON("AuthReason"),
  /** The scheme of an authentication. */
  AUTH_SCHEME("AuthScheme"),
  /** The serial number of a certificate. */
  CERT_SERIAL("CertSerial"),
  /** The distinguished name of its subject. */
  SUBJECT_DN("SubjectDN"),
  /** The distinguished name of its issuer. */
  ISSUER_DN("IssuerDN"),
  /** The description of a session. */
  SESSION_SPEC("SessionSpec"),
  /** The id of a session. */
  SESSION_ID("SessionID"),
  /** The distribution point of revoked certificates. */
  CERT_DIST_PT("CertDistPt"),
  /** The distinguished name of a user. */
  USER_DN("UserDN"),
  /** What is asked for, the path of a page for instance. */
  RESOURCE("Resource"),
  /** How it is asked for, the HTTP method for instance. */
  ACTION("Action"),
  /** The object id of a realm. */
  REALM_OID("RealmOID"),
  /** A state. */
  STATE("State"),
  /** The id of a cluster. */
  CLUSTER_ID("ClusterID"),
  /** The number of handles. */
  HANDLE_COUNT("HandleCount"),
  /** The number of free handles. */
  FREE_HANDLE_COUNT("FreeHandleCount"),
  /** The number of handles in use. */
  BUSY_HANDLE_COUNT("BusyHandleCount"),
  /** The time that a response took. */
  RESPONSE_TIME("ResponseTime"),
  /** Requests per time. */
  THROUGHPUT("Throughput"),
  /** The highest throughput. */
  MAX_THROUGHPUT("MaxThroughput"),
  /** The lowest throughput. */
  MIN_THROUGHPUT("MinThroughput"),
  /** A threshold. */
  THRESHOLD("Threshold"),
  /** The name of the transaction that is measured. */
  TRANSACTION_NAME("TransactionName"),
  /** Data as text. */
  DATA("Data"),
  /** Data in hexadecimal digits. */
  HEXADECIMAL_DATA("HexadecimalData"),
  /** A query. */
  QUERY("Query"),
  /** An active expression. */
  ACTIVE_EXPR("ActiveExpr"),
  /** Details of a call. */
  CALL_DETAIL("CallDetail"),
  /** The address that a request came from. */
  REQUEST_IP_ADDR("RequestIPAddr"),
  /** What a call returns. */
  RETURNS("Returns"),
  /** An expression. */
  EXPRESSION("Expression"),
  /** A result. */
  RESULT("Result"),
  /** The hits of a cache. */
  CACHE_HITS("CacheHits"),
  /** The size of a cache. */
  CACHE_SIZE("CacheSize"),
  /** A number of references. */
  REF_COUNT("RefCount"),
  /** The time that an execution took. */
  EXECUTION_TIME("ExecutionTime"),
  /** The tenant. */
  TENANT("Tenant");

  private static final Map<String, WyField> byName = new HashMap<>();

  static {
    for (WyField field : values()) {
      byName.put(field.name, field);
    }
  }

  private final String name;

  WyField(String name) {
    this.name = name;
  }

  /**
   * Returns the name of the field in trace configurations and typed audit records.
   *
   * @return a name as {@code ResponseTime}
   */
  public String fieldName() {
    return name;
  }

  /** Returns the field of a name; null if there is none. */
  static WyField ofName(String name) {
    return byName.get(name);
  }
}
