#include "support/MessageWatch.h"

#include <gtest/gtest.h>

#include "support/MessageSchemas.h"

namespace ods::test {

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
  if (request.meant == Message::Meant::kAnything) return;
  const std::string fault = FaultOfRequest(request.text, exact);
  if (request.meant == Message::Meant::kValid) {
    if (!fault.empty()) ADD_FAILURE() << "The request is " << fault;
  } else if (fault.empty()) {
    ADD_FAILURE() << "The request is meant to be malformed, and is valid: " << request.text;
  }
}

void MessageWatch::Received(const std::string& id, const std::string& response) {
  std::string type;
  bool exact = false;
  {
    const std::scoped_lock lock(mutex_);
    const auto sent = types_.extract(id);
    ASSERT_FALSE(sent.empty()) << "a response to a request that nobody sent: " << response.substr(0, 1000);
    type = sent.mapped();
    exact = exact_;
  }
  const std::string fault = FaultOfResponse(response, type, exact);
  if (!fault.empty()) ADD_FAILURE() << "The response to a request of the type \"" << type << "\" is " << fault;
}

}  // namespace ods::test
