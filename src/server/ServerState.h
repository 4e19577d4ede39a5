// What the server is doing: written by start-up and the main loop, shown by the windows.
#pragma once

#include <cstdint>
#include <string>

#include "common/Value.h"
#include "ui/ServerView.h"

namespace ods {

struct ServerState {
  Date startTime;                       ///< local time
  bool RunFlag = false;                 ///< cleared to end the main loop
  bool pollingEnabled = false;          ///< requests are taken
  bool databaseConnectPending = false;  ///< the next round connects to the database
  bool queueConnectPending = false;     ///< the next round connects to the queues
  std::string statusText;
  std::string buttonState;
  std::int32_t requestCount = 0;
};

}  // namespace ods
