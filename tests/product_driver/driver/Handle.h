// What every handle of the driver has: its diagnostic records.
#pragma once

#include <string>
#include <vector>

#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {

struct Diagnostic {
  std::string state;
  std::string text;
};

class Handle {
 public:
  Handle() = default;
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle(Handle&&) = delete;
  Handle& operator=(Handle&&) = delete;
  virtual ~Handle() = default;

  void ClearDiagnostics() { diagnostics_.clear(); }
  void AddDiagnostic(const std::string& state, const std::string& text) { diagnostics_.push_back({state, text}); }
  void AddDiagnostic(const DriverError& error) { AddDiagnostic(error.State(), error.what()); }
  [[nodiscard]] const std::vector<Diagnostic>& Diagnostics() const { return diagnostics_; }

 private:
  std::vector<Diagnostic> diagnostics_;
};

}  // namespace ods::product_driver
