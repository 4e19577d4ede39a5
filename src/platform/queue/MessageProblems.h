// What is told of messages that cannot be handled, whatever queue they came by.
//
// Internal to this folder.
#pragma once

#include <string>

#include "common/PercentCode.h"
#include "platform/queue/Queue.h"

namespace ods {

/// Ids come from clients; encoded they can stand in any text.
inline std::string ShownMessage(const std::string& id) { return "The message \"" + PercentEncode(id) + "\""; }

/// The second halves of sentences that begin with `ShownMessage`.
namespace problem {

inline std::string TooLarge() { return "is larger than " + std::to_string(kMaxMessageBytes) + " bytes."; }

inline std::string GivenUp(int tries) {
  return "was given up: the server ended " + std::to_string(tries) + " times while it answered it.";
}

}  // namespace problem

}  // namespace ods
