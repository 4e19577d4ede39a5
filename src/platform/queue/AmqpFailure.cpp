#include "platform/queue/AmqpFailure.h"

#include <amqp_framing.h>

#include "common/Error.h"

namespace ods {

void FailAmqp(const std::string& what, const std::string& why) { throw Error(error_number::kOwn, what + ": " + why); }

void RequireAmqp(int status, const std::string& what) {
  if (status < 0) FailAmqp(what, amqp_error_string2(status));
}

std::string ClosingText(const amqp_method_t& method) {
  if (method.id == AMQP_CONNECTION_CLOSE_METHOD) {
    return TextOf(static_cast<const amqp_connection_close_t*>(method.decoded)->reply_text);
  }
  if (method.id == AMQP_CHANNEL_CLOSE_METHOD) {
    return TextOf(static_cast<const amqp_channel_close_t*>(method.decoded)->reply_text);
  }
  return "the broker answered with the method " + std::to_string(method.id);
}

void RequireAmqp(const amqp_rpc_reply_t& reply, const std::string& what) {
  if (reply.reply_type == AMQP_RESPONSE_NORMAL) return;
  if (reply.reply_type == AMQP_RESPONSE_SERVER_EXCEPTION) FailAmqp(what, ClosingText(reply.reply));
  FailAmqp(what, amqp_error_string2(reply.library_error));
}

std::string TextOf(const amqp_bytes_t& bytes) {
  return bytes.len == 0 ? std::string() : std::string(static_cast<const char*>(bytes.bytes), bytes.len);
}

amqp_bytes_t BytesOf(std::string_view text) { return {text.size(), const_cast<char*>(text.data())}; }

}  // namespace ods
