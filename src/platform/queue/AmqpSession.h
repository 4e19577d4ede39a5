// One connection to a broker that speaks AMQP 0-9-1, with one channel, by librabbitmq.
//
// Internal to this folder. It belongs to one thread. Every failure is an error 1000 whose text says what happened and
// shows no password; the object is of no more use then.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/queue/BrokerUri.h"

namespace ods {

/// A message that the broker has delivered, as far as this system looks at it.
struct AmqpDelivery {
  std::uint64_t tag = 0;
  std::string messageId = {};
  std::string correlationId = {};
  std::string replyTo = {};
  std::string contentType = {};
  std::string contentEncoding = {};
  std::string expiration = {};                  ///< milliseconds, as text
  std::optional<std::uint64_t> timestamp = {};  ///< seconds since 1970
  std::uint64_t earlierDeliveries = 0;          ///< that were not acknowledged, as a quorum queue counts them
  std::uint64_t size = 0;                       ///< of the body in bytes
  std::string body = {};                        ///< empty when it is larger than is taken
};

struct AmqpPublication {
  std::string queue;  ///< or the name of a direct reply-to
  std::string messageId = {};
  std::string correlationId = {};
  std::string replyTo = {};
  std::string expiration = {};  ///< milliseconds, as text; "" for ever
  std::string body = {};
};

/// What became of a publication.
enum class AmqpOutcome : std::uint8_t {
  kConfirmed,  ///< the broker has taken it over
  kReturned,   ///< there is no such queue
  kRefused     ///< the queue does not take it
};

enum class AmqpSettlement : std::uint8_t {
  kDone,     ///< the queue forgets the message
  kSetAside  ///< it goes to the queue of what failed
};

/// The name by which a client asks for answers on the connection that it asks on.
inline constexpr std::string_view kDirectReplyTo = "amq.rabbitmq.reply-to";

class AmqpSession {
 public:
  /// Connects to a host of the URI and makes ready: confirms, one delivery at a time, and the queue with that of what
  /// failed, which are declared or looked for. It takes a few seconds at the most, but for the time that the system
  /// takes to look up a name.
  AmqpSession(const BrokerUri& uri, const BrokerHost& host, const std::string& password);
  ~AmqpSession();
  AmqpSession(const AmqpSession&) = delete;
  AmqpSession& operator=(const AmqpSession&) = delete;
  AmqpSession(AmqpSession&&) = delete;
  AmqpSession& operator=(AmqpSession&&) = delete;

  /// The socket, to be waited for.
  [[nodiscard]] int Descriptor() const;
  /// Has the messages of a queue delivered, each to be settled before the next comes; those of `kDirectReplyTo` come
  /// one after the other and need no settling.
  void Consume(const std::string& queue, std::size_t largestBody);
  /// Takes in what has come, and sends a heartbeat when one is due. To be called once a second at least, and whenever
  /// the socket can be read.
  void Service();
  [[nodiscard]] std::optional<AmqpDelivery> NextDelivery();
  /// Sends a message, persistent and as XML. One at a time: its outcome has to come first.
  void Publish(const AmqpPublication& publication);
  /// The outcome of what was published, once it is known.
  [[nodiscard]] std::optional<AmqpOutcome> NextOutcome();
  void Settle(std::uint64_t tag, AmqpSettlement settlement);
  /// Says good-bye, so that the broker need not find out.
  void Close();

 private:
  class Wire;
  std::unique_ptr<Wire> wire_;
};

}  // namespace ods
