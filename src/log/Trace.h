// The one logging call of the system: every step of interest goes through it to the log and to the trace-log window.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "common/ToldOnce.h"
#include "common/UserInterface.h"
#include "log/Log.h"

namespace ods {

/// The severities that callers pass through.
namespace severity {
inline constexpr std::int32_t kInformation = 0;
inline constexpr std::int32_t kWarning = 1;
inline constexpr std::int32_t kError = 2;
}  // namespace severity

class Tracer {
 public:
  /// `ui` outlives the tracer.
  explicit Tracer(UserInterface& ui) : ui_(&ui) {}

  /// From here on entries are written; before, they are dropped.
  void SetLog(std::unique_ptr<Log> log) { log_ = std::move(log); }
  [[nodiscard]] Log* GetLog() const { return log_.get(); }

  /// Writes one entry: "\" doubled, line breaks as "\n", then " (12 ms)" when `elapsed` (seconds) is given and not -1.
  /// A log that cannot be written is told on standard error, once until it can be written again or fails in another
  /// way; it stops nobody.
  void Trace(std::string_view text, double elapsed = -1, std::int32_t severity = severity::kInformation);

 private:
  UserInterface* ui_;
  std::unique_ptr<Log> log_;
  ToldOnce failure_;
};

}  // namespace ods
