// What librabbitmq tells of failures, as errors, and its texts.
//
// Internal to this folder.
#pragma once

#include <amqp.h>
#include <string>
#include <string_view>

namespace ods {

/// Raises error 1000, `what` + ": " + `why`.
[[noreturn]] void FailAmqp(const std::string& what, const std::string& why);
/// Raises it for a status below 0, and for any reply but a normal one.
void RequireAmqp(int status, const std::string& what);
void RequireAmqp(const amqp_rpc_reply_t& reply, const std::string& what);
/// What the broker says at the end of a channel or a connection.
[[nodiscard]] std::string ClosingText(const amqp_method_t& method);

[[nodiscard]] std::string TextOf(const amqp_bytes_t& bytes);
/// The library takes what it only reads as something that may be written.
[[nodiscard]] amqp_bytes_t BytesOf(std::string_view text);

}  // namespace ods
