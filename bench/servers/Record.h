#ifndef BENCH_SERVERS_RECORD_H
#define BENCH_SERVERS_RECORD_H

// What the modules of the comparison write for each request in place of the agent's audit record.
// The environment variable WYERRLOG_BENCH chooses, when the server starts.

#ifdef __cplusplus
extern "C" {
#endif

enum bench_logging {
  BENCH_NOTHING,  // "none"
  BENCH_SERVER,   // "server": to the server's own error log
  BENCH_SPDLOG    // "spdlog": by spdlog, flushed at every record
};
enum bench_logging bench_logging_of_process(void);

// The fields of a record. The time, process and thread are what each logger adds itself.
struct bench_record {
  const char* event;
  const char* id;
  const char* user;
  const char* client;
  const char* method;
  const char* resource;
  int rule;
};
#define BENCH_FORMAT \
  "request=\"%s\" event=\"%s\" user=\"%s\" client=\"%s\" method=\"%s\" resource=\"%s\" rule=%d"

// Writes a record to the file that the environment variable WYERRLOG_BENCH_FILE names.
void bench_spdlog(const struct bench_record* record);

#ifdef __cplusplus
}
#endif

#endif
