// A dynamically typed value: what a record set field, a dictionary entry or a message text can hold.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "common/Object.h"

namespace ods {

using Bytes = std::vector<std::uint8_t>;

/// The calendar parts of a `Date`, proleptic Gregorian.
struct DateParts {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;

  /// True when they name a moment of the years 1 to 9999.
  [[nodiscard]] bool AreOfCalendar() const;
};

/// A moment without time zone, in whole seconds since the zero date 1899-12-30 00:00:00. Fractions of a second do not
/// exist here. Years 1 to 9999.
struct Date {
  static constexpr std::int64_t kSecondsPerDay = 86400;

  std::int64_t seconds = 0;
  /// The value comes from a date-only column: its text has no time part when the time is midnight.
  bool dateOnly = false;

  /// The date of calendar parts, or nothing when they name no moment of the years 1 to 9999.
  [[nodiscard]] static std::optional<Date> FromParts(const DateParts& parts);
  /// The date of a serial number of days since the zero date, rounded to the second; nothing when out of range.
  [[nodiscard]] static std::optional<Date> FromSerial(double days);
  /// True when the moment lies in the years 1 to 9999.
  [[nodiscard]] bool IsInRange() const;
  /// The calendar parts; of a moment out of range those of the nearest one that is in it.
  [[nodiscard]] DateParts Parts() const;
  /// Seconds since midnight, 0 to 86,399.
  [[nodiscard]] int SecondOfDay() const;
  /// Days since the zero date, the time as fraction.
  [[nodiscard]] double Serial() const;

  friend bool operator==(const Date&, const Date&) = default;
};

/// An amount with four decimals, held as a whole number of ten-thousandths.
struct Currency {
  std::int64_t tenThousandths = 0;
  friend bool operator==(const Currency&, const Currency&) = default;
};

/// A decimal number with its exact digits and scale, held as its text: optional "-", digits, optional "." and digits.
struct Decimal {
  std::string digits;
  friend bool operator==(const Decimal&, const Decimal&) = default;
};

/// The null of databases, which differs from an empty value.
struct Null {
  friend bool operator==(const Null&, const Null&) = default;
};

/// A value of one of twelve types. Default-constructed it is empty.
class Value {
 public:
  using Storage = std::variant<std::monostate, Null, std::int32_t, std::int64_t, double, Currency, Decimal, Date,
                               std::string, bool, Bytes, std::shared_ptr<Object>>;

  Value() = default;
  Value(Null value) : storage_(value) {}                                // NOLINT(google-explicit-constructor)
  Value(std::int32_t value) : storage_(value) {}                        // NOLINT(google-explicit-constructor)
  Value(std::int64_t value) : storage_(value) {}                        // NOLINT(google-explicit-constructor)
  Value(double value) : storage_(value) {}                              // NOLINT(google-explicit-constructor)
  Value(Currency value) : storage_(value) {}                            // NOLINT(google-explicit-constructor)
  Value(Decimal value) : storage_(std::move(value)) {}                  // NOLINT(google-explicit-constructor)
  Value(Date value) : storage_(value) {}                                // NOLINT(google-explicit-constructor)
  Value(std::string value) : storage_(std::move(value)) {}              // NOLINT(google-explicit-constructor)
  Value(std::string_view value) : storage_(std::string(value)) {}       // NOLINT(google-explicit-constructor)
  Value(const char* value) : storage_(std::string(value)) {}            // NOLINT(google-explicit-constructor)
  Value(bool value) : storage_(value) {}                                // NOLINT(google-explicit-constructor)
  Value(Bytes value) : storage_(std::move(value)) {}                    // NOLINT(google-explicit-constructor)
  Value(std::shared_ptr<Object> value) : storage_(std::move(value)) {}  // NOLINT(google-explicit-constructor)

  [[nodiscard]] bool IsEmpty() const { return Is<std::monostate>(); }
  [[nodiscard]] bool IsNull() const { return Is<Null>(); }
  template <typename T>
  [[nodiscard]] bool Is() const {
    return std::holds_alternative<T>(storage_);
  }
  /// The value when it is a `T`, else nullptr.
  template <typename T>
  [[nodiscard]] const T* GetIf() const {
    return std::get_if<T>(&storage_);
  }
  [[nodiscard]] const Storage& Get() const { return storage_; }

  /// The run-time type name: "Empty", "Null", "Long", "LongLong", "Double", "Currency", "Decimal", "Date", "String",
  /// "Boolean", "Byte()", or the type name of the object held ("Nothing" for no object).
  [[nodiscard]] std::string TypeName() const;

  /// Same type and same value; objects compare by identity.
  friend bool operator==(const Value&, const Value&) = default;

 private:
  Storage storage_;
};

}  // namespace ods
