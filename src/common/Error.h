// The one error class of the system: a number and a description, as they stand in an error document.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace ods {

/// Error numbers with a meaning of their own. Errors that the system raises itself carry `kOwn`.
namespace error_number {
inline constexpr std::int32_t kUnknownMessageType = 1;
inline constexpr std::int32_t kNoPrimaryKey = 2;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kFileNotFound = 53;
inline constexpr std::int32_t kFileExists = 58;
inline constexpr std::int32_t kDiskFull = 61;
inline constexpr std::int32_t kObjectMissing = 91;
inline constexpr std::int32_t kCannotCreate = 429;
inline constexpr std::int32_t kOwn = 1000;
inline constexpr std::int32_t kNoCurrentRecord = 3021;
inline constexpr std::int32_t kItemNotFound = 3265;
/// The general failure of drivers and of the XML document, 0x80004005.
inline constexpr std::int32_t kGeneralFailure = -2147467259;
}  // namespace error_number

/// A raised error. `Number` is signed: the numbers of drivers (0x8004....) are negative in decimal.
class Error : public std::runtime_error {
 public:
  Error(std::int32_t number, const std::string& description) : std::runtime_error(description), number_(number) {}

  [[nodiscard]] std::int32_t Number() const noexcept { return number_; }
  [[nodiscard]] std::string Description() const { return what(); }

 private:
  std::int32_t number_;
};

/// `number` as an unsigned hexadecimal text in upper case without leading zeros, as error texts show it ("80040E37").
[[nodiscard]] std::string ErrorNumberHex(std::int32_t number);

}  // namespace ods
