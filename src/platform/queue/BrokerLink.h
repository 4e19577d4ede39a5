// A connection to a broker that is kept up: it is made anew when it is lost, and heartbeats go on whatever its owner is
// doing.
//
// Internal to this folder. librabbitmq's connections belong to one thread and its calls may take seconds, so each link
// has a thread of its own, and nobody who uses a link is ever held up by the network. A link belongs to one user's
// thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/queue/AmqpSession.h"
#include "platform/queue/BrokerUri.h"

namespace ods {

/// A delivery, and the connection that it came on: it can be settled on no other one.
struct LinkDelivery {
  AmqpDelivery message;
  std::uint64_t connection = 0;
};

class BrokerLink {
 public:
  /// True gives a waiting up; asked some fifty times a second on the user's thread. May be empty.
  using GiveUp = std::function<bool()>;

  /// Begins to connect.
  /// @param source      the queue that messages are read from, or `kDirectReplyTo`; "" until `Consume`
  /// @param largestBody of a message that is taken; a larger one comes without its body
  BrokerLink(BrokerUri uri, std::string source, std::size_t largestBody);
  /// What was settled is still told to the broker, if that takes no longer than a moment.
  ~BrokerLink();
  BrokerLink(const BrokerLink&) = delete;
  BrokerLink& operator=(const BrokerLink&) = delete;
  BrokerLink(BrokerLink&&) = delete;
  BrokerLink& operator=(BrokerLink&&) = delete;

  /// Has messages of the queue delivered, on this connection and all later ones.
  void Consume(const std::string& source);
  /// The number of the connection that is up, 0 when there is none.
  [[nodiscard]] std::uint64_t Connection() const;
  /// Waits until a connection is up. False when there is none after `wait`.
  [[nodiscard]] bool WaitUntilUp(std::chrono::milliseconds wait);
  /// Why there is no connection; "" when there is one, and while the first attempt lasts.
  [[nodiscard]] std::string Failure() const;

  /// The next delivery; nothing when none has come after `wait`, or when the connection was lost meanwhile.
  [[nodiscard]] std::optional<LinkDelivery> Receive(std::chrono::milliseconds wait);
  /// Sends a message and waits for its outcome, for as long as the connection is up. Raises error 1000 when there is no
  /// connection, when it is lost, or when `giveUp` says so: the message may have been sent then.
  [[nodiscard]] AmqpOutcome Publish(AmqpPublication publication, const GiveUp& giveUp);
  /// Settles a delivery. One of an earlier connection is the broker's again already.
  void Settle(const LinkDelivery& delivery, AmqpSettlement settlement);
  /// Drops the connection, so that it is made anew.
  void Renew();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

/// How many threads of links that are gone are still at work, in the whole process.
[[nodiscard]] int AbandonedLinkThreads();

}  // namespace ods
