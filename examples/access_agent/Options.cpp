// Parses the command line by three tables: options with a text, options with a number, and
// switches.

#include "Options.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <string_view>

namespace {

constexpr char Usage[] =
    R"(usage: access_agent --root DIR --policy FILE --messages DIR --log DIR [option...]

  --root DIR              the folder to serve
  --policy FILE           the users, and the rules that permit requests
  --messages DIR          the folder of the message catalogs
  --log DIR               the folder of error.log, audit.log and trace.log
  --tenant HOST           a tenant; repeat the option for each. Requests to this host name (in lower
                          case) are logged in the folder of this name below the log folder
  --port N                the port on 127.0.0.1; 0, the default, means any free port
  --threads N             worker threads (8)
  --log-size MB           roll each log over before it reaches this size
  --log-backups N         number of backups to keep of each log (all)
  --seal DIR              seal the default tenant's audit log with the keys of this folder, which
                          `wylogctl seal create` makes

  --trace-config FILE     trace configuration: components, fields and filters
  --trace-layout N        0 brackets (default), 1 columns, 2 delimited, 3 XML, json
  --trace-delimiter TEXT  separator between the fields of layout 2 (,)
  --trace-console         trace to the terminal as well
  --trace                 trace from the start

Signals: USR1 reads the trace configuration and turns tracing on, USR2 turns it off, TERM and INT
end the agent. The message components are searched in $ORVA_WA_ROOT/bin. The first of LC_ALL,
LC_MESSAGES and LANG that is set chooses the language of the messages.
)";

[[noreturn]] void EndWithHelp() {
  std::cout << Usage;
  std::exit(EXIT_SUCCESS);
}

[[noreturn]] void EndWithError(std::string_view problem, std::string_view word) {
  std::cerr << "access_agent: " << problem << ": " << word << "\nTry access_agent --help\n";
  std::exit(EXIT_FAILURE);
}

// Adds a tenant. Its host name is also the name of a folder, so it must not contain "/" or begin
// with a dot.
void AddTenant(std::string_view name, std::set<std::string>& tenants) {
  constexpr std::string_view Permitted = "abcdefghijklmnopqrstuvwxyz0123456789-.";
  if (name.empty() || name.front() == '.' || name.front() == '-' ||
      name.find_first_not_of(Permitted) != std::string_view::npos) {
    EndWithError("not a host name in lower case", name);
  }
  tenants.emplace(name);
}

struct Number {
  int* pValue;
  int iLowest;
  int iHighest;
};

void ParseNumber(const char* pszText, const Number& number) {
  const char* pszEnd = pszText + std::strlen(pszText);
  const auto [pszStop, error] = std::from_chars(pszText, pszEnd, *number.pValue);
  if (error != std::errc() || pszStop != pszEnd) EndWithError("not a number", pszText);
  if (*number.pValue < number.iLowest || *number.pValue > number.iHighest) {
    EndWithError("out of range", pszText);
  }
}

void CheckRequired(const std::map<std::string_view, std::string*>& texts) {
  for (const char* pszName : {"--root", "--policy", "--messages", "--log"}) {
    if (texts.at(pszName)->empty()) EndWithError("missing", pszName);
  }
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
  constexpr std::string_view Tenant = "--tenant";
  Options options;
  const std::map<std::string_view, std::string*> texts = {
      {"--root", &options.strRoot},
      {"--policy", &options.strPolicy},
      {"--messages", &options.log.strMessages},
      {"--log", &options.log.strDirectory},
      {"--seal", &options.log.strSealKeys},
      {"--trace-config", &options.log.strTraceConfig},
      {"--trace-delimiter", &options.log.strTraceDelimiter},
  };
  const std::map<std::string_view, Number> numbers = {
      {"--port", {&options.iPort, 0, 65535}},
      {"--threads", {&options.iThreads, 1, 1000}},
      {"--log-size", {&options.log.iMaxSizeMB, 1, 4095}},
      {"--log-backups", {&options.log.iMaxBackups, 0, 1000000}},
      {"--trace-layout", {&options.log.iTraceLayout, WyTraceLayout::Brackets, WyTraceLayout::Xml}},
  };
  const std::map<std::string_view, bool*> switches = {
      {"--trace-console", &options.log.bTraceToConsole},
      {"--trace", &options.bTrace},
      {"--help", nullptr},
  };

  for (int i = 1; i < argc; ++i) {
    const std::string_view name = argv[i];
    if (const auto it = switches.find(name); it != switches.end()) {
      if (it->second == nullptr) EndWithHelp();
      *it->second = true;
      continue;
    }
    if (name != Tenant && !texts.contains(name) && !numbers.contains(name)) {
      EndWithError("unknown option", name);
    }
    if (++i == argc) EndWithError("value missing", name);
    if (name == Tenant) {
      AddTenant(argv[i], options.log.tenants);
    } else if (const auto it = texts.find(name); it != texts.end()) {
      *it->second = argv[i];
    } else if (name == "--trace-layout" && argv[i] == std::string_view("json")) {
      options.log.iTraceLayout = WyTraceLayout::Json;
    } else {
      ParseNumber(argv[i], numbers.at(name));
    }
  }
  CheckRequired(texts);
  return options;
}
