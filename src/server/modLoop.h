// The main loop: the only thread of work of the server.
//
// A round tests the stop conditions, reloads the configuration file when it changed, connects what is pending, then
// polls the incoming queue and answers the message that it gave. A message is answered before the loop ends or
// reconnects, or goes back into the queue; no failure of a request, of a queue or of the database ends the loop.
#pragma once

#include <functional>

#include "database/DataSession.h"
#include "server/ServerState.h"
#include "server/Settings.h"
#include "server/modDispatch.h"
#include "server/modSignal.h"

namespace ods {

/// What the loop works on. Everything is borrowed and outlives it.
struct LoopContext {
  Settings& settings;
  ServerState& state;
  ProcessState& process;
  StatusSignals& signals;
  /// True once a stop was asked for from outside; asked at the top of every round. May be empty.
  std::function<bool()> stopRequested = {};
  HandlerLookup findHandler = &FindHandler;
};

/// While a driver is waited for, window events run and the heartbeat goes on; a stop then gives the driver's call up
/// after a moment, and the message in hand stays in the queue.
///
/// Runs until the run flag is cleared, a stop is asked for or the parent mutex is gone. Raises what testing the parent
/// mutex raises, and error 6 when the request count overflows; the message in hand then stays in the queue.
void MainLoop(const LoopContext& context);

}  // namespace ods
