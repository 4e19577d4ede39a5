// The client's end of a broker: each answer comes by the connection that its request went by.
#include <algorithm>
#include <map>
#include <thread>
#include <utility>

#include "common/Attempt.h"
#include "common/Error.h"
#include "platform/queue/Broker.h"
#include "platform/queue/BrokerLink.h"
#include "platform/queue/Queue.h"

namespace ods {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How often a lost connection is noticed by whoever waits.
constexpr milliseconds kLook{100};
/// The pause before a request that was refused is sent again.
constexpr milliseconds kAgain{50};
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
  [[nodiscard]] std::string TrySend(Pending& pending);
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
  while (true) {
    std::string failure;
    if (link_.WaitUntilUp(kLook)) {
      failure = TrySend(pending);
      if (failure.empty()) break;
      std::this_thread::sleep_for(kAgain);
    } else {
      failure = link_.Failure();
    }
    if (MustGiveUp()) RaiseOwn("The sending of a request was given up.");
    if (Clock::now() >= end) RaiseOwn(failure.empty() ? shown_ + ": The broker does not answer." : failure);
  }
  pending_.emplace(id, std::move(pending));
}

/// Why a request could not be sent now; "" when the queue has it. A queue that is only just being made, or whose leader
/// is being elected, refuses for a while.
std::string AmqpClient::TrySend(Pending& pending) {
  const std::uint64_t connection = link_.Connection();
  AmqpOutcome outcome{};
  if (const auto failure = Attempt([&] { outcome = link_.Publish(pending.request, waiting_.giveUp); })) {
    return failure->Description();
  }
  if (outcome == AmqpOutcome::kReturned) {
    link_.Renew();  // which makes the queue, unless the URI says otherwise
    return "There is no such queue: " + shown_;
  }
  if (outcome == AmqpOutcome::kRefused) return "The queue does not take the request: " + shown_;
  pending.connection = connection;
  return "";
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
      (void)TrySend(pending->second);  // else with the next look
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
