#include "support/MessageWatch.h"

#include <gtest/gtest.h>

#include "support/MessageSchemas.h"

namespace ods::test {
namespace {

/// @param kind   what the message is
/// @param fault  what the schema says; "" when it is valid
void Judge(const Message& message, const std::string& kind, const std::string& fault) {
  if (message.meant == Message::Meant::kValid && !fault.empty()) ADD_FAILURE() << "The " << kind << " is " << fault;
  if (message.meant == Message::Meant::kMalformed && fault.empty()) {
    ADD_FAILURE() << "The " << kind << " is meant to be malformed, and is valid: " << message.text;
  }
}

}  // namespace

void MessageWatch::SetExact(bool exact) {
  const std::scoped_lock lock(mutex_);
  exact_ = exact;
}

void MessageWatch::Sent(const std::string& id, const Message& request) {
  bool exact = false;
  {
    const std::scoped_lock lock(mutex_);
    types_[id] = RequestType(request.text);
    exact = exact_;
  }
  if (request.meant != Message::Meant::kAnything) Judge(request, "request", FaultOfRequest(request.text, exact));
}

void MessageWatch::Received(const std::string& id, const Message& response) {
  std::string type;
  bool exact = false;
  {
    const std::scoped_lock lock(mutex_);
    const auto sent = types_.extract(id);
    ASSERT_FALSE(sent.empty()) << "a response to a request that nobody sent: " << response.text.substr(0, 1000);
    type = sent.mapped();
    exact = exact_;
  }
  Judge(response, "response to a request of the type \"" + type.substr(0, 100) + "\"",
        FaultOfResponse(response.text, type, exact));
}

}  // namespace ods::test
