// What the controller's configuration file says, checked and complete.
#pragma once

#include <string>
#include <vector>

namespace ods::controller {

/// Which failed requests make the controller start their server anew.
enum class RestartOn {
  kLost,   ///< those after which the server says that its connection is lost
  kError,  ///< every one that the server asks a restart for
  kNever
};

/// Seconds, all of them.
struct WatchLimits {
  int start = 30;  ///< to the running mutex
  int alive = 0;   ///< between two heartbeats
  int stop = 15;   ///< from being asked to end to SIGKILL
  int backoffLeast = 1;
  int backoffMost = 60;
  int restartsPerMinute = 10;
  RestartOn restartOn = RestartOn::kLost;
  bool reconnects = false;  ///< the server itself connects again
};

/// One data source, and the servers that answer for it.
struct Source {
  std::string name;
  std::string connection;  ///< the whole ODBC connection string, with the password
  std::string requests;    ///< folders, absolute, or URIs of a broker without its password
  std::string results;
  std::string configurationFolder;  ///< of the views; "" for the server's own
  std::string context;              ///< the context document; "" for the server's own
  int servers = 1;
  bool exact = true;
  int connectTimeout = 15;  ///< seconds
  int queryTimeout = 30;
  int reconnect = 0;
  WatchLimits limits;
};

struct Settings {
  std::string file;     ///< where they come from
  std::string state;    ///< folder of what stays: slots, logs, queues; absolute
  std::string runtime;  ///< folder of what is gone with the machine's run: status files; absolute
  std::string server;   ///< the server's program; absolute
  std::vector<Source> sources;
};

}  // namespace ods::controller
