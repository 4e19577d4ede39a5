#include "platform/queue/BrokerLink.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <poll.h>
#include <random>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "common/Error.h"
#include "common/Text.h"
#include "platform/queue/posix/BrokerThread.h"
#include "platform/system/FileHandle.h"
#include "platform/system/PrivateFile.h"

namespace ods {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How often whoever waits is asked whether to give up.
constexpr milliseconds kAsk{20};
/// How often the connection is served when nothing happens: heartbeats are counted in seconds.
constexpr milliseconds kServe{500};
/// The pauses between attempts to connect: the first one, and the longest.
constexpr milliseconds kShortestPause{100};
constexpr milliseconds kLongestPause{5000};
/// A connection that was up for so long begins with the shortest pause again.
constexpr std::chrono::seconds kStable{5};
/// How long the end of the thread is waited for, before and after its socket was shut.
constexpr milliseconds kEnding{250};

std::atomic<int>& Abandoned() {
  static std::atomic<int> abandoned = 0;
  return abandoned;
}

milliseconds WithJitter(milliseconds pause) {
  std::random_device random;
  const auto spread = std::uniform_int_distribution<std::int64_t>(0, pause.count() / 2)(random);
  return milliseconds(pause.count() - spread);
}

struct Settling {
  std::uint64_t tag = 0;
  AmqpSettlement settlement = AmqpSettlement::kDone;
};

/// What the thread is to do next.
struct Orders {
  bool end = false;
  bool renew = false;
  std::string consume = {};
  std::vector<Settling> settle = {};
  std::optional<AmqpPublication> publish = {};

  [[nodiscard]] bool Any() const { return end || renew || !consume.empty() || !settle.empty() || publish; }
};

}  // namespace

/// What the user's thread and the link's share. `uri` and `largestBody` never change; the rest is under the mutex.
struct BrokerLink::State {
  State(BrokerUri wanted, std::string queue, std::size_t largest)
      : uri(std::move(wanted)),
        largestBody(largest),
        wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
        source(std::move(queue)) {
    if (!wake) RaiseSystemError("Unable to make a connection to the broker", LastSystemError());
  }

  const BrokerUri uri;
  const std::size_t largestBody;
  const FileHandle wake;  ///< readable when there are orders

  std::mutex mutex;
  std::condition_variable changed;
  BrokerThread thread;
  std::string source;
  std::uint64_t connections = 0;  ///< made so far
  bool up = false;
  int socket = -1;
  std::string failure;
  std::deque<LinkDelivery> arrived;
  Orders orders;
  bool publishing = false;
  std::optional<AmqpOutcome> outcome;
  bool ended = false;
  bool abandoned = false;

  void Wake() const {
    const std::uint64_t one = 1;
    (void)!write(wake.Get(), &one, sizeof one);
  }

  // The thread's side.
  void Work();
  void Run();
  [[nodiscard]] std::unique_ptr<AmqpSession> Connect();
  void Serve(AmqpSession& session);
  [[nodiscard]] Orders TakeOrders();
  void CarryOut(AmqpSession& session, Orders orders);
  void TellWhatCame(AmqpSession& session);
  void TellDown(const std::string& why);
  [[nodiscard]] bool Pause(milliseconds pause);
};

/// The thread.
void BrokerLink::State::Work() {
  try {
    Run();
  } catch (const std::exception& error) {
    TellDown(error.what());
  }
  const std::lock_guard lock(mutex);
  ended = true;
  if (abandoned) --Abandoned();
  changed.notify_all();
}

void BrokerLink::State::Run() {
  milliseconds pause = kShortestPause;
  while (true) {
    auto since = Clock::now();
    std::unique_ptr<AmqpSession> session;
    try {
      session = Connect();
      since = Clock::now();
      Serve(*session);
      session->Close();
      TellDown("closed");
      return;
    } catch (const std::exception& error) {
      TellDown(error.what());
    }
    session.reset();  // only now: until then somebody might have shut the socket down
    if (Clock::now() - since > kStable) pause = kShortestPause;
    if (!Pause(WithJitter(pause))) return;
    pause = std::min(pause * 2, kLongestPause);
  }
}

/// Tries the hosts in turn, beginning with any. Raises error 1000 with what each of them said.
std::unique_ptr<AmqpSession> BrokerLink::State::Connect() {
  const std::string password = uri.passwordFile.empty() ? uri.password : ReadPasswordFile(uri.passwordFile);
  std::vector<std::string> failures(uri.hosts.size());
  std::random_device random;
  const std::size_t first = random() % uri.hosts.size();
  for (std::size_t i = 0; i < uri.hosts.size(); ++i) {
    const std::size_t which = (first + i) % uri.hosts.size();
    const BrokerHost& host = uri.hosts[which];
    try {
      auto session = std::make_unique<AmqpSession>(uri, host, password);
      std::string from;
      {
        const std::lock_guard lock(mutex);
        from = source;
        orders.consume.clear();
      }
      if (!from.empty()) session->Consume(from, largestBody);
      const std::lock_guard lock(mutex);
      ++connections;
      up = true;
      socket = session->Descriptor();
      failure.clear();
      orders.renew = false;
      changed.notify_all();
      return session;
    } catch (const Error& error) {
      failures[which] = host.name + ":" + std::to_string(host.port) + ": " + error.Description();
    }
    const std::lock_guard lock(mutex);
    if (orders.end) break;
  }
  throw Error(error_number::kOwn, Join(failures, "; "));
}

/// Returns when the link is to end; raises when the connection is lost.
void BrokerLink::State::Serve(AmqpSession& session) {
  while (true) {
    session.Service();
    TellWhatCame(session);
    Orders taken = TakeOrders();
    if (taken.Any()) {
      const bool end = taken.end;
      CarryOut(session, std::move(taken));
      if (end) return;
      continue;
    }
    pollfd watched[] = {{.fd = session.Descriptor(), .events = POLLIN, .revents = 0},
                        {.fd = wake.Get(), .events = POLLIN, .revents = 0}};
    poll(watched, 2, static_cast<int>(kServe.count()));
    std::uint64_t count = 0;
    if ((watched[1].revents & POLLIN) != 0) (void)!read(wake.Get(), &count, sizeof count);
  }
}

Orders BrokerLink::State::TakeOrders() {
  const std::lock_guard lock(mutex);
  const bool end = orders.end;
  Orders taken = std::exchange(orders, {});
  orders.end = end;  // it stays
  return taken;
}

void BrokerLink::State::CarryOut(AmqpSession& session, Orders taken) {
  for (const Settling& each : taken.settle) session.Settle(each.tag, each.settlement);
  if (taken.renew) throw Error(error_number::kOwn, "The connection is made anew.");
  if (!taken.consume.empty()) session.Consume(taken.consume, largestBody);
  if (taken.publish) session.Publish(*taken.publish);
}

void BrokerLink::State::TellWhatCame(AmqpSession& session) {
  const std::lock_guard lock(mutex);
  bool news = false;
  while (auto delivery = session.NextDelivery()) {
    arrived.push_back({*std::move(delivery), connections});
    news = true;
  }
  if (const auto known = session.NextOutcome(); known && publishing) {
    outcome = known;
    news = true;
  }
  if (news) changed.notify_all();
}

void BrokerLink::State::TellDown(const std::string& why) {
  const std::lock_guard lock(mutex);
  up = false;
  socket = -1;
  failure = uri.Shown() + ": " + why;
  arrived.clear();  // the broker has them again
  orders.settle.clear();
  orders.publish.reset();
  changed.notify_all();
}

/// False when the link is to end.
bool BrokerLink::State::Pause(milliseconds pause) {
  std::unique_lock lock(mutex);
  return !changed.wait_for(lock, pause, [this] { return orders.end; });
}

BrokerLink::BrokerLink(BrokerUri uri, std::string source, std::size_t largestBody)
    : state_(std::make_shared<State>(std::move(uri), std::move(source), largestBody)) {
  state_->thread = BrokerThread([state = state_] { state->Work(); });
}

BrokerLink::~BrokerLink() {
  std::unique_lock lock(state_->mutex);
  state_->orders.end = true;
  state_->changed.notify_all();
  state_->Wake();
  const auto hasEnded = [this] { return state_->ended; };
  if (!state_->changed.wait_for(lock, kEnding, hasEnded)) {
    if (state_->socket >= 0) shutdown(state_->socket, SHUT_RDWR);  // whatever it waits for ends now
    (void)state_->changed.wait_for(lock, kEnding, hasEnded);
  }
  BrokerThread thread = std::move(state_->thread);
  const bool ended = state_->ended;
  state_->abandoned = !ended;
  if (!ended) ++Abandoned();
  lock.unlock();
  if (ended) {
    thread.Join();
    return;
  }
  // It looks up a name, say, which nothing can end. It touches only what it owns with others.
  thread.Detach();
}

void BrokerLink::Consume(const std::string& source) {
  const std::lock_guard lock(state_->mutex);
  if (state_->source == source) return;
  state_->source = source;
  state_->orders.consume = source;
  state_->Wake();
}

std::uint64_t BrokerLink::Connection() const {
  const std::lock_guard lock(state_->mutex);
  return state_->up ? state_->connections : 0;
}

bool BrokerLink::WaitUntilUp(milliseconds wait) {
  std::unique_lock lock(state_->mutex);
  return state_->changed.wait_for(lock, wait, [this] { return state_->up; });
}

std::string BrokerLink::Failure() const {
  const std::lock_guard lock(state_->mutex);
  return state_->failure;
}

std::optional<LinkDelivery> BrokerLink::Receive(milliseconds wait) {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait_for(lock, wait, [this] { return !state_->arrived.empty(); });
  if (state_->arrived.empty()) return std::nullopt;
  LinkDelivery delivery = std::move(state_->arrived.front());
  state_->arrived.pop_front();
  return delivery;
}

AmqpOutcome BrokerLink::Publish(AmqpPublication publication, const GiveUp& giveUp) {
  std::unique_lock lock(state_->mutex);
  const auto fail = [this](const std::string& why) {
    state_->publishing = false;
    throw Error(error_number::kOwn, "The message cannot be sent to the broker. " + why);
  };
  if (!state_->up) fail(state_->failure.empty() ? state_->uri.Shown() + ": not connected yet" : state_->failure);
  const std::uint64_t connection = state_->connections;
  state_->outcome.reset();
  state_->publishing = true;
  state_->orders.publish = std::move(publication);
  state_->Wake();
  const auto isOver = [&] { return state_->outcome.has_value() || !state_->up || state_->connections != connection; };
  while (!state_->changed.wait_for(lock, kAsk, isOver)) {
    lock.unlock();
    const bool givenUp = giveUp && giveUp();
    lock.lock();
    if (!givenUp || isOver()) continue;
    // Its outcome would be taken for that of the next one; and nothing must be settled that it was the answer to.
    state_->orders.renew = true;
    state_->up = false;
    state_->failure = state_->uri.Shown() + ": given up";
    state_->Wake();
    fail("The waiting was given up.");
  }
  if (!state_->outcome) fail(state_->failure.empty() ? "The connection was lost." : state_->failure);
  state_->publishing = false;
  return *std::exchange(state_->outcome, std::nullopt);
}

void BrokerLink::Settle(const LinkDelivery& delivery, AmqpSettlement settlement) {
  const std::lock_guard lock(state_->mutex);
  if (!state_->up || delivery.connection != state_->connections) return;
  state_->orders.settle.push_back({delivery.message.tag, settlement});
  state_->Wake();
}

void BrokerLink::Renew() {
  const std::lock_guard lock(state_->mutex);
  state_->orders.renew = true;
  state_->Wake();
}

int AbandonedLinkThreads() { return Abandoned(); }

}  // namespace ods
