// The thread of a connection to a broker: with a stack that no message is too deep for, and without signals.
//
// Internal to this folder.
#pragma once

#include <functional>
#include <optional>
#include <pthread.h>
#include <utility>

namespace ods {

/// A thread that runs `work`. It is left to itself when its object goes without `Join`.
class BrokerThread {
 public:
  BrokerThread() = default;
  /// Raises error 1000 when the system gives no thread.
  explicit BrokerThread(std::function<void()> work);
  ~BrokerThread() { Detach(); }
  BrokerThread(BrokerThread&& other) noexcept : thread_(std::exchange(other.thread_, std::nullopt)) {}
  BrokerThread& operator=(BrokerThread&& other) noexcept {
    std::swap(thread_, other.thread_);
    return *this;
  }
  BrokerThread(const BrokerThread&) = delete;
  BrokerThread& operator=(const BrokerThread&) = delete;

  void Join() {
    if (thread_) pthread_join(*std::exchange(thread_, std::nullopt), nullptr);
  }
  void Detach() {
    if (thread_) pthread_detach(*std::exchange(thread_, std::nullopt));
  }

 private:
  std::optional<pthread_t> thread_;
};

}  // namespace ods
