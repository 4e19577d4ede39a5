#include "platform/queue/posix/BrokerThread.h"

#include <csignal>
#include <cstddef>
#include <memory>

#include "platform/system/FileHandle.h"

namespace ods {

namespace {

/// The library reads headers of messages by recursion, and whoever may send one decides how deep: up to some 26,000
/// arrays in each other, five bytes each, have room in a frame. Whatever the system's own limit is, it takes less stack
/// than this.
constexpr std::size_t kStackBytes = std::size_t{32} * 1024 * 1024;

/// Holds back all signals of this thread, and of those that it starts.
class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;
  SignalsHeldBack(SignalsHeldBack&&) = delete;
  SignalsHeldBack& operator=(SignalsHeldBack&&) = delete;

 private:
  sigset_t before_{};
};

void* Run(void* work) {
  const std::unique_ptr<std::function<void()>> owned(static_cast<std::function<void()>*>(work));
  (*owned)();
  return nullptr;
}

}  // namespace

BrokerThread::BrokerThread(std::function<void()> work) {
  auto handed = std::make_unique<std::function<void()>>(std::move(work));
  const SignalsHeldBack heldBack;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  pthread_t thread{};
  const int failure = pthread_create(&thread, &attributes, Run, handed.get());
  pthread_attr_destroy(&attributes);
  if (failure != 0) RaiseSystemError("Unable to start a thread for the broker", {failure, std::system_category()});
  (void)handed.release();  // the thread's own now
  thread_ = thread;
}

}  // namespace ods
