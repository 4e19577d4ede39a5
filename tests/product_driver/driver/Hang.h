// A driver that does not come back.
#pragma once

#include <condition_variable>
#include <mutex>

#include "product_driver/driver/ConnectionString.h"

namespace ods::product_driver {

class Hang {
 public:
  /// Raises 08001 for settings that are none.
  void Configure(const ConnectionString& settings);

  /// Called with each connect, statement and row: waits where it was told to. Raises HY008 when that is cancelled.
  void AtConnect();
  void AtStatement(std::int64_t number);
  void AtRow(std::int64_t number);
  /// Ends the waiting, unless it was told to wait as well, or to do nothing.
  void Cancel();

 private:
  void Wait(bool cancellable);

  bool connect_ = false;
  std::int64_t statement_ = 0;
  std::int64_t row_ = 0;
  std::int64_t milliseconds_ = 0;
  bool ignoresCancel_ = false;
  bool cancelHangs_ = false;
  std::mutex mutex_;
  std::condition_variable cancelled_;
  bool isCancelled_ = false;
};

}  // namespace ods::product_driver
