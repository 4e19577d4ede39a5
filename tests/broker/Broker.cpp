#include "broker/Broker.h"

#include <amqp_tcp_socket.h>
#include <chrono>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/time.h>
#include <thread>

#include "platform/system/ReadFile.h"
#include "platform/system/System.h"

namespace ods::test {
namespace {

constexpr amqp_channel_t kChannel = 1;

amqp_bytes_t BytesOf(const std::string& text) { return {text.size(), const_cast<char*>(text.data())}; }

std::string Characters(const amqp_bytes_t& bytes) {
  return bytes.len == 0 ? std::string() : std::string(static_cast<const char*>(bytes.bytes), bytes.len);
}

void Require(const amqp_rpc_reply_t& reply, const char* what) {
  if (reply.reply_type == AMQP_RESPONSE_NORMAL) return;
  std::string why;
  if (reply.reply_type == AMQP_RESPONSE_LIBRARY_EXCEPTION) why = amqp_error_string2(reply.library_error);
  if (reply.reply_type == AMQP_RESPONSE_SERVER_EXCEPTION && reply.reply.id == AMQP_CHANNEL_CLOSE_METHOD) {
    why = Characters(static_cast<const amqp_channel_close_t*>(reply.reply.decoded)->reply_text);
  }
  throw std::runtime_error(std::string("raw broker: ") + what + ": " + why);
}

}  // namespace

std::string BrokerRoot() { return EnvironmentVariable("ODS_TEST_AMQP"); }

std::string BrokerFile(const std::string& name) { return EnvironmentVariable("ODS_TEST_AMQP_FOLDER") + "/" + name; }

std::string BrokerTlsPort() {
  std::string port = ReadFileText(BrokerFile("tls-port"));
  port.resize(port.find_last_not_of('\n') + 1);
  return port;
}

RawBroker::RawBroker() : connection_(amqp_new_connection()) {
  const BrokerUri uri = ParseBrokerUri(BrokerRoot() + "?queue=none");
  amqp_socket_t* socket = amqp_tcp_socket_new(connection_);
  // The broker may be busy with being restarted by another test.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (amqp_socket_open(socket, uri.hosts[0].name.c_str(), uri.hosts[0].port) != 0) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("no broker");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  Require(amqp_login(connection_, "/", 0, 131072, 0, AMQP_SASL_METHOD_PLAIN, uri.user.c_str(), uri.password.c_str()),
          "login");
  amqp_channel_open(connection_, kChannel);
  Require(amqp_get_rpc_reply(connection_), "channel");
}

RawBroker::~RawBroker() { amqp_destroy_connection(connection_); }

std::string RawBroker::MakeReplyQueue(const amqp_table_t& arguments) const {
  const auto* made = amqp_queue_declare(connection_, kChannel, amqp_empty_bytes, 0, 0, 1, 1, arguments);
  Require(amqp_get_rpc_reply(connection_), "declare");
  return Characters(made->queue);
}

void RawBroker::Publish(const std::string& queue, const std::string& body,
                        const amqp_basic_properties_t& properties) const {
  if (amqp_basic_publish(connection_, kChannel, amqp_empty_bytes, BytesOf(queue), 0, 0, &properties, BytesOf(body)) !=
      AMQP_STATUS_OK) {
    throw std::runtime_error("raw broker: publish");
  }
}

std::optional<RawBroker::Message> RawBroker::Get(const std::string& queue, double seconds) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (true) {
    amqp_maybe_release_buffers(connection_);
    const amqp_rpc_reply_t reply = amqp_basic_get(connection_, kChannel, BytesOf(queue), 1);
    Require(reply, "get");
    if (reply.reply.id == AMQP_BASIC_GET_OK_METHOD) break;
    if (std::chrono::steady_clock::now() >= end) return std::nullopt;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  amqp_message_t message;
  Require(amqp_read_message(connection_, kChannel, &message, 0), "read");
  const amqp_basic_properties_t& properties = message.properties;
  const auto text = [&properties](amqp_flags_t flag, const amqp_bytes_t& field) {
    return (properties._flags & flag) != 0 ? Characters(field) : std::string();
  };
  Message got{.body = Characters(message.body),
              .correlationId = text(AMQP_BASIC_CORRELATION_ID_FLAG, properties.correlation_id),
              .contentType = text(AMQP_BASIC_CONTENT_TYPE_FLAG, properties.content_type),
              .expiration = text(AMQP_BASIC_EXPIRATION_FLAG, properties.expiration),
              .persistent = properties.delivery_mode == AMQP_DELIVERY_PERSISTENT};
  amqp_destroy_message(&message);
  return got;
}

std::uint32_t RawBroker::Waiting(const std::string& queue) const {
  const auto* found = amqp_queue_declare(connection_, kChannel, BytesOf(queue), 1, 0, 0, 0, amqp_empty_table);
  Require(amqp_get_rpc_reply(connection_), "passive declare");
  return found->message_count;
}

void RawBroker::Delete(const std::string& queue) const {
  amqp_queue_delete(connection_, kChannel, BytesOf(queue), 0, 0);
  (void)amqp_get_rpc_reply(connection_);
}

BrokerQueues::BrokerQueues() : name_("test." + NewGuidText()) {}

BrokerQueues::~BrokerQueues() {
  try {
    const RawBroker broker;
    for (const char* end : {"", ".failed", ".answers", ".answers.failed"}) broker.Delete(name_ + end);
  } catch (const std::exception& error) {
    ADD_FAILURE() << "the queues are left: " << error.what();
  }
}

std::string BrokerQueues::Requests(const std::string& options) const {
  return BrokerRoot() + "?queue=" + name_ + options;
}

std::string BrokerQueues::Results(const std::string& options) const {
  return BrokerRoot() + "?queue=" + Answers() + options;
}

Properties& Properties::Set(amqp_flags_t flag, amqp_bytes_t& field, std::string text) {
  texts_.push_back(std::make_shared<std::string>(std::move(text)));
  values_._flags |= flag;
  field = BytesOf(*texts_.back());
  return *this;
}

}  // namespace ods::test
