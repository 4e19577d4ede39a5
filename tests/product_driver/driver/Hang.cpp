#include "product_driver/driver/Hang.h"

#include <chrono>

#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {
namespace {

constexpr std::int64_t kAnHour = 3'600'000;

}  // namespace

void Hang::Configure(const ConnectionString& settings) {
  connect_ = settings.Number("HangConnect") != 0;
  statement_ = settings.Number("HangStatement");
  row_ = settings.Number("HangFetch");
  milliseconds_ = settings.Number("HangMilliseconds");
  if (milliseconds_ == 0) milliseconds_ = kAnHour;
  ignoresCancel_ = settings.Number("IgnoreCancel") != 0;
  cancelHangs_ = settings.Number("HangCancel") != 0;
}

void Hang::AtConnect() {
  if (connect_) Wait(false);
}

void Hang::AtStatement(std::int64_t number) {
  if (number == statement_) Wait(true);
}

void Hang::AtRow(std::int64_t number) {
  if (number == row_) Wait(true);
}

void Hang::Cancel() {
  if (cancelHangs_) Wait(false);
  if (ignoresCancel_) return;
  const std::lock_guard lock(mutex_);
  isCancelled_ = true;
  cancelled_.notify_all();
}

void Hang::Wait(bool cancellable) {
  std::unique_lock lock(mutex_);
  isCancelled_ = false;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds_);
  if (cancelled_.wait_until(lock, end, [&] { return cancellable && isCancelled_; })) {
    throw DriverError(sql_state::kCancelled, "The operation was cancelled.");
  }
}

}  // namespace ods::product_driver
