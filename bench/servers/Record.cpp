// spdlog in the mode that promises what the agent does: the record is written on the calling thread
// before the call returns. All processes append to one file.

#include "Record.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <string_view>

namespace {

spdlog::logger& ProcessLogger() {
  static const auto s_pLogger = [] {
    auto pLogger = spdlog::basic_logger_mt("bench", std::getenv("WYERRLOG_BENCH_FILE"));
    pLogger->set_pattern("time=%Y-%m-%dT%H:%M:%S.%eZ pid=%P tid=%t %v",
                         spdlog::pattern_time_type::utc);
    pLogger->flush_on(spdlog::level::info);
    return pLogger;
  }();
  return *s_pLogger;
}

}  // namespace

enum bench_logging bench_logging_of_process() {
  static const bench_logging s_logging = [] {
    const char* const pszName = std::getenv("WYERRLOG_BENCH");
    const std::string_view name = pszName != nullptr ? pszName : "";
    if (name == "server") return BENCH_SERVER;
    return name == "spdlog" ? BENCH_SPDLOG : BENCH_NOTHING;
  }();
  return s_logging;
}

void bench_spdlog(const bench_record* record) {
  ProcessLogger().info(
      "request=\"{}\" event=\"{}\" user=\"{}\" client=\"{}\" method=\"{}\" resource=\"{}\" rule={}",
      record->id, record->event, record->user, record->client, record->method, record->resource,
      record->rule);
}
