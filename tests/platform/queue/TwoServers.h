// What the tests of two servers on one queue share.
#pragma once

#include <string>
#include <vector>

#include "platform/queue/Queue.h"

namespace ods::test {

/// Sends so many messages, and then one for each of two servers that ends it. Gives "id=text" of the messages.
inline std::vector<std::string> SendToTwo(Queue& sender, int count) {
  std::vector<std::string> sent;
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    sender.SetPackage("text" + number);
    sender.Send("id" + number);
    sent.push_back(std::string("id").append(number).append("=text").append(number));
  }
  sender.Send("stop1");
  sender.Send("stop2");
  return sent;
}

}  // namespace ods::test
