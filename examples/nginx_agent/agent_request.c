// Decides requests in the access phase of nginx. A scope sets the request's id in every trace and
// audit record; it belongs to a thread, so each step that the event loop or the thread pool runs
// begins and ends a scope of its own, with the fields of the request.

#include <stdio.h>

#include "agent.h"

// ---- The request --------------------------------------------------------------------------------

static const char* copy_text(ngx_pool_t* pool, const ngx_str_t* text) {
  char* const copy = ngx_pnalloc(pool, text->len + 1);
  if (copy != NULL) ngx_cpystrn((u_char*)copy, text->data, text->len + 1);
  return copy;
}

// A user or a client with the id of the request, for messages: "alice (7f3a...)".
static const char* who(ngx_http_request_t* r, const char* name, const agent_request* request) {
  const size_t size = ngx_strlen(name) + ngx_strlen(request->id) + sizeof " ()";
  char* const text = ngx_pnalloc(r->pool, size);
  if (text != NULL) snprintf(text, size, "%s (%s)", name, request->id);
  return text;
}

static void end_request(void* data) { wyerrlog_fields_free(((agent_request*)data)->fields); }

// The object of a request that a redirect inside the server has brought here again, or NULL.
static agent_request* known_request(const ngx_http_request_t* r) {
  for (ngx_pool_cleanup_t* cleanup = r->pool->cleanup; cleanup != NULL; cleanup = cleanup->next) {
    if (cleanup->handler == end_request) return cleanup->data;
  }
  return NULL;
}

static ngx_int_t add_response_header(ngx_http_request_t* r, const char* name, const char* value) {
  ngx_table_elt_t* const header = ngx_list_push(&r->headers_out.headers);
  if (header == NULL) return NGX_ERROR;
  header->hash = 1;
  header->key.data = (u_char*)name;
  header->key.len = ngx_strlen(name);
  header->value.data = (u_char*)value;
  header->value.len = ngx_strlen(value);
  if (ngx_strcmp(name, "WWW-Authenticate") == 0) r->headers_out.www_authenticate = header;
  return NGX_OK;
}

static agent_request* new_request(ngx_http_request_t* r, const agent_main_conf* conf) {
  const agent_server_conf* const server =
      ngx_http_get_module_srv_conf(r, ngx_http_access_agent_module);
  const ngx_http_variable_value_t* const id =
      ngx_http_get_indexed_variable(r, (ngx_uint_t)conf->request_id);
  ngx_pool_cleanup_t* const cleanup = ngx_pool_cleanup_add(r->pool, sizeof(agent_request));
  if (cleanup == NULL || id == NULL || id->not_found) return NULL;
  agent_request* const request = cleanup->data;
  ngx_memzero(request, sizeof *request);
  cleanup->handler = end_request;
  const ngx_str_t id_text = {id->len, id->data};
  request->tenant = server->tenant;
  request->policy = conf->policy;
  request->id = copy_text(r->pool, &id_text);
  request->client = copy_text(r->pool, &r->connection->addr_text);
  request->method = copy_text(r->pool, &r->method_name);
  request->user = "anonymous";
  if (r->headers_in.authorization != NULL) {
    request->authorization = copy_text(r->pool, &r->headers_in.authorization->value);
  }
  if (request->id == NULL || request->client == NULL || request->method == NULL) return NULL;
  request->fields = wyerrlog_fields_new();
  wyerrlog_fields_set(request->fields, WYERRLOG_FIELD_TRANSACTION_ID, request->id);
  return add_response_header(r, "X-Request-Id", request->id) == NGX_OK ? request : NULL;
}

static agent_request* request_of(ngx_http_request_t* r, const agent_main_conf* conf) {
  agent_request* request = known_request(r);
  if (request == NULL) request = new_request(r, conf);
  if (request == NULL) return NULL;
  request->path = copy_text(r->pool, &r->uri);
  return request->path != NULL ? request : NULL;
}

// ---- The login, on a thread of the pool ---------------------------------------------------------

// Runs on a thread of the pool: the hash of a password takes milliseconds, which the event loop
// must not wait.
static void check_login(void* data, ngx_log_t* log) {
  agent_request* const request = *(agent_request**)data;
  (void)log;
  wyerrlog_scope* const scope = wyerrlog_scope_begin(request->fields);
  request->login = agent_policy_login(request->policy, request->authorization, request->user_buffer,
                                      sizeof request->user_buffer);
  wyerrlog_trace* const trace =
      wyerrlog_trace_begin(request->tenant->logger, WYERRLOG_HERE, LOGIN_AUTHENTICATION);
  wyerrlog_trace_set(trace, WYERRLOG_FIELD_USER, request->user_buffer);
  wyerrlog_trace_set(trace, WYERRLOG_FIELD_AUTH_SCHEME, "Basic");
  wyerrlog_trace_write(trace);
  wyerrlog_scope_end(scope);
}

// Runs in the event loop again: the access phase goes on where it was left.
static void finish_login(ngx_event_t* event) {
  ngx_http_request_t* const r = event->data;
  agent_request* const request = known_request(r);
  request->login_running = 0;
  request->login_checked = 1;
  r->main->blocked--;
  r->aio = 0;
  ngx_connection_t* const connection = r->connection;
  r->write_event_handler(r);
  ngx_http_run_posted_requests(connection);
}

static ngx_int_t start_login(ngx_http_request_t* r, agent_request* request,
                             const agent_main_conf* conf) {
  // The task's context is the address of the request.
  ngx_thread_task_t* const task = ngx_thread_task_alloc(r->pool, sizeof(void*));
  if (task == NULL) return NGX_HTTP_INTERNAL_SERVER_ERROR;
  ngx_memcpy(task->ctx, &request, sizeof(void*));
  task->handler = check_login;
  task->event.data = r;
  task->event.handler = finish_login;
  if (ngx_thread_task_post(conf->threads, task) != NGX_OK) return NGX_HTTP_INTERNAL_SERVER_ERROR;
  request->login_running = 1;
  r->main->blocked++;
  r->aio = 1;
  return NGX_AGAIN;
}

// Logs why a login is refused; returns whether it is accepted.
static int is_login_accepted(ngx_http_request_t* r, agent_request* request) {
  wyerrlog_logger* const logger = request->tenant->logger;
  if (request->authorization == NULL) {
    wyerrlog_message(logger, WYERRLOG_HERE, LOGIN_REQUIRED, who(r, request->client, request),
                     request->path, NULL);
    return 0;
  }
  if (request->login == AGENT_LOGIN_UNREADABLE) {
    wyerrlog_message(logger, WYERRLOG_HERE, LOGIN_UNREADABLE, who(r, request->client, request),
                     NULL);
    return 0;
  }
  request->user = request->user_buffer;
  if (request->login == AGENT_LOGIN_ACCEPTED) return 1;
  const int known = request->login == AGENT_LOGIN_WRONG_PASSWORD;
  wyerrlog_message(logger, WYERRLOG_HERE, known ? LOGIN_WRONG_PASSWORD : LOGIN_UNKNOWN_USER,
                   who(r, request->user, request), request->client, NULL);
  return 0;
}

// ---- The decision -------------------------------------------------------------------------------

static void trace_decision(const agent_request* request, const char* decision) {
  wyerrlog_trace* const trace =
      wyerrlog_trace_begin(request->tenant->logger, WYERRLOG_HERE, ISAUTH_SEND_RESPONSE);
  wyerrlog_trace_set(trace, WYERRLOG_FIELD_USER, request->user);
  wyerrlog_trace_set(trace, WYERRLOG_FIELD_RESOURCE, request->path);
  wyerrlog_trace_set(trace, WYERRLOG_FIELD_ACTION, request->method);
  wyerrlog_trace_set_int(trace, WYERRLOG_FIELD_RULE, request->rule);
  wyerrlog_trace_set(trace, WYERRLOG_FIELD_RESULT, decision);
  wyerrlog_trace_write(trace);
}

// A request has one audit record, written before its first page, and one more for a page that a
// redirect inside the server has led to and that is refused. Status 0: permitted.
static ngx_int_t conclude(ngx_http_request_t* r, agent_request* request, const char* decision,
                          int status) {
  trace_decision(request, decision);
  if (status == NGX_HTTP_UNAUTHORIZED &&
      add_response_header(r, "WWW-Authenticate", "Basic realm=\"access agent\"") != NGX_OK) {
    return NGX_HTTP_INTERNAL_SERVER_ERROR;
  }
  if (status != 0 || !request->audited) {
    request->audited = 1;
    if (!agent_write_audit(request, decision, status)) {
      wyerrlog_message(request->tenant->logger, WYERRLOG_HERE, ISAUTH_AUDIT_FAILED,
                       who(r, request->path, request), NULL);
      return NGX_HTTP_SERVICE_UNAVAILABLE;
    }
  }
  return status != 0 ? status : NGX_DECLINED;  // other modules decide as well
}

static ngx_int_t refuse(ngx_http_request_t* r, agent_request* request, uint32_t message) {
  char rule[16];
  snprintf(rule, sizeof rule, "%d", request->rule);
  wyerrlog_message(request->tenant->logger, WYERRLOG_HERE, message, who(r, request->user, request),
                   request->method, request->path, rule, NULL);
  return conclude(r, request, "deny", NGX_HTTP_FORBIDDEN);
}

static ngx_int_t decide(ngx_http_request_t* r, agent_request* request,
                        const agent_main_conf* conf) {
  request->rule = agent_policy_rule(conf->policy, request->method, request->path);
  if (request->rule < 0) {
    request->rule = 0;
    wyerrlog_message(request->tenant->logger, WYERRLOG_HERE, ISAUTH_INVALID_PATH,
                     who(r, request->client, request), request->path, NULL);
    return conclude(r, request, "invalid", NGX_HTTP_BAD_REQUEST);
  }
  if (request->rule == 0) return refuse(r, request, ISAUTH_NO_RULE);
  if (!agent_policy_permits(conf->policy, request->rule, NULL)) {
    if (request->authorization != NULL && !request->login_checked) {
      return start_login(r, request, conf);
    }
    if (!is_login_accepted(r, request)) {
      return conclude(r, request, "unauthenticated", NGX_HTTP_UNAUTHORIZED);
    }
    if (!agent_policy_permits(conf->policy, request->rule, request->user)) {
      return refuse(r, request, ISAUTH_NOT_PERMITTED);
    }
  }
  return conclude(r, request, "allow", 0);
}

ngx_int_t agent_access_handler(ngx_http_request_t* r) {
  const agent_location_conf* const location =
      ngx_http_get_module_loc_conf(r, ngx_http_access_agent_module);
  if (!location->guarded) return NGX_DECLINED;
  agent_main_conf* const conf = ngx_http_get_module_main_conf(r, ngx_http_access_agent_module);
  agent_request* const request = request_of(r, conf);
  if (request == NULL) return NGX_HTTP_INTERNAL_SERVER_ERROR;
  if (request->login_running) return NGX_AGAIN;  // an event of the connection
  if (!request->tenant->open) return NGX_HTTP_SERVICE_UNAVAILABLE;

  agent_follow_trace_switch(conf);
  wyerrlog_scope* const scope = wyerrlog_scope_begin(request->fields);
  const ngx_int_t result = decide(r, request, conf);
  wyerrlog_scope_end(scope);
  return result;
}
