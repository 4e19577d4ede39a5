#include "platform/queue/AmqpSession.h"

#include <algorithm>
#include <amqp.h>
#include <amqp_framing.h>
#include <amqp_tcp_socket.h>
#include <deque>
#include <filesystem>
#include <sys/time.h>
#include <utility>

#include "common/Error.h"
#include "platform/queue/AmqpFailure.h"
#include "platform/queue/AmqpTable.h"
#include "platform/queue/AmqpTls.h"
#include "platform/system/System.h"

namespace ods {

namespace {

constexpr amqp_channel_t kChannel = 1;
constexpr int kFrameBytes = 131072;
/// How long the broker may take to greet, and to answer what makes ready.
constexpr timeval kAnswerTime{.tv_sec = 10, .tv_usec = 0};
/// The same for the good-bye.
constexpr timeval kCloseTime{.tv_sec = 0, .tv_usec = 300000};
/// What of the queue of what failed is kept: messages, and bytes of them.
constexpr std::int64_t kMostFailed = 10000;
constexpr std::int64_t kMostFailedBytes = std::int64_t{1} << 30U;

struct ConnectionDeleter {
  void operator()(amqp_connection_state_t state) const noexcept { amqp_destroy_connection(state); }
};
using ConnectionHandle = std::unique_ptr<amqp_connection_state_t_, ConnectionDeleter>;

}  // namespace

/// The connection, and what it has brought.
class AmqpSession::Wire {
 public:
  Wire(const BrokerUri& uri, const BrokerHost& host, const std::string& password) : connection_(amqp_new_connection()) {
    if (!connection_) throw Error(error_number::kOwn, "There is no memory for a connection.");
    Open(uri, host);
    LogIn(uri, password);
    MakeReady(uri);
  }

  [[nodiscard]] int Descriptor() const { return amqp_get_sockfd(Get()); }

  void Consume(const std::string& queue, std::size_t largestBody) {
    largestBody_ = largestBody;
    const bool direct = queue == kDirectReplyTo;
    amqp_basic_consume(Get(), kChannel, BytesOf(queue), amqp_empty_bytes, 0, direct ? 1 : 0, 0, amqp_empty_table);
    RequireReply("The queue \"" + queue + "\" cannot be read");
  }

  void Service() {
    while (true) {
      timeval none{};
      amqp_frame_t frame;
      const int status = amqp_simple_wait_frame_noblock(Get(), &frame, &none);
      if (status == AMQP_STATUS_TIMEOUT) return;
      RequireAmqp(status, "The connection to the broker is lost");
      Take(frame);
      amqp_maybe_release_buffers(Get());
    }
  }

  void Publish(const AmqpPublication& publication) {
    amqp_basic_properties_t properties{};
    const auto set = [&properties](amqp_flags_t flag, amqp_bytes_t& field, std::string_view text) {
      if (text.empty()) return;
      properties._flags |= flag;
      field = BytesOf(text);
    };
    set(AMQP_BASIC_CONTENT_TYPE_FLAG, properties.content_type, "application/xml");
    set(AMQP_BASIC_MESSAGE_ID_FLAG, properties.message_id, publication.messageId);
    set(AMQP_BASIC_CORRELATION_ID_FLAG, properties.correlation_id, publication.correlationId);
    set(AMQP_BASIC_REPLY_TO_FLAG, properties.reply_to, publication.replyTo);
    set(AMQP_BASIC_EXPIRATION_FLAG, properties.expiration, publication.expiration);
    properties._flags |= AMQP_BASIC_DELIVERY_MODE_FLAG | AMQP_BASIC_TIMESTAMP_FLAG;
    properties.delivery_mode = AMQP_DELIVERY_PERSISTENT;
    timeval now{};
    gettimeofday(&now, nullptr);
    properties.timestamp = static_cast<std::uint64_t>(now.tv_sec);
    // A direct reply-to is no queue: the broker returns what must reach one.
    const bool mandatory = !publication.queue.starts_with(kDirectReplyTo);
    returned_ = false;
    outcome_.reset();
    RequireAmqp(amqp_basic_publish(Get(), kChannel, amqp_empty_bytes, BytesOf(publication.queue), mandatory ? 1 : 0, 0,
                                   &properties, BytesOf(publication.body)),
                "The message cannot be sent to the broker");
    ++published_;
  }

  void Settle(std::uint64_t tag, AmqpSettlement settlement) {
    RequireAmqp(settlement == AmqpSettlement::kDone ? amqp_basic_ack(Get(), kChannel, tag, 0)
                                                    : amqp_basic_reject(Get(), kChannel, tag, 0),
                "A message cannot be settled with the broker");
  }

  void Close() {
    amqp_set_rpc_timeout(Get(), &kCloseTime);
    (void)amqp_connection_close(Get(), AMQP_REPLY_SUCCESS);
  }

  std::deque<AmqpDelivery> deliveries_;
  std::optional<AmqpOutcome> outcome_;

 private:
  enum class Content : std::uint8_t { kNone, kDelivery, kReturned };

  [[nodiscard]] amqp_connection_state_t Get() const { return connection_.get(); }
  void RequireReply(const std::string& what) const { RequireAmqp(amqp_get_rpc_reply(Get()), what); }

  void Open(const BrokerUri& uri, const BrokerHost& host) {
    RequireAmqp(amqp_set_handshake_timeout(Get(), &kAnswerTime), "The broker cannot be waited for");
    RequireAmqp(amqp_set_rpc_timeout(Get(), &kAnswerTime), "The broker cannot be waited for");
    amqp_socket_t* socket = uri.tls ? MakeTlsSocket(Get(), uri) : amqp_tcp_socket_new(Get());
    if (socket == nullptr) throw Error(error_number::kOwn, "There is no memory for a connection.");
    const timeval limit{.tv_sec = uri.connectSeconds, .tv_usec = 0};
    RequireAmqp(amqp_socket_open_noblock(socket, host.name.c_str(), host.port, &limit), "No connection");
  }

  void LogIn(const BrokerUri& uri, const std::string& password) {
    const std::string program = std::filesystem::path(ExecutablePath()).filename().string();
    const std::string name = program + " " + std::to_string(CurrentProcessId());
    AmqpTable capabilities;
    capabilities.AddTrue("consumer_cancel_notify");
    AmqpTable properties;
    properties.AddText("product", program);
    properties.AddText("connection_name", name);
    properties.AddTable("capabilities", capabilities);
    const amqp_table_t table = properties.Get();
    RequireAmqp(amqp_login_with_properties(Get(), uri.vhost.c_str(), 1, kFrameBytes, uri.heartbeat, &table,
                                           AMQP_SASL_METHOD_PLAIN, uri.user.c_str(), password.c_str()),
                "The broker does not let the user in");
  }

  void MakeReady(const BrokerUri& uri) {
    amqp_channel_open(Get(), kChannel);
    RequireReply("The broker opens no channel");
    amqp_confirm_select(Get(), kChannel);
    RequireReply("The broker confirms nothing");
    amqp_basic_qos(Get(), kChannel, 0, 1, 0);
    RequireReply("The broker does not deliver messages one at a time");
    if (uri.declare) {
      AmqpTable failed;
      failed.AddText("x-queue-type", "quorum");
      failed.AddNumber("x-max-length", kMostFailed);
      failed.AddNumber("x-max-length-bytes", kMostFailedBytes);
      Declare(uri.FailedQueue(), failed, false);
      AmqpTable queue;
      const std::string failedQueue = uri.FailedQueue();
      queue.AddText("x-queue-type", "quorum");
      queue.AddNumber("x-delivery-limit", std::int64_t{uri.deliveryLimit});
      queue.AddText("x-dead-letter-exchange", "");
      queue.AddText("x-dead-letter-routing-key", failedQueue);
      Declare(uri.queue, queue, false);
    } else {
      Declare(uri.queue, {}, true);
    }
  }

  void Declare(const std::string& queue, const AmqpTable& arguments, bool passive) {
    amqp_queue_declare(Get(), kChannel, BytesOf(queue), passive ? 1 : 0, 1, 0, 0, arguments.Get());
    RequireReply("The queue \"" + queue + "\" cannot be used");
  }

  void Take(const amqp_frame_t& frame) {
    switch (frame.frame_type) {
      case AMQP_FRAME_METHOD:
        return TakeMethod(frame.payload.method);
      case AMQP_FRAME_HEADER:
        return TakeHeader(frame);
      case AMQP_FRAME_BODY:
        return TakeBody(frame.payload.body_fragment);
      default:
        return;
    }
  }

  void TakeMethod(const amqp_method_t& method) {
    switch (method.id) {
      case AMQP_BASIC_DELIVER_METHOD:
        content_ = Content::kDelivery;
        arriving_ = AmqpDelivery();
        arriving_.tag = static_cast<const amqp_basic_deliver_t*>(method.decoded)->delivery_tag;
        return;
      case AMQP_BASIC_RETURN_METHOD:
        content_ = Content::kReturned;
        returned_ = true;
        return;
      case AMQP_BASIC_ACK_METHOD:
        if (static_cast<const amqp_basic_ack_t*>(method.decoded)->delivery_tag == published_) {
          outcome_ = returned_ ? AmqpOutcome::kReturned : AmqpOutcome::kConfirmed;
        }
        return;
      case AMQP_BASIC_NACK_METHOD:
        if (static_cast<const amqp_basic_nack_t*>(method.decoded)->delivery_tag == published_) {
          outcome_ = AmqpOutcome::kRefused;
        }
        return;
      case AMQP_BASIC_CANCEL_METHOD:
        FailAmqp("The broker has ended the reading of the queue", "the queue was removed, or its machine is gone");
      case AMQP_CHANNEL_CLOSE_METHOD:
      case AMQP_CONNECTION_CLOSE_METHOD:
        FailAmqp("The broker has ended the connection", ClosingText(method));
      default:
        return;
    }
  }

  void TakeHeader(const amqp_frame_t& frame) {
    left_ = frame.payload.properties.body_size;
    if (content_ == Content::kDelivery) {
      const auto& properties = *static_cast<const amqp_basic_properties_t*>(frame.payload.properties.decoded);
      const auto text = [&properties](amqp_flags_t flag, const amqp_bytes_t& field) {
        return (properties._flags & flag) != 0 ? TextOf(field) : std::string();
      };
      arriving_.messageId = text(AMQP_BASIC_MESSAGE_ID_FLAG, properties.message_id);
      arriving_.correlationId = text(AMQP_BASIC_CORRELATION_ID_FLAG, properties.correlation_id);
      arriving_.replyTo = text(AMQP_BASIC_REPLY_TO_FLAG, properties.reply_to);
      arriving_.contentType = text(AMQP_BASIC_CONTENT_TYPE_FLAG, properties.content_type);
      arriving_.contentEncoding = text(AMQP_BASIC_CONTENT_ENCODING_FLAG, properties.content_encoding);
      arriving_.expiration = text(AMQP_BASIC_EXPIRATION_FLAG, properties.expiration);
      if ((properties._flags & AMQP_BASIC_TIMESTAMP_FLAG) != 0) arriving_.timestamp = properties.timestamp;
      if ((properties._flags & AMQP_BASIC_HEADERS_FLAG) != 0) {
        arriving_.earlierDeliveries = EarlierDeliveries(properties.headers);
      }
      arriving_.size = left_;
    }
    if (left_ == 0) FinishContent();
  }

  void TakeBody(const amqp_bytes_t& fragment) {
    if (content_ == Content::kDelivery && arriving_.size <= largestBody_) arriving_.body += TextOf(fragment);
    left_ -= std::min<std::uint64_t>(left_, fragment.len);
    if (left_ == 0) FinishContent();
  }

  void FinishContent() {
    if (content_ == Content::kDelivery) deliveries_.push_back(std::exchange(arriving_, {}));
    content_ = Content::kNone;
  }

  ConnectionHandle connection_;
  std::size_t largestBody_ = 0;
  Content content_ = Content::kNone;  ///< what header and body frames belong to
  AmqpDelivery arriving_;
  std::uint64_t left_ = 0;       ///< bytes of the body still to come
  std::uint64_t published_ = 0;  ///< the number by which the broker confirms the last publication
  bool returned_ = false;
};

AmqpSession::AmqpSession(const BrokerUri& uri, const BrokerHost& host, const std::string& password)
    : wire_(std::make_unique<Wire>(uri, host, password)) {}

AmqpSession::~AmqpSession() = default;

int AmqpSession::Descriptor() const { return wire_->Descriptor(); }
void AmqpSession::Consume(const std::string& queue, std::size_t largestBody) { wire_->Consume(queue, largestBody); }
void AmqpSession::Service() { wire_->Service(); }
void AmqpSession::Publish(const AmqpPublication& publication) { wire_->Publish(publication); }
void AmqpSession::Settle(std::uint64_t tag, AmqpSettlement settlement) { wire_->Settle(tag, settlement); }
void AmqpSession::Close() { wire_->Close(); }

std::optional<AmqpDelivery> AmqpSession::NextDelivery() {
  if (wire_->deliveries_.empty()) return std::nullopt;
  AmqpDelivery delivery = std::move(wire_->deliveries_.front());
  wire_->deliveries_.pop_front();
  return delivery;
}

std::optional<AmqpOutcome> AmqpSession::NextOutcome() { return std::exchange(wire_->outcome_, std::nullopt); }

}  // namespace ods
