// The logs of a server in C: set-up, and what it logs for a request.
#include <stdio.h>
#include <wyerrlog/wyerrlog_c.h>

// [ids]
// Identifiers of the component Session_Store, number 12: see its table of messages.
enum {
  SESSION_STORE = 12 << 24,
  SESSION_REFUSED = SESSION_STORE | WYERRLOG_WARNING << 14 | 2,  // {0} user, {1} sessions
};
// [/ids]

// [set-up]
static int open_logs(const char* messages, const char* config) {
  if (wyerrlog_set_resource_directory(messages) &&
      wyerrlog_log_to_file(NULL, "./error.log", "mode=appendRollBySize maxSizeMB=10 backups=5") &&
      wyerrlog_audit_to_file(NULL, "./audit.log", "permissions=0640 daily shared") &&
      wyerrlog_trace_to_file(NULL, "./trace.log", config, "layout=brackets")) {
    return 1;
  }
  fprintf(stderr, "%s\n", wyerrlog_error());
  return 0;
}
// [/set-up]

// [request]
// Returns 0 if the request must not be served, because it has no audit record.
static int serve(const char* id, const char* user, int sessions) {
  wyerrlog_fields* fields = wyerrlog_fields_new();
  wyerrlog_fields_set(fields, WYERRLOG_FIELD_TRANSACTION_ID, id);
  wyerrlog_fields_set(fields, WYERRLOG_FIELD_USER, user);
  wyerrlog_scope* scope = wyerrlog_scope_begin(fields);

  wyerrlog_trace* trace = wyerrlog_trace_begin(NULL, WYERRLOG_HERE, SESSION_STORE);
  wyerrlog_trace_message(trace, "%d sessions examined", sessions);
  wyerrlog_trace_write(trace);

  char number[16];
  snprintf(number, sizeof number, "%d", sessions);
  if (sessions >= 20000) {
    wyerrlog_message(NULL, WYERRLOG_HERE, SESSION_REFUSED, user, number, NULL);
  }

  wyerrlog_audit* record = wyerrlog_audit_begin(NULL, "session");
  wyerrlog_audit_set_int(record, "sessions", sessions);
  wyerrlog_audit_set_bool(record, "refused", sessions >= 20000);
  const int written = wyerrlog_audit_write(record);

  wyerrlog_scope_end(scope);
  wyerrlog_fields_free(fields);
  return written;
}
// [/request]

int main(int argc, char** argv) {
  if (argc != 3 || !open_logs(argv[1], argv[2])) return 1;
  // [text]
  wyerrlog_text(NULL, WYERRLOG_HERE, WYERRLOG_INFORMATION, "%s started", "server");
  // [/text]
  return serve("7f3a", "alice", 17) && serve("7f3b", "bob", 20000) ? 0 : 1;
}
