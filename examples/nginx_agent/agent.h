#ifndef NGINX_AGENT_AGENT_H
#define NGINX_AGENT_AGENT_H

// The parts of the module for nginx: its configuration and the logs of a worker process
// (agent_module.c), the decisions (agent_request.c) and their audit records (agent_audit.c).

#include <ngx_config.h>
// After ngx_config.h:
#include <ngx_core.h>
#include <ngx_http.h>
#include <ngx_thread_pool.h>
#include <wyerrlog/wyerrlog_c.h>

#include "agent_policy.h"

// A virtual host, or several, with logs of its own.
typedef struct {
  ngx_str_t name;           // empty: the default tenant
  const char* folder;       // of its logs
  wyerrlog_logger* logger;  // owned by the library
  ngx_flag_t open;          // error log and audit log, in this process
} agent_tenant;

// Set by the directives in "http".
typedef struct {
  agent_policy* policy;
  ngx_str_t logs;         // folder
  ngx_str_t log_options;  // of wyerrlog_log_to_file
  ngx_str_t messages;     // folder of the catalogs
  ngx_str_t trace_config;
  ngx_flag_t trace;          // whether requests are traced after a start or reload
  ngx_array_t tenants;       // of pointers; the first one is the default tenant
  ngx_shm_zone_t* zone;      // its data: the switch of tracing that all processes share
  ngx_atomic_uint_t traced;  // the state of the switch that this process has followed
  ngx_thread_pool_t* threads;
  ngx_int_t request_id;  // index of the variable $request_id
} agent_main_conf;

// Set by the directives in "server" and "location".
typedef struct {
  agent_tenant* tenant;
} agent_server_conf;
typedef struct {
  ngx_flag_t guarded;
} agent_location_conf;

// A request while the server serves it; in the request's pool, also after a redirect.
typedef struct {
  const agent_tenant* tenant;
  const agent_policy* policy;
  wyerrlog_fields* fields;
  const char* id;
  const char* client;
  const char* method;
  const char* path;
  const char* authorization;
  const char* user;
  char user_buffer[256];
  int rule;  // number of the rule that decides, 0 if there is none
  enum agent_login login;
  unsigned login_running : 1;  // on a thread of the pool
  unsigned login_checked : 1;
  unsigned audited : 1;
} agent_request;

extern ngx_module_t ngx_http_access_agent_module;

// Turns this process's tracing on or off if the switch has changed since the last call.
void agent_follow_trace_switch(agent_main_conf* conf);
// Turns the switch; turning it on again reads the trace configuration again.
void agent_turn_trace_switch(agent_main_conf* conf, ngx_flag_t on);

// The handler of the access phase: decides and audits a request.
ngx_int_t agent_access_handler(ngx_http_request_t* r);

// Writes the audit record of a decision; the status is left out if it is 0. Returns 0 if it cannot
// be written: the caller must refuse the request.
int agent_write_audit(const agent_request* request, const char* decision, int status);

#endif
