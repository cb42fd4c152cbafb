// Calls of the C front end: one source, compiled as C99 and as C++, which both run. Each function
// returns null, or the text of the first expectation that failed.

#include <errno.h>
#include <string.h>

#include "wyerrlog/wyerrlog_c.h"

#ifdef __cplusplus
#define CALLS(name) wyerrlog_cpp_##name
extern "C" {
#else
#define CALLS(name) wyerrlog_c99_##name
#endif

const char* CALLS(messages)(void);
const char* CALLS(audit)(void);
const char* CALLS(trace)(void);
const char* CALLS(requests)(void);
const char* CALLS(losses)(void);

#define EXPECT(condition) \
  if (!(condition)) return #condition
#define REFUSED(call, number) EXPECT((errno = 0, !(call)) && errno == (number))

enum { COMPONENT = 1 << 24, FREE_TEXT = COMPONENT | WYERRLOG_WARNING << 14 | 1 };

static int vtext(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = wyerrlog_vtext(NULL, WYERRLOG_HERE, WYERRLOG_ERROR, format, arguments);
  va_end(arguments);
  return result;
}

const char* CALLS(messages)(void) {
  const char* none[] = {NULL};
  EXPECT(wyerrlog_component_id(1, 0) == COMPONENT);
  EXPECT(wyerrlog_message_id(COMPONENT, WYERRLOG_WARNING, 1) == FREE_TEXT);
  EXPECT(wyerrlog_message(NULL, WYERRLOG_HERE, FREE_TEXT, "first\n[1/1]", NULL));
  EXPECT(wyerrlog_message(NULL, "", 0, "", FREE_TEXT, "a", "2", "3", "4", "5", "6", "7", "8", "9",
                          "10", "11", "12", "13", NULL));
  EXPECT(wyerrlog_message_array(NULL, NULL, 0, NULL, FREE_TEXT, 1, none));
  REFUSED(wyerrlog_message(NULL, WYERRLOG_HERE, FREE_TEXT, "1", "2", "3", "4", "5", "6", "7", "8",
                           "9", "10", "11", "12", "13", "14", NULL),
          EINVAL);
  REFUSED(wyerrlog_message_array(NULL, WYERRLOG_HERE, FREE_TEXT, 1, NULL), EINVAL);
  EXPECT(wyerrlog_text(NULL, WYERRLOG_HERE, WYERRLOG_INFORMATION, "%d%% of %s", 90, "\x1b[2J"));
  EXPECT(vtext("%s", "last"));
  REFUSED(wyerrlog_text(NULL, WYERRLOG_HERE, 0, "%d", 1), EINVAL);
  REFUSED(vtext(NULL), EINVAL);
  return NULL;
}

const char* CALLS(audit)(void) {
  char text[8];
  wyerrlog_audit* record = wyerrlog_audit_begin(NULL, "login");
  wyerrlog_audit_set(record, "user", "al\"ice\n");
  wyerrlog_audit_set(record, "user", NULL);
  wyerrlog_audit_set_bytes(record, "raw key", "a\0b", 3);
  wyerrlog_audit_set_int(record, "int", INT64_MIN);
  wyerrlog_audit_set_uint(record, "uint", UINT64_MAX);
  wyerrlog_audit_set_double(record, "double", 0.25);
  wyerrlog_audit_set_bool(record, "bool", 2);
  wyerrlog_audit_set_json(record, "json", "[1]");
  EXPECT(wyerrlog_audit_write(record));
  wyerrlog_audit_drop(wyerrlog_audit_begin(NULL, "dropped"));
  EXPECT(wyerrlog_set_audit_format(WYERRLOG_JSON));
  EXPECT(wyerrlog_audit_write(wyerrlog_audit_begin(NULL, "json")));
  EXPECT(wyerrlog_set_audit_format(WYERRLOG_LOGFMT));
  REFUSED(wyerrlog_set_audit_format(2), EINVAL);
  EXPECT(wyerrlog_audit_text(NULL, "text %d\n", 7));
  EXPECT(wyerrlog_escape(NULL, 0, "a\nb") == 6);
  EXPECT(wyerrlog_escape(text, sizeof text, "a\nb") == 6 && strcmp(text, "a\\x0ab") == 0);
  EXPECT(wyerrlog_escape(text, 4, "a\nb") == 6 && strcmp(text, "a\\x") == 0);
  return NULL;
}

const char* CALLS(trace)(void) {
  wyerrlog_trace* trace = wyerrlog_trace_begin(NULL, WYERRLOG_HERE, COMPONENT);
  EXPECT(wyerrlog_is_traced(NULL, COMPONENT) && trace != NULL);
  EXPECT(wyerrlog_trace_begin(NULL, WYERRLOG_HERE, COMPONENT) == NULL);
  EXPECT(wyerrlog_trace_wants(trace, WYERRLOG_FIELD_USER));
  EXPECT(!wyerrlog_trace_wants(trace, WYERRLOG_FIELD_GROUP) && !wyerrlog_trace_wants(trace, 66));
  wyerrlog_trace_set(trace, WYERRLOG_FIELD_USER, "alice\n");
  wyerrlog_trace_set(trace, -1, "no field");
  wyerrlog_trace_set_int(trace, WYERRLOG_FIELD_RULE, -7);
  wyerrlog_trace_set_double(trace, WYERRLOG_FIELD_RESPONSE_TIME, 0.5);
  wyerrlog_trace_message(trace, "%s", "text");
  EXPECT(wyerrlog_trace_write(trace));
  wyerrlog_trace_drop(wyerrlog_trace_begin(NULL, WYERRLOG_HERE, COMPONENT));
  EXPECT(wyerrlog_trace_write(wyerrlog_trace_begin(NULL, WYERRLOG_HERE, COMPONENT)));
  EXPECT(wyerrlog_close(NULL, WYERRLOG_TRACE_LOG) && !wyerrlog_is_traced(NULL, 0));
  EXPECT(wyerrlog_trace_begin(NULL, WYERRLOG_HERE, COMPONENT) == NULL);
  wyerrlog_trace_set(NULL, WYERRLOG_FIELD_USER, "");
  REFUSED(wyerrlog_trace_write(NULL), EINVAL);
  return NULL;
}

const char* CALLS(requests)(void) {
  wyerrlog_fields* fields = wyerrlog_fields_new();
  wyerrlog_fields* copy;
  wyerrlog_scope *outer, *inner;
  EXPECT(wyerrlog_fields_set(fields, WYERRLOG_FIELD_TRANSACTION_ID, "old"));
  EXPECT(wyerrlog_fields_set(fields, WYERRLOG_FIELD_TRANSACTION_ID, "7f3a"));
  REFUSED(wyerrlog_fields_set_int(fields, 66, 1), EINVAL);
  REFUSED(wyerrlog_fields_set(NULL, WYERRLOG_FIELD_USER, ""), EINVAL);
  outer = wyerrlog_scope_begin(fields);
  wyerrlog_fields_free(fields);
  EXPECT(wyerrlog_scope_set_int(outer, WYERRLOG_FIELD_RULE, 3));
  inner = wyerrlog_scope_begin(NULL);
  EXPECT(wyerrlog_scope_set(inner, WYERRLOG_FIELD_USER, "alice"));
  EXPECT(wyerrlog_audit_write(wyerrlog_audit_begin(NULL, "in both")));
  copy = wyerrlog_fields_current();
  EXPECT(wyerrlog_scope_end(outer));  // and the inner one
  REFUSED(wyerrlog_scope_end(inner), EINVAL);
  REFUSED(wyerrlog_scope_end(NULL), EINVAL);
  EXPECT(wyerrlog_audit_write(wyerrlog_audit_begin(NULL, "in none")));
  outer = wyerrlog_scope_begin(copy);
  EXPECT(wyerrlog_audit_write(wyerrlog_audit_begin(NULL, "in the copy")));
  EXPECT(wyerrlog_scope_end(outer));
  wyerrlog_fields_free(copy);
  return NULL;
}

static void count(wyerrlog_logger* logger, enum wyerrlog_log log, const wyerrlog_loss* loss,
                  void* counts) {
  if (logger != NULL && log == WYERRLOG_AUDIT_LOG) ++((int*)counts)[loss->losing];
}

const char* CALLS(losses)(void) {
  int counts[2] = {0, 0};
  wyerrlog_loss loss;
  wyerrlog_logger* logger = wyerrlog_get_logger("tenant");
  EXPECT(logger != NULL && logger == wyerrlog_get_logger("tenant"));
  EXPECT(wyerrlog_get_logger(NULL) != NULL);
  REFUSED(wyerrlog_get_logger(""), EINVAL);
  EXPECT(wyerrlog_on_loss(logger, count, counts));
  REFUSED(wyerrlog_audit_write(wyerrlog_audit_begin(logger, "lost")), ENXIO);
  REFUSED(wyerrlog_text(logger, WYERRLOG_HERE, WYERRLOG_ERROR, "%s", "lost"), ENXIO);
  EXPECT(wyerrlog_get_loss(logger, WYERRLOG_AUDIT_LOG, &loss));
  EXPECT(loss.refused == 1 && loss.losing && loss.error == ENXIO && loss.since != 0);
  EXPECT(wyerrlog_audit_to_file(logger, "tenant.log", NULL));
  EXPECT(wyerrlog_audit_write(wyerrlog_audit_begin(logger, "written")));
  EXPECT(counts[0] == 1 && counts[1] == 1);
  EXPECT(wyerrlog_on_loss(logger, NULL, NULL));
  REFUSED(wyerrlog_get_loss(logger, 3, &loss), EINVAL);
  REFUSED(wyerrlog_close(logger, 3), EINVAL);
  EXPECT(wyerrlog_remove_logger("tenant"));
  REFUSED(wyerrlog_remove_logger("tenant"), ENOENT);
  REFUSED(wyerrlog_remove_logger(NULL), ENOENT);
  return NULL;
}

#ifdef __cplusplus
}
#endif
