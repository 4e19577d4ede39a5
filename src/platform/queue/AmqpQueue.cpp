// One end of a queue of a broker, behind the members of a folder's.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <system_error>
#include <utility>

#include "common/Error.h"
#include "common/Text.h"
#include "platform/queue/Broker.h"
#include "platform/queue/BrokerLink.h"
#include "platform/queue/MessageProblems.h"
#include "platform/queue/QueueChoice.h"

namespace ods {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// The longest short string of AMQP 0-9-1, in bytes.
constexpr std::size_t kMaxShortText = 255;
/// For how long a message that was put back is kept in hand.
constexpr milliseconds kShortestPause{100};
constexpr milliseconds kLongestPause{5000};
/// How often an answer that its receiver refuses is tried again.
constexpr int kMostRefusals = 3;

/// What a request may call itself; none is taken for XML.
constexpr auto kContentTypes = std::to_array<std::string_view>({"", "application/xml", "text/xml"});
constexpr auto kContentEncodings = std::to_array<std::string_view>({"", "utf-8", "utf8", "identity"});

[[noreturn]] void RaiseOwn(const std::string& text) { throw Error(error_number::kOwn, text); }

bool IsOneOf(const auto& known, std::string_view text) {
  return std::ranges::find(known, ToLower(Trim(text))) != known.end();
}

/// True when its sender does not want it answered any more. The broker drops such messages at the head of the queue;
/// this one has expired on its way from there.
bool HasExpired(const AmqpDelivery& message) {
  constexpr std::uint64_t kMost = std::uint64_t{1} << 50U;  // beyond it are no times
  std::uint64_t expiration = 0;
  const char* const end = message.expiration.data() + message.expiration.size();
  const auto [read, error] = std::from_chars(message.expiration.data(), end, expiration);
  if (message.expiration.empty() || error != std::errc() || read != end || !message.timestamp) return false;
  if (expiration > kMost || *message.timestamp > kMost) return false;
  const auto now = std::chrono::duration_cast<milliseconds>(std::chrono::system_clock::now().time_since_epoch());
  // The timestamp has whole seconds.
  return static_cast<std::uint64_t>(now.count()) > (*message.timestamp + 1) * 1000 + expiration;
}

std::string IdOf(const AmqpDelivery& message) {
  if (!message.messageId.empty()) return message.messageId;
  if (!message.correlationId.empty()) return message.correlationId;
  return std::to_string(message.tag);
}

/// Why a message is not handled; "" when it is. The second half of a sentence.
std::string ProblemOf(const AmqpDelivery& message, const BrokerUri& uri) {
  if (message.earlierDeliveries >= static_cast<std::uint64_t>(uri.deliveryLimit)) {
    return problem::GivenUp(uri.deliveryLimit);
  }
  if (message.size > kMaxMessageBytes) return problem::TooLarge();
  const std::string_view type = std::string_view(message.contentType).substr(0, message.contentType.find(';'));
  if (!IsOneOf(kContentTypes, type)) return "has a content type that is not application/xml.";
  if (!IsOneOf(kContentEncodings, message.contentEncoding)) return "has a content encoding that is not UTF-8.";
  return "";
}

struct TakenMessage {
  std::string id;
  LinkDelivery delivery;
  std::string problem;  ///< why it is set aside; "" when it is handled
  int putBack = 0;      ///< how often it was
};

class AmqpQueue final : public Queue {
 public:
  void SetFolder(const std::string& folder) override { uri_ = ParseBrokerUri(folder); }
  void Create() override;
  std::string Poll(const std::string& id, int waitMilliseconds) override;
  [[nodiscard]] std::string Package() const override;
  [[nodiscard]] bool Reply(const TextPieces& text) override;
  void SetPackage(TextPieces text) override { outgoing_ = text.Joined(); }
  void Send(const std::string& id) override;
  [[nodiscard]] bool CanSend() override { return Link().Connection() != 0; }
  void Answered() override;
  void PutBack() override;
  [[nodiscard]] bool CanCarry(const std::string& id) const override {
    return !id.empty() && id.size() <= kMaxShortText;
  }
  void WhileWaiting(const std::function<bool()>& giveUp) override { giveUp_ = giveUp; }

 private:
  [[nodiscard]] BrokerLink& Link() const {
    if (!link_) RaiseOwn("The queue is not open.");
    return *link_;
  }
  [[nodiscard]] bool TakeHeld();
  [[nodiscard]] bool Take(LinkDelivery delivery);
  [[nodiscard]] AmqpPublication AnswerTo(const std::string& id, const std::string& queue, std::string text) const;

  BrokerUri uri_;
  std::unique_ptr<BrokerLink> link_;
  std::optional<TakenMessage> taken_;
  /// A message that was put back. The broker delivers no other one meanwhile.
  std::optional<TakenMessage> held_;
  Clock::time_point heldUntil_;
  std::string outgoing_;
  BrokerLink::GiveUp giveUp_;
};

void AmqpQueue::Create() {
  if (uri_.queue.empty()) RaiseOwn("The queue has no URI.");
  link_ = std::make_unique<BrokerLink>(uri_, "", kMaxMessageBytes);
}

std::string AmqpQueue::Poll(const std::string& id, int waitMilliseconds) {
  if (!id.empty()) RaiseOwn("A broker gives messages in its own order only.");
  Answered();
  Link().Consume(uri_.queue);
  const auto end = Clock::now() + milliseconds(waitMilliseconds);
  while (true) {
    if (TakeHeld()) return taken_->id;
    const auto now = Clock::now();
    auto rest = std::chrono::ceil<milliseconds>(end - now);
    if (held_) rest = std::min(rest, std::chrono::ceil<milliseconds>(heldUntil_ - now));
    auto delivery = Link().Receive(std::max(rest, milliseconds(0)));
    if (delivery && Take(*std::move(delivery))) return taken_->id;
    if (Clock::now() < end) continue;
    if (const std::string failure = Link().Failure(); !failure.empty()) RaiseOwn(failure);
    return "";
  }
}

/// Takes the message that was put back, when its time has come. One whose connection is lost is the broker's again.
bool AmqpQueue::TakeHeld() {
  if (held_ && held_->delivery.connection != Link().Connection()) held_.reset();
  if (!held_ || Clock::now() < heldUntil_) return false;
  taken_ = *std::exchange(held_, std::nullopt);
  return true;
}

bool AmqpQueue::Take(LinkDelivery delivery) {
  if (HasExpired(delivery.message)) {
    Link().Settle(delivery, AmqpSettlement::kDone);
    return false;
  }
  std::string id = IdOf(delivery.message);
  std::string problem = ProblemOf(delivery.message, uri_);
  if (!problem.empty()) problem = ShownMessage(id) + " " + problem;
  taken_ = TakenMessage{.id = std::move(id), .delivery = std::move(delivery), .problem = std::move(problem)};
  return true;
}

std::string AmqpQueue::Package() const {
  if (!taken_) RaiseOwn("The queue has no message: none was polled.");
  if (!taken_->problem.empty()) RaiseOwn(taken_->problem);
  return taken_->delivery.message.body;
}

AmqpPublication AmqpQueue::AnswerTo(const std::string& id, const std::string& queue, std::string text) const {
  const std::string expiration =
      uri_.expirySeconds > 0 ? std::to_string(std::int64_t{uri_.expirySeconds} * 1000) : std::string();
  return {.queue = queue, .correlationId = id, .expiration = expiration, .body = std::move(text)};
}

bool AmqpQueue::Reply(const TextPieces& text) {
  if (!taken_) return false;
  const std::string& to = taken_->delivery.message.replyTo;
  // Answers among the requests, or among what failed, would be taken for what they are not.
  if (to.empty() || to == uri_.queue || to == uri_.FailedQueue()) return false;
  if (taken_->delivery.connection != Link().Connection()) {
    RaiseOwn("The connection that the request came by is lost: the broker gives the request to a server again.");
  }
  const AmqpOutcome outcome = Link().Publish(AnswerTo(taken_->id, to, text.Joined()), giveUp_);
  if (outcome == AmqpOutcome::kConfirmed) return true;
  // A queue may refuse because it has just been made; but no client holds up the others with one that always does.
  if (outcome == AmqpOutcome::kRefused && taken_->putBack < kMostRefusals) {
    RaiseOwn("The queue that the request names for its answer does not take it now.");
  }
  throw Error(error_number::kFileNotFound,
              "The queue that the request names for its answer is not there, or does not take it.");
}

void AmqpQueue::Send(const std::string& id) {
  if (!CanCarry(id)) RaiseOwn("A message id has 1 to 255 bytes, this one " + std::to_string(id.size()) + ".");
  const AmqpOutcome outcome = Link().Publish(AnswerTo(id, uri_.queue, outgoing_), giveUp_);
  if (outcome == AmqpOutcome::kConfirmed) return;
  if (outcome == AmqpOutcome::kReturned) Link().Renew();  // which makes it, or tells that it is not there
  RaiseOwn(ShownMessage(id) + " cannot be sent: the queue of the broker " +
           (outcome == AmqpOutcome::kReturned ? "is not there." : "does not take it."));
}

void AmqpQueue::Answered() {
  if (!taken_) return;
  Link().Settle(taken_->delivery, taken_->problem.empty() ? AmqpSettlement::kDone : AmqpSettlement::kSetAside);
  taken_.reset();
}

void AmqpQueue::PutBack() {
  if (!taken_) return;
  heldUntil_ = Clock::now() + std::min(kShortestPause * (1 << std::min(taken_->putBack, 6)), kLongestPause);
  ++taken_->putBack;
  held_ = *std::exchange(taken_, std::nullopt);
}

}  // namespace

void RequireBrokerSupport() {}

std::shared_ptr<Queue> CreateBrokerQueue() { return std::make_shared<AmqpQueue>(); }

bool BrokerThreadsAreLeft() { return AbandonedLinkThreads() > 0; }

}  // namespace ods
