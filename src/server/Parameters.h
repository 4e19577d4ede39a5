// The parameters of the server: one table, from which they are read, checked and explained.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace ods {

struct ParameterRow {
  std::string_view name;     ///< lower case
  std::string_view value;    ///< what stands after the equals sign in the help; "" for a parameter without a value
  std::string_view meaning;  ///< one line of the help
};

inline constexpr auto kParameters = std::to_array<ParameterRow>({
    {"parameterfile", "<file>", "read further parameters from a file; those of the command line win"},
    {"instance", "<name>", "name of this server (default: the process id)"},
    {"runningmutex", "<name>", "mutex that exists while the server runs; no message boxes are shown"},
    {"parentmutex", "<name>", "mutex that is watched; the server stops when it is gone"},
    {"messagefile", "<file>", "file that status and restart requests are written to"},
    {"alivefile", "<file>", "file that is rewritten every few seconds while the server lives"},
    {"statefile", "<file>", "file that is rewritten with the alive file: requests answered, state of the connection"},
    {"config", "<file>", "configuration file (default: dataserver.xml in the configuration folder)"},
    {"hidden", "", "show no window and no message box"},
    {"exact", "", "give every row exactly once, with all that its columns hold, from any table"},
    {"mode", "run|config", "run the server (default), or choose its options"},
    {"connecttimeout", "<seconds>", "longest wait for a connection to the database (default: 15; 0: for ever)"},
    {"querytimeout", "<seconds>", "longest wait for the database's answer to a statement (default: 30; 0: for ever)"},
    {"reconnect", "<seconds>", "connect again when the connection is lost, with pauses up to so many seconds"},
    {"datafolder", "<folder>", "data folder, with the logs (default: Data beside the program, or one of the user)"},
    {"configfolder", "<folder>", "configuration folder (default: config in the data folder)"},
    {"context", "<file>", "context document (default: context.xml beside the program)"},
    {"inqueue", "<folder|URI>", "queue that requests come from (default: Requests in the instance's queue folder)"},
    {"outqueue", "<folder|URI>", "queue that answers go to (default: Results in the instance's queue folder)"},
});

[[nodiscard]] constexpr bool IsParameter(std::string_view name) {
  return std::ranges::find(kParameters, name, &ParameterRow::name) != kParameters.end();
}

/// The name of a parameter of the table. Another one does not compile.
class ParameterName {
 public:
  consteval ParameterName(const char* name) : name_(name) {  // NOLINT(google-explicit-constructor): a checked literal
    if (!IsParameter(name)) throw "The table of parameters lacks this one.";
  }

  [[nodiscard]] constexpr std::string_view Text() const { return name_; }

 private:
  std::string_view name_;
};

}  // namespace ods
