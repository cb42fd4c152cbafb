#ifndef WYERRLOG_WYERRLOG_C_H
#define WYERRLOG_WYERRLOG_C_H

// Logging for programs in C (C99), and for every language that calls C functions (dlopen(3),
// Python's ctypes). The same logs, formats and files as those of the C++ front end, WyLog.h: a
// server in C and its modules in C++ share one library and may share a logger.
//
//   if (!wyerrlog_log_to_file(NULL, "/var/log/agent/error.log",
//                             "mode=appendRollBySize maxSizeMB=10 backups=5") ||
//       !wyerrlog_audit_to_file(NULL, "/var/log/agent/audit.log", "permissions=0640 shared")) {
//     fprintf(stderr, "%s\n", wyerrlog_error());
//     return 1;
//   }
//   wyerrlog_message(NULL, WYERRLOG_HERE, LOGIN_WRONG_PASSWORD, user, client, NULL);
//   wyerrlog_text(NULL, WYERRLOG_HERE, WYERRLOG_WARNING, "%d sessions left", left);
//
// Results. Functions that return int return 1 on success and 0 on failure, those that return a
// pointer return NULL on failure; errno has the reason then. The functions of "Logs" also leave a
// sentence that names the cause and the remedy, see wyerrlog_error. Common reasons:
//
//   EINVAL     an argument is NULL or out of range
//   ENOMEM     memory allocation failed
//   ENXIO      the log has no output
//   ESHUTDOWN  the logger is released: the process is exiting
//   EDEADLK    the call comes from a callback of the same log
//   ENOSPC, EIO, EBADF ...  of write(2), open(2) and rename(2)
//
// A record that cannot be written is dropped; wyerrlog_get_loss counts it.
//
// Threads. Any thread may call any function at any time. An object that a function returns (audit
// record, trace, scope, fields) is used by one thread at a time; records, traces and scopes only by
// the thread that has begun them. A log call writes on the calling thread, and returns when the
// system has the record; nothing is queued.
//
// Fork and exit. A process may fork at any time, also while its threads log: the child logs on, to
// the outputs that it has inherited, under its own process id. Programs that are executed do not
// inherit the files. At process exit the logs are closed, and later calls return 0. The library
// starts no thread, installs no signal handler and stays loaded once it is loaded, so a module that
// uses it may be unloaded after it has ended its objects and removed its callbacks. A signal
// handler must not call it.
//
// Exceptions. No C++ exception leaves a function; one that an output of a C++ host throws becomes
// the failure of the call (EIO).
//
// Ownership. Texts that are passed in are copied or used during the call only. Every text is UTF-8.
// Texts that are logged as values are escaped, so that none of them can begin a line of its own
// (WyEscape.h).
//
// Interface. Opaque types and functions with plain names alone; structures keep their layout,
// numbers keep their meaning. Parameters that take an enumerator are int: every value may be
// passed, and one that does not exist is refused. The one macro is for the place of a call.

// NOLINTBEGIN(modernize-deprecated-headers): those of C
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
// NOLINTEND(modernize-deprecated-headers)

#include "wyerrlog/wyerrlog_c_field.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

// The place of a call, as three arguments: `file`, `line` and `function` of the functions below. Of
// the path records show the part after the last "/". A caller that has no place passes "", 0 and
// "".
#define WYERRLOG_HERE __FILE__, __LINE__, __func__

// ---- Loggers ------------------------------------------------------------------------------------

// A logger: an error log, an audit log and a trace. Every function that takes a logger takes NULL
// for the logger of the process, which always exists. The same object as CWyLogger of C++.
typedef struct wyerrlog_logger wyerrlog_logger;

// The logs of a logger.
enum wyerrlog_log { WYERRLOG_ERROR_LOG = 0, WYERRLOG_TRACE_LOG = 1, WYERRLOG_AUDIT_LOG = 2 };

// Returns the logger of that name, for a tenant or a virtual host; creates it, without outputs, if
// there is none. The library owns it. For NULL returns the logger of the process. Returns NULL for
// an empty name (EINVAL) and if memory allocation fails: test it, because NULL in other calls is
// the process's logger.
wyerrlog_logger* wyerrlog_get_logger(const char* name);

// Closes the logs of the logger of that name and destroys it. Returns 0 if there is none, and for a
// caller inside one of its callbacks. Requires: no other thread uses the logger, then or later.
int wyerrlog_remove_logger(const char* name);

// Sets whether the dates of a logger are in local time; they are in UTC at first.
void wyerrlog_use_local_time(wyerrlog_logger* logger, int local);

// Names the directory of the message catalogs, for the whole process: the languages of the messages
// that wyerrlog_message logs. Returns 0 (EINVAL) if `directory` is not a directory that may be
// read, and changes nothing then. The language is that of the first of the environment variables
// LC_ALL, LC_MESSAGES and LANG that is set and not empty; a host that has a setting of its own
// calls setenv(3) before its first message.
int wyerrlog_set_resource_directory(const char* directory);

// Returns the version of the library that is loaded, "1.0.0".
const char* wyerrlog_version(void);

// ---- Logs ---------------------------------------------------------------------------------------

// Each writes a log of the logger to a file from now on, in place of its former output. A path
// without a "/" is a file in the working directory. `options` is a text of words and "name=value"
// pairs between blanks, in any order, so that a setting of the host's configuration can be passed
// on as it is; NULL and "" are the defaults. They are the members of WyFileOptions.h:
//
//   mode=NAME             what becomes of an existing file: append (the default), overwrite,
//                         rollAtOpen (it is renamed to a backup); with rollover by size:
//                         appendRollBySize, rollAtOpenAndBySize
//   maxSizeMB=N           the size that a file stays below, for the two modes that need one
//   backups=N             backups that are kept; 0: all
//   permissions=0640      of files that are created, octal, less the umask
//   synchronous           each record is on the disk when its call returns (O_DSYNC)
//   daily                 a new file for each local day
//   maxAgeDays=N          backups that are older are deleted
//   shared                several processes write to the file, and any of them may roll it over:
//                         for workers that are forked, and for programs with a common log. All
//                         of them set it. See WyFileOptions.h
//
// A word alone is the same as "word=true"; "word=false" is the default. On failure 0 with errno and
// a text in wyerrlog_error: EINVAL for a word that is unknown, twice there, out of range, or
// without effect beside the others (nothing has changed then), ENOTSUP for what is neither a file
// nor a character device, and the reasons of open(2) and rename(2) (the log has no output then).
int wyerrlog_log_to_file(wyerrlog_logger* logger, const char* path, const char* options);
int wyerrlog_audit_to_file(wyerrlog_logger* logger, const char* path, const char* options);

// The same for the trace, which is turned on with the trace configuration file `config`; a trace
// that is on goes on with the new file and configuration, so that a host calls it again to reload
// them. Options are those above and
//
//   layout=NAME           brackets (the default), fixedWidth, delimited, xml, json
//   delimiter='TEXT'      of the layout delimited; the quotes, single or double, are for blanks
//
// Fails also if the configuration cannot be read (errno of open(2)) or is none (EINVAL), and
// changes nothing then: wyerrlog_error names line and column.
int wyerrlog_trace_to_file(wyerrlog_logger* logger, const char* path, const char* config,
                           const char* options);

// The error log or the audit log to a descriptor: standard error in a container, a pipe, a socket.
// The host keeps it open, and closes it after the log has another output. With `priority` 0 to 7
// (syslog(3)) each line begins with "<N>" for the journal of systemd; -1 for none. See
// WyDescriptorOutput.h.
int wyerrlog_log_to_descriptor(wyerrlog_logger* logger, int descriptor, int priority);
int wyerrlog_audit_to_descriptor(wyerrlog_logger* logger, int descriptor, int priority);

// Closes a log: it has no output any more, and a trace is off. Waits for the calls under way. A
// module that is unloaded, and the host of a trace that is switched off, call it.
int wyerrlog_close(wyerrlog_logger* logger, int log);

// Returns why the last function of this section, or wyerrlog_set_resource_directory, failed on this
// thread: one sentence without a newline, such as
//
//   option "maxSize" is unknown; did you mean "maxSizeMB"?
//   /var/log/agent/error.log: Permission denied
//
// "" if the last one succeeded. The text is valid until the thread's next call of such a function.
const char* wyerrlog_error(void);

// ---- Messages -----------------------------------------------------------------------------------

// Severities of messages.
enum wyerrlog_severity { WYERRLOG_INFORMATION = 1, WYERRLOG_WARNING = 2, WYERRLOG_ERROR = 3 };

// Compose identifiers: of a component (1 to 255) or its sub-component (1 to 255; 0: the component
// itself), and of a message, by its number (1 to 16383) in the component. For constants write the
// same as an expression: component << 24 | sub-component << 16 | severity << 14 | number.
uint32_t wyerrlog_component_id(unsigned int component, unsigned int sub_component);
uint32_t wyerrlog_message_id(uint32_t component_id, int severity, unsigned int number);

// Logs a message of a component in the administrator's language: one line of the error log. The
// arguments, at most 13 texts (const char*), replace "{0}", "{1}" ... in the text of the catalog;
// NULL ends them. A text that may be NULL itself needs wyerrlog_message_array, which logs it as
// "<null>". A message that is not known is logged as an error, "missing message key". Fails with
// EINVAL for more than 13 arguments.
//
//   wyerrlog_message(NULL, WYERRLOG_HERE, LOGIN_REFUSED, user, client, NULL);
int wyerrlog_message(wyerrlog_logger* logger, const char* file, int line, const char* function,
                     uint32_t id, ...) __attribute__((sentinel));
int wyerrlog_message_array(wyerrlog_logger* logger, const char* file, int line,
                           const char* function, uint32_t id, size_t count,
                           const char* const* arguments);

// Log a printf-formatted text without a catalog, one line of the error log; the compiler checks the
// format. The text is cut to 4095 bytes, and has no newline at its end. Fails with EINVAL for a
// format that is NULL or cannot be formatted.
int wyerrlog_text(wyerrlog_logger* logger, const char* file, int line, const char* function,
                  int severity, const char* format, ...) __attribute__((format(printf, 6, 7)));
int wyerrlog_vtext(wyerrlog_logger* logger, const char* file, int line, const char* function,
                   int severity, const char* format, va_list arguments)
    __attribute__((format(printf, 6, 0)));

// ---- Audit records ------------------------------------------------------------------------------

// The form of typed records: "time=... event="login" user="alice" status=403", or a JSON object on
// a line. Set for all loggers of the process; docs/formats.md describes both.
enum wyerrlog_audit_format { WYERRLOG_LOGFMT = 0, WYERRLOG_JSON = 1 };
int wyerrlog_set_audit_format(int format);

// A typed audit record while it is filled, on one thread:
//
//   wyerrlog_audit* record = wyerrlog_audit_begin(NULL, "login");
//   wyerrlog_audit_set(record, "user", user);
//   wyerrlog_audit_set_int(record, "status", 403);
//   if (!wyerrlog_audit_write(record)) return HTTP_INTERNAL_SERVER_ERROR;
//
// Time, process, thread and request are those of wyerrlog_audit_begin; the fields of the thread's
// scopes follow those that are set. The library owns the record until wyerrlog_audit_write or
// wyerrlog_audit_drop, one of which ends it. All functions but the first take NULL, for a record
// that could not be begun: then they do nothing, and wyerrlog_audit_write returns 0 (ENOMEM). So
// only the last result needs a test.
typedef struct wyerrlog_audit wyerrlog_audit;

// Begins a record of the event, a short constant name. Returns NULL if memory allocation fails.
wyerrlog_audit* wyerrlog_audit_begin(wyerrlog_logger* logger, const char* event);

// Add a field. A key consists of letters, digits, "_", "-" and "."; other bytes become "_". A key
// that is there already gets a number, "user_2". A text that is NULL is written as null; quotes,
// control characters and invalid UTF-8 in it are escaped, and it may have any length.
// wyerrlog_audit_set_bytes takes a text of `size` bytes without a zero byte at its end.
// wyerrlog_audit_set_json writes `json` as it stands: the caller sees to it that it is one JSON
// value on one line. A double that is no number is written as null.
void wyerrlog_audit_set(wyerrlog_audit* record, const char* key, const char* text);
void wyerrlog_audit_set_bytes(wyerrlog_audit* record, const char* key, const char* text,
                              size_t size);
void wyerrlog_audit_set_int(wyerrlog_audit* record, const char* key, int64_t value);
void wyerrlog_audit_set_uint(wyerrlog_audit* record, const char* key, uint64_t value);
void wyerrlog_audit_set_double(wyerrlog_audit* record, const char* key, double value);
void wyerrlog_audit_set_bool(wyerrlog_audit* record, const char* key, int value);
void wyerrlog_audit_set_json(wyerrlog_audit* record, const char* key, const char* json);

// Writes the record as one line of the audit log and ends it, whatever the result. Returns 1 if the
// output has taken the whole record: a host that must not act without an audit record tests it.
int wyerrlog_audit_write(wyerrlog_audit* record);

// Ends the record without writing it.
void wyerrlog_audit_drop(wyerrlog_audit* record);

// Writes a printf-formatted record of any length as it is, without time or newline of its own: the
// format ends with "\n". Nothing is escaped: pass texts from the network through wyerrlog_escape
// first, or write a typed record.
int wyerrlog_audit_text(wyerrlog_logger* logger, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
int wyerrlog_audit_vtext(wyerrlog_logger* logger, const char* format, va_list arguments)
    __attribute__((format(printf, 2, 0)));

// Writes the text, with control characters, line separators and invalid UTF-8 as "\x0a", and a zero
// byte to `out`, as far as `size` bytes suffice. Returns the length of the whole, without the zero
// byte, as snprintf(3) does: the text is cut if that is not below `size`. `out` may be NULL if
// `size` is 0; NULL as the text is "<null>".
size_t wyerrlog_escape(char* out, size_t size, const char* text);

// ---- Traces -------------------------------------------------------------------------------------

// Returns 1 if the component or sub-component is traced at present; for 0, if a trace is on. Takes
// no lock if the result is 0.
int wyerrlog_is_traced(wyerrlog_logger* logger, uint32_t component_id);

// A trace record while it is filled, on one thread:
//
//   wyerrlog_trace* trace = wyerrlog_trace_begin(NULL, WYERRLOG_HERE, SESSION_STORE);
//   if (trace != NULL) {
//     wyerrlog_trace_set(trace, WYERRLOG_FIELD_USER, user);
//     wyerrlog_trace_message(trace, "%d sessions examined", count);
//     wyerrlog_trace_write(trace);
//   }
//
// wyerrlog_trace_begin returns NULL if the component is not traced, which costs a few instructions;
// the rest takes NULL too, so that the test is only for values that are expensive. Between begin
// and end the thread traces nothing else. The library owns the trace until wyerrlog_trace_write or
// wyerrlog_trace_drop, one of which ends it, on the same thread.
typedef struct wyerrlog_trace wyerrlog_trace;

// Begins a record of a component or sub-component. NULL also if memory allocation fails.
wyerrlog_trace* wyerrlog_trace_begin(wyerrlog_logger* logger, const char* file, int line,
                                     const char* function, uint32_t component_id);

// Returns 1 if the value of a field will be used: the configuration shows it, and no filter has
// dropped the record.
int wyerrlog_trace_wants(const wyerrlog_trace* trace, int field);

// Set a field if the configuration shows it; the first value that a filter rejects drops the
// record. Texts are copied and escaped; NULL is "". wyerrlog_trace_message sets the field Message,
// formatted only if it is shown. A field out of range is ignored.
void wyerrlog_trace_set(wyerrlog_trace* trace, int field, const char* text);
void wyerrlog_trace_set_int(wyerrlog_trace* trace, int field, int64_t value);
void wyerrlog_trace_set_double(wyerrlog_trace* trace, int field, double value);
void wyerrlog_trace_message(wyerrlog_trace* trace, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Writes the record, unless a filter has dropped it, and ends it. Function, SrcFile, Pid, Tid,
// Date, Time and PreciseTime are filled in, and the fields of the thread's scopes. Returns 1 if
// each output of the trace has taken it.
int wyerrlog_trace_write(wyerrlog_trace* trace);

// Ends the record without writing it.
void wyerrlog_trace_drop(wyerrlog_trace* trace);

// ---- Requests -----------------------------------------------------------------------------------

// The fields of a request, which every trace and typed audit record carries that a thread writes
// while it serves the request. An object of the host, for one thread at a time: kept with the
// request, passed from thread to thread, freed at the request's end.
//
//   request->fields = wyerrlog_fields_new();                          // when the request arrives
//   wyerrlog_fields_set(request->fields, WYERRLOG_FIELD_TRANSACTION_ID, id);
//   ...
//   wyerrlog_scope* scope = wyerrlog_scope_begin(request->fields);    // in each handler
//   ...
//   wyerrlog_scope_end(scope);
//   ...
//   wyerrlog_fields_free(request->fields);                            // when it is finalised
typedef struct wyerrlog_fields wyerrlog_fields;

// An object without fields, and a copy of the fields that the scopes of the calling thread have at
// present: for another thread that goes on with the request. The caller owns the result and frees
// it. NULL if memory allocation fails; the functions below take that.
wyerrlog_fields* wyerrlog_fields_new(void);
wyerrlog_fields* wyerrlog_fields_current(void);
void wyerrlog_fields_free(wyerrlog_fields* fields);

// Set a field, or replace its value; a NULL text is "". Return 0 for NULL fields and a field out of
// range (EINVAL), and if memory allocation fails.
int wyerrlog_fields_set(wyerrlog_fields* fields, int field, const char* text);
int wyerrlog_fields_set_int(wyerrlog_fields* fields, int field, int64_t value);

// The time during which a thread serves a request. Begins with a copy of the fields (NULL: with
// none), and nests: an inner scope adds fields, or replaces those of the same number until it ends.
// Returns NULL if memory allocation fails: the records are written without the fields then.
typedef struct wyerrlog_scope wyerrlog_scope;
wyerrlog_scope* wyerrlog_scope_begin(const wyerrlog_fields* fields);

// Set a field of a scope that becomes known later, the user for instance. As above; on the scope's
// thread.
int wyerrlog_scope_set(wyerrlog_scope* scope, int field, const char* text);
int wyerrlog_scope_set_int(wyerrlog_scope* scope, int field, int64_t value);

// Ends the scope, and those within it that have not been ended. Returns 0 (EINVAL), and does
// nothing, for NULL and for a scope that is not one of the calling thread's.
int wyerrlog_scope_end(wyerrlog_scope* scope);

// ---- Losses -------------------------------------------------------------------------------------

// The account of a log, from the creation of its logger on. See WyLogLoss.h.
typedef struct wyerrlog_loss {
  uint64_t refused;  // records that could not be written
  int64_t since;     // when the present or last loss began, in seconds since the Epoch; 0: never
  int losing;        // 1 from a refused record on until the next one that is written
  int error;         // errno of the last refused record
} wyerrlog_loss;

// Stores the account of a log. Takes no lock. Returns 0 (EINVAL) for a log that does not exist or
// NULL.
int wyerrlog_get_loss(wyerrlog_logger* logger, int log, wyerrlog_loss* loss);

// Has a function of the host called, on the thread that logs, when a log of the logger begins to
// lose records and when it ceases to; `param` is passed on. It replaces the former one; NULL
// removes it, and when the call has returned no thread is in the former function. The function may
// log. For a named logger `logger` is the one that wyerrlog_get_logger returns; for that of the
// process it is NULL.
typedef void (*wyerrlog_loss_callback)(wyerrlog_logger* logger, enum wyerrlog_log log,
                                       const wyerrlog_loss* loss, void* param);
int wyerrlog_on_loss(wyerrlog_logger* logger, wyerrlog_loss_callback callback, void* param);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
