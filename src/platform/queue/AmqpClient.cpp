// The client's end of a broker: each answer comes by the connection that its request went by.
#include <algorithm>
#include <map>
#include <utility>

#include "common/Error.h"
#include "platform/queue/Broker.h"
#include "platform/queue/BrokerLink.h"

namespace ods {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// An answer may be larger than a request, but no client reads without an end.
constexpr std::size_t kMaxAnswerBytes = std::size_t{1} << 30U;
/// How often a lost connection is noticed by whoever waits.
constexpr milliseconds kLook{100};
/// A request is not answered that waits longer than its client; but never less than this.
constexpr milliseconds kLeastExpiration{1000};

[[noreturn]] void RaiseOwn(const std::string& text) { throw Error(error_number::kOwn, text); }

struct Pending {
  AmqpPublication request;
  std::uint64_t connection = 0;  ///< that it was sent by; 0 when it has to be sent again
};

class AmqpClient final : public MessageClient {
 public:
  AmqpClient(const BrokerUri& uri, ClientWaiting waiting)
      : queue_(uri.queue),
        shown_(uri.Shown()),
        waiting_(std::move(waiting)),
        link_(uri, std::string(kDirectReplyTo), kMaxAnswerBytes) {}

  void Send(const std::string& id, const std::string& text) override;
  [[nodiscard]] std::optional<std::string> Receive(const std::string& id, milliseconds timeout) override;

 private:
  [[nodiscard]] bool MustGiveUp() const { return waiting_.giveUp && waiting_.giveUp(); }
  void Publish(Pending& pending);
  void PublishAgain(Pending& pending);
  void TakeIn(LinkDelivery delivery);

  std::string queue_;
  std::string shown_;
  ClientWaiting waiting_;
  BrokerLink link_;
  std::map<std::string, Pending> pending_;
  std::map<std::string, AmqpDelivery> answers_;
};

void AmqpClient::Send(const std::string& id, const std::string& text) {
  const auto expiration = std::max(waiting_.timeout, kLeastExpiration);
  Pending pending{.request = {.queue = queue_,
                              .messageId = id,
                              .correlationId = id,
                              .replyTo = std::string(kDirectReplyTo),
                              .expiration = std::to_string(expiration.count()),
                              .body = text}};
  const auto end = Clock::now() + waiting_.timeout;
  while (pending.connection == 0) {
    if (link_.WaitUntilUp(kLook)) {
      PublishAgain(pending);
      if (pending.connection != 0) break;
    }
    if (MustGiveUp()) RaiseOwn("The sending of a request was given up.");
    if (Clock::now() < end) continue;
    const std::string failure = link_.Failure();
    RaiseOwn(failure.empty() ? shown_ + ": The broker does not answer." : failure);
  }
  pending_.emplace(id, std::move(pending));
}

/// Raises what cannot be mended by sending it again, and what the link raises.
void AmqpClient::Publish(Pending& pending) {
  const std::uint64_t connection = link_.Connection();
  const AmqpOutcome outcome = link_.Publish(pending.request, waiting_.giveUp);
  if (outcome == AmqpOutcome::kReturned) RaiseOwn("There is no such queue: " + shown_);
  if (outcome == AmqpOutcome::kRefused) RaiseOwn("The queue does not take the request: " + shown_);
  pending.connection = connection;
}

/// The same; a connection that is lost meanwhile leaves it to be sent once more.
void AmqpClient::PublishAgain(Pending& pending) {
  const std::uint64_t connection = link_.Connection();
  try {
    Publish(pending);
  } catch (const Error&) {
    if (connection != 0 && link_.Connection() == connection) throw;
    pending.connection = 0;
  }
}

void AmqpClient::TakeIn(LinkDelivery delivery) {
  const std::string id = delivery.message.correlationId;
  if (pending_.erase(id) > 0) answers_.insert_or_assign(id, std::move(delivery.message));
}

std::optional<std::string> AmqpClient::Receive(const std::string& id, milliseconds timeout) {
  const auto end = Clock::now() + timeout;
  while (true) {
    if (const auto found = answers_.find(id); found != answers_.end()) {
      AmqpDelivery answer = std::move(found->second);
      answers_.erase(found);
      if (answer.size > answer.body.size()) {
        RaiseOwn("The answer is larger than " + std::to_string(kMaxAnswerBytes) + " bytes.");
      }
      return std::move(answer.body);
    }
    const auto pending = pending_.find(id);
    const std::uint64_t connection = link_.Connection();
    // The answer would go to a connection that is no more.
    if (pending != pending_.end() && connection != 0 && pending->second.connection != connection) {
      PublishAgain(pending->second);
    }
    const auto rest = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (auto delivery = link_.Receive(std::clamp(rest, milliseconds(0), kLook))) {
      TakeIn(*std::move(delivery));
    } else if (Clock::now() >= end) {
      return std::nullopt;
    }
  }
}

}  // namespace

std::unique_ptr<MessageClient> CreateBrokerClient(const BrokerUri& uri, const ClientWaiting& waiting) {
  return std::make_unique<AmqpClient>(uri, waiting);
}

}  // namespace ods
