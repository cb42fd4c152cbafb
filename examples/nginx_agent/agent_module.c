// A dynamic module for nginx that guards locations by an access policy. The life of its loggers:
//
//   configuration  in the master, at the start and at each reload: creates the loggers, without
//                  outputs; the workers that it forks inherit them
//   init_process   in each worker, as the server's user: opens the logs
//   access phase   in the event loop of a worker: decides and audits a request
//   exit_process   in each worker: closes the logs
//
// At a reload and at an upgrade of the binary, old and new workers run side by side and share the
// logs, hence the option "shared" in the example of docs/servers.md.

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include "agent.h"

// ---- Directives ---------------------------------------------------------------------------------

static void free_policy(void* policy) { agent_policy_free(policy); }

static char* set_policy(ngx_conf_t* cf, ngx_command_t* command, void* conf) {
  agent_main_conf* const main_conf = conf;
  ngx_str_t file = ((ngx_str_t*)cf->args->elts)[1];
  char error[512];
  (void)command;
  if (main_conf->policy != NULL) return "is duplicate";
  if (ngx_conf_full_name(cf->cycle, &file, 1) != NGX_OK) return NGX_CONF_ERROR;
  ngx_pool_cleanup_t* const cleanup = ngx_pool_cleanup_add(cf->pool, 0);
  if (cleanup == NULL) return NGX_CONF_ERROR;
  main_conf->policy = agent_policy_load((const char*)file.data, error, sizeof error);
  if (main_conf->policy == NULL) {
    ngx_conf_log_error(NGX_LOG_EMERG, cf, 0, "access_agent_policy: %s", error);
    return NGX_CONF_ERROR;
  }
  cleanup->data = main_conf->policy;
  cleanup->handler = free_policy;
  return NGX_CONF_OK;
}

static char* set_path(ngx_conf_t* cf, ngx_command_t* command, void* conf) {
  char* const result = ngx_conf_set_str_slot(cf, command, conf);
  if (result != NGX_CONF_OK) return result;
  ngx_str_t* const path = (ngx_str_t*)((char*)conf + command->offset);
  return ngx_conf_full_name(cf->cycle, path, 1) == NGX_OK ? NGX_CONF_OK : NGX_CONF_ERROR;
}

static agent_tenant* add_tenant(ngx_conf_t* cf, agent_main_conf* conf, const ngx_str_t* name) {
  agent_tenant** const tenants = conf->tenants.elts;
  for (ngx_uint_t i = 0; i < conf->tenants.nelts; i++) {
    if (tenants[i]->name.len == name->len &&
        ngx_memcmp(tenants[i]->name.data, name->data, name->len) == 0) {
      return tenants[i];
    }
  }
  agent_tenant** const place = ngx_array_push(&conf->tenants);
  if (place == NULL) return NULL;
  *place = ngx_pcalloc(cf->pool, sizeof(agent_tenant));
  if (*place != NULL) (*place)->name = *name;
  return *place;
}

// A tenant's name is also the name of a folder, so it must not contain "/" or begin with a dot.
static char* set_tenant(ngx_conf_t* cf, ngx_command_t* command, void* conf) {
  const char permitted[] = "abcdefghijklmnopqrstuvwxyz0123456789-.";
  const ngx_str_t* const name = (ngx_str_t*)cf->args->elts + 1;
  const char* const text = (const char*)name->data;
  (void)command;
  if (text[0] == '\0' || text[0] == '.' || text[strspn(text, permitted)] != '\0') {
    return "must be a name of lower-case letters, digits, \"-\" and \".\"";
  }
  agent_main_conf* const main_conf =
      ngx_http_conf_get_module_main_conf(cf, ngx_http_access_agent_module);
  ((agent_server_conf*)conf)->tenant = add_tenant(cf, main_conf, name);
  return ((agent_server_conf*)conf)->tenant != NULL ? NGX_CONF_OK : NGX_CONF_ERROR;
}

// POST /LOCATION?on and POST /LOCATION?off.
static ngx_int_t handle_control(ngx_http_request_t* r) {
  if (r->method != NGX_HTTP_POST) return NGX_HTTP_NOT_ALLOWED;
  const ngx_int_t result = ngx_http_discard_request_body(r);
  if (result != NGX_OK) return result;
  const int on = r->args.len == 2 && ngx_strncmp(r->args.data, "on", 2) == 0;
  const int off = r->args.len == 3 && ngx_strncmp(r->args.data, "off", 3) == 0;
  if (!on && !off) return NGX_HTTP_BAD_REQUEST;
  agent_turn_trace_switch(ngx_http_get_module_main_conf(r, ngx_http_access_agent_module), on);
  return NGX_HTTP_NO_CONTENT;  // each worker process follows with its next request
}

static char* set_control(ngx_conf_t* cf, ngx_command_t* command, void* conf) {
  ngx_http_core_loc_conf_t* const location =
      ngx_http_conf_get_module_loc_conf(cf, ngx_http_core_module);
  (void)command;
  (void)conf;
  location->handler = handle_control;
  return NGX_CONF_OK;
}

#define MAIN (NGX_HTTP_MAIN_CONF | NGX_CONF_TAKE1)
static ngx_command_t directives[] = {
    {ngx_string("access_agent_policy"), MAIN, set_policy, NGX_HTTP_MAIN_CONF_OFFSET, 0, NULL},
    {ngx_string("access_agent_logs"), MAIN, set_path, NGX_HTTP_MAIN_CONF_OFFSET,
     offsetof(agent_main_conf, logs), NULL},
    {ngx_string("access_agent_log_options"), MAIN, ngx_conf_set_str_slot, NGX_HTTP_MAIN_CONF_OFFSET,
     offsetof(agent_main_conf, log_options), NULL},
    {ngx_string("access_agent_messages"), MAIN, set_path, NGX_HTTP_MAIN_CONF_OFFSET,
     offsetof(agent_main_conf, messages), NULL},
    {ngx_string("access_agent_trace_config"), MAIN, set_path, NGX_HTTP_MAIN_CONF_OFFSET,
     offsetof(agent_main_conf, trace_config), NULL},
    {ngx_string("access_agent_trace"), NGX_HTTP_MAIN_CONF | NGX_CONF_FLAG, ngx_conf_set_flag_slot,
     NGX_HTTP_MAIN_CONF_OFFSET, offsetof(agent_main_conf, trace), NULL},
    {ngx_string("access_agent_tenant"), NGX_HTTP_SRV_CONF | NGX_CONF_TAKE1, set_tenant,
     NGX_HTTP_SRV_CONF_OFFSET, 0, NULL},
    {ngx_string("access_agent"), NGX_HTTP_LOC_CONF | NGX_CONF_FLAG, ngx_conf_set_flag_slot,
     NGX_HTTP_LOC_CONF_OFFSET, offsetof(agent_location_conf, guarded), NULL},
    {ngx_string("access_agent_control"), NGX_HTTP_LOC_CONF | NGX_CONF_NOARGS, set_control,
     NGX_HTTP_LOC_CONF_OFFSET, 0, NULL},
    ngx_null_command};

// ---- Configurations -----------------------------------------------------------------------------

static void* create_main_conf(ngx_conf_t* cf) {
  const ngx_str_t no_name = ngx_string("");
  agent_main_conf* const conf = ngx_pcalloc(cf->pool, sizeof *conf);
  if (conf == NULL) return NULL;
  conf->trace = NGX_CONF_UNSET;
  if (ngx_array_init(&conf->tenants, cf->pool, 4, sizeof(agent_tenant*)) != NGX_OK) return NULL;
  return add_tenant(cf, conf, &no_name) != NULL ? conf : NULL;
}

static void* create_server_conf(ngx_conf_t* cf) {
  return ngx_pcalloc(cf->pool, sizeof(agent_server_conf));
}

static char* merge_server_confs(ngx_conf_t* cf, void* outer, void* inner) {
  agent_main_conf* const main_conf =
      ngx_http_conf_get_module_main_conf(cf, ngx_http_access_agent_module);
  agent_server_conf* const server = inner;
  (void)outer;
  if (server->tenant == NULL) server->tenant = *(agent_tenant**)main_conf->tenants.elts;
  return NGX_CONF_OK;
}

static void* create_location_conf(ngx_conf_t* cf) {
  agent_location_conf* const conf = ngx_pcalloc(cf->pool, sizeof *conf);
  if (conf != NULL) conf->guarded = NGX_CONF_UNSET;
  return conf;
}

static char* merge_location_confs(ngx_conf_t* cf, void* outer, void* inner) {
  (void)cf;
  ngx_conf_merge_value(((agent_location_conf*)inner)->guarded,
                       ((agent_location_conf*)outer)->guarded, 0);
  return NGX_CONF_OK;
}

static ngx_int_t name_tenants(ngx_conf_t* cf, agent_main_conf* conf) {
  agent_tenant** const tenants = conf->tenants.elts;
  for (ngx_uint_t i = 0; i < conf->tenants.nelts; i++) {
    const char* const slash = i == 0 ? "" : "/";
    const size_t size = conf->logs.len + tenants[i]->name.len + sizeof "access_agent/";
    char* const folder = ngx_pnalloc(cf->pool, size);
    char* const name = ngx_pnalloc(cf->pool, size);
    if (folder == NULL || name == NULL) return NGX_ERROR;
    ngx_sprintf((u_char*)folder, "%V%s%V%Z", &conf->logs, slash, &tenants[i]->name);
    ngx_sprintf((u_char*)name, "access_agent%s%V%Z", slash, &tenants[i]->name);
    tenants[i]->folder = folder;
    tenants[i]->logger = wyerrlog_get_logger(name);
    if (tenants[i]->logger == NULL) return NGX_ERROR;
  }
  return NGX_OK;
}

// A reload gets a new switch, in the state that the configuration names.
static ngx_int_t init_trace_switch(ngx_shm_zone_t* zone, void* former) {
  agent_main_conf* const conf = zone->data;
  ngx_slab_pool_t* const pool = (ngx_slab_pool_t*)zone->shm.addr;
  (void)former;
  ngx_atomic_t* const trace_switch = ngx_slab_calloc(pool, sizeof *trace_switch);
  if (trace_switch == NULL) return NGX_ERROR;
  *trace_switch = conf->trace == 1;
  pool->data = (void*)trace_switch;
  return NGX_OK;
}

static ngx_int_t add_trace_switch(ngx_conf_t* cf, agent_main_conf* conf) {
  ngx_str_t name = ngx_string("access_agent");
  conf->zone = ngx_shared_memory_add(cf, &name, 8 * ngx_pagesize, &ngx_http_access_agent_module);
  if (conf->zone == NULL) return NGX_ERROR;
  conf->zone->data = conf;
  conf->zone->init = init_trace_switch;
  conf->zone->noreuse = 1;
  return NGX_OK;
}

static const char* missing_directive(const agent_main_conf* conf) {
  if (conf->policy == NULL) return "access_agent_policy";
  if (conf->logs.len == 0) return "access_agent_logs";
  if (conf->messages.len == 0) return "access_agent_messages";
  return conf->trace_config.len == 0 ? "access_agent_trace_config" : NULL;
}

static ngx_int_t finish_configuration(ngx_conf_t* cf) {
  agent_main_conf* const conf =
      ngx_http_conf_get_module_main_conf(cf, ngx_http_access_agent_module);
  ngx_http_core_main_conf_t* const core =
      ngx_http_conf_get_module_main_conf(cf, ngx_http_core_module);
  ngx_str_t request_id = ngx_string("request_id");
  const char* const missing = missing_directive(conf);
  if (missing != NULL) {
    ngx_conf_log_error(NGX_LOG_EMERG, cf, 0, "the directive \"%s\" is missing", missing);
    return NGX_ERROR;
  }
  if (!wyerrlog_set_resource_directory((const char*)conf->messages.data)) {
    ngx_conf_log_error(NGX_LOG_EMERG, cf, 0, "access_agent_messages: %s", wyerrlog_error());
    return NGX_ERROR;
  }
  conf->request_id = ngx_http_get_variable_index(cf, &request_id);
  conf->threads = ngx_thread_pool_add(cf, NULL);
  ngx_http_handler_pt* const handler =
      ngx_array_push(&core->phases[NGX_HTTP_ACCESS_PHASE].handlers);
  if (conf->request_id == NGX_ERROR || conf->threads == NULL || handler == NULL) return NGX_ERROR;
  *handler = agent_access_handler;
  return name_tenants(cf, conf) == NGX_OK ? add_trace_switch(cf, conf) : NGX_ERROR;
}

// ---- The logs of a worker process ---------------------------------------------------------------

static const char* log_path(const agent_tenant* tenant, const char* name, char* path, size_t size) {
  ngx_snprintf((u_char*)path, size, "%s/%s%Z", tenant->folder, name);
  return path;
}

static int open_logs(const agent_main_conf* conf, agent_tenant* tenant) {
  const char* const options = (const char*)conf->log_options.data;
  char path[NGX_MAX_PATH];
  if (mkdir(tenant->folder, 0750) != 0 && errno != EEXIST) return 0;
  return wyerrlog_log_to_file(tenant->logger, log_path(tenant, "error.log", path, sizeof path),
                              options) &&
         wyerrlog_audit_to_file(tenant->logger, log_path(tenant, "audit.log", path, sizeof path),
                                options);
}

static void trace(const agent_main_conf* conf, const agent_tenant* tenant, int on) {
  const char* const config = (const char*)conf->trace_config.data;
  char path[NGX_MAX_PATH];
  if (!on) {
    wyerrlog_close(tenant->logger, WYERRLOG_TRACE_LOG);
    wyerrlog_message(tenant->logger, WYERRLOG_HERE, ISAUTH_TRACING_OFF, NULL);
    return;
  }
  on = wyerrlog_trace_to_file(tenant->logger, log_path(tenant, "trace.log", path, sizeof path),
                              config, (const char*)conf->log_options.data);
  wyerrlog_message(tenant->logger, WYERRLOG_HERE, on ? ISAUTH_TRACING_ON : ISAUTH_TRACING_FAILED,
                   config, path, NULL);
}

static ngx_atomic_t* trace_switch_of(const agent_main_conf* conf) {
  return ((ngx_slab_pool_t*)conf->zone->shm.addr)->data;
}

// The switch counts its changes; if it is odd, requests are traced.
void agent_turn_trace_switch(agent_main_conf* conf, ngx_flag_t on) {
  ngx_atomic_t* const trace_switch = trace_switch_of(conf);
  for (;;) {
    const ngx_atomic_uint_t before = *trace_switch;
    const ngx_atomic_uint_t change = (before % 2 == 1) == (on != 0) ? 2 : 1;
    if (ngx_atomic_cmp_set(trace_switch, before, before + change)) return;
  }
}

void agent_follow_trace_switch(agent_main_conf* conf) {
  const ngx_atomic_uint_t wanted = *trace_switch_of(conf);
  if (wanted == conf->traced) return;
  conf->traced = wanted;
  agent_tenant** const tenants = conf->tenants.elts;
  for (ngx_uint_t i = 0; i < conf->tenants.nelts; i++) trace(conf, tenants[i], wanted % 2 == 1);
}

// A worker whose logs cannot be opened refuses the requests of that tenant.
static ngx_int_t init_process(ngx_cycle_t* cycle) {
  agent_main_conf* const conf =
      ngx_http_cycle_get_module_main_conf(cycle, ngx_http_access_agent_module);
  if (conf == NULL || conf->zone == NULL) return NGX_OK;  // no block "http"
  agent_tenant** const tenants = conf->tenants.elts;
  for (ngx_uint_t i = 0; i < conf->tenants.nelts; i++) {
    tenants[i]->open = open_logs(conf, tenants[i]);
    if (!tenants[i]->open) {
      ngx_log_error(NGX_LOG_EMERG, cycle->log, errno, "access agent: %s: %s", tenants[i]->folder,
                    wyerrlog_error());
    }
  }
  agent_follow_trace_switch(conf);
  return NGX_OK;
}

static void exit_process(ngx_cycle_t* cycle) {
  agent_main_conf* const conf =
      ngx_http_cycle_get_module_main_conf(cycle, ngx_http_access_agent_module);
  if (conf == NULL || conf->zone == NULL) return;
  agent_tenant** const tenants = conf->tenants.elts;
  for (ngx_uint_t i = 0; i < conf->tenants.nelts; i++) {
    wyerrlog_close(tenants[i]->logger, WYERRLOG_TRACE_LOG);
    wyerrlog_close(tenants[i]->logger, WYERRLOG_AUDIT_LOG);
    wyerrlog_close(tenants[i]->logger, WYERRLOG_ERROR_LOG);
  }
}

// ---- The module ---------------------------------------------------------------------------------

static ngx_http_module_t http_module = {
    .postconfiguration = finish_configuration,
    .create_main_conf = create_main_conf,
    .create_srv_conf = create_server_conf,
    .merge_srv_conf = merge_server_confs,
    .create_loc_conf = create_location_conf,
    .merge_loc_conf = merge_location_confs,
};

ngx_module_t ngx_http_access_agent_module = {
    NGX_MODULE_V1, &http_module, directives, NGX_HTTP_MODULE, NULL, NULL,
    init_process,  NULL,         NULL,       exit_process,    NULL, NGX_MODULE_V1_PADDING};

// What the server asks a dynamic module for.
__attribute__((visibility("default")))
ngx_module_t* ngx_modules[] = {&ngx_http_access_agent_module, NULL};
__attribute__((visibility("default"))) char* ngx_module_names[] = {"ngx_http_access_agent_module",
                                                                   NULL};
__attribute__((visibility("default"))) char* ngx_module_order[] = {NULL};
