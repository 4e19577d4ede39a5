// Folder or broker: what the text that names a queue stands for. The one place where that is decided.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/queue/BrokerUri.h"
#include "platform/queue/MessageClient.h"
#include "platform/queue/Queue.h"

namespace ods {

/// Where a queue is.
struct QueueAddress {
  bool synced = false;      ///< what is sent to the folder outlives the machine
  std::string folder = {};  ///< "" for a queue of a broker
  std::optional<BrokerUri> broker = {};

  /// For logs and messages: it shows no password.
  [[nodiscard]] std::string Shown() const { return broker ? broker->Shown() : folder; }
};

/// A path of a folder, "file:///path" (maybe with "?sync=1"), or the URI of a queue of a broker. Raises error 1000 for
/// a broken URI, and for one of a broker in a build that knows none.
[[nodiscard]] QueueAddress ParseQueueAddress(const std::string& text);
/// True when both are one queue, however they are written.
[[nodiscard]] bool IsSameQueue(const QueueAddress& one, const QueueAddress& other);

/// A new queue, of the kind that its folder or URI asks for: the component "Halvik.Queue".
[[nodiscard]] std::shared_ptr<Queue> CreateQueue();
/// The client's end. With a broker `results` is "": the answers come by the connection. Raises error 1000 naming what
/// cannot be used; a broker that cannot be reached is told by the members.
[[nodiscard]] std::unique_ptr<MessageClient> CreateMessageClient(const std::string& requests,
                                                                 const std::string& results,
                                                                 const ClientWaiting& waiting);

/// True while a thread that the network holds up is left over from a queue that is gone.
[[nodiscard]] bool BrokerThreadsAreLeft();

}  // namespace ods
