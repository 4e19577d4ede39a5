// What goes wrong in the driver, as ODBC tells it.
#pragma once

#include <stdexcept>
#include <string>

namespace ods::product_driver {

/// A failure with its five-character SQLSTATE.
class DriverError : public std::runtime_error {
 public:
  DriverError(std::string state, const std::string& text) : std::runtime_error(text), state_(std::move(state)) {}
  [[nodiscard]] const std::string& State() const { return state_; }

 private:
  std::string state_;
};

/// The states that the driver uses.
namespace sql_state {
inline constexpr const char* kTruncated = "01004";
inline constexpr const char* kWrongColumn = "07009";
inline constexpr const char* kWrongCType = "07006";
inline constexpr const char* kCannotConnect = "08001";
inline constexpr const char* kNotConnected = "08003";
inline constexpr const char* kLinkLost = "08S01";
inline constexpr const char* kOutOfRange = "22003";
inline constexpr const char* kBadDate = "22007";
inline constexpr const char* kNoCursor = "24000";
inline constexpr const char* kSyntax = "42000";
inline constexpr const char* kNoTable = "42S02";
inline constexpr const char* kNoColumn = "42S22";
inline constexpr const char* kGeneral = "HY000";
inline constexpr const char* kCancelled = "HY008";
inline constexpr const char* kWrongValue = "HY024";
inline constexpr const char* kNotImplemented = "HYC00";
}  // namespace sql_state

}  // namespace ods::product_driver
