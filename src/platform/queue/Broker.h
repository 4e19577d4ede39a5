// Queues of a broker. A build without the library for it has these functions, too: they raise an error that says so.
//
// Internal to this folder: `QueueChoice.h` is what others use.
#pragma once

#include <memory>

#include "platform/queue/BrokerUri.h"
#include "platform/queue/MessageClient.h"
#include "platform/queue/Queue.h"

namespace ods {

/// Raises error 1000 in a build that knows no broker.
void RequireBrokerSupport();
/// One end of a queue of a broker.
[[nodiscard]] std::shared_ptr<Queue> CreateBrokerQueue();
/// A client that gets its answers by the connection that it asks on (direct reply-to).
[[nodiscard]] std::unique_ptr<MessageClient> CreateBrokerClient(const BrokerUri& uri, const ClientWaiting& waiting);

}  // namespace ods
