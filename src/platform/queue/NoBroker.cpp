// In place of all that needs the library of a broker, where that is left out of the build.
#include "common/Error.h"
#include "platform/queue/Broker.h"
#include "platform/queue/QueueChoice.h"

namespace ods {

void RequireBrokerSupport() {
  throw Error(error_number::kOwn, "This program was built without queues of a broker (WITH_AMQP=OFF).");
}

std::shared_ptr<Queue> CreateBrokerQueue() {
  RequireBrokerSupport();
  return nullptr;
}

std::unique_ptr<MessageClient> CreateBrokerClient(const BrokerUri& /*uri*/, const ClientWaiting& /*waiting*/) {
  RequireBrokerSupport();
  return nullptr;
}

bool BrokerThreadsAreLeft() { return false; }

}  // namespace ods
