// Rows on their way out of the database without a `Value` for each cell: cells are borrowed from the buffers that the
// driver filled, and a sink makes of them what it wants, on the thread that fetches them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "common/Object.h"
#include "common/Value.h"

namespace ods {

struct Field;
class RecordSet;

/// The digits of a `Decimal`, borrowed.
struct DecimalDigits {
  std::string_view digits;
};

/// A `Date` by its parts, which name a moment of the calendar.
struct Moment {
  DateParts parts;
  bool dateOnly = false;

  /// True for a date-only value at midnight.
  [[nodiscard]] bool IsDayAlone() const {
    return dateOnly && parts.hour == 0 && parts.minute == 0 && parts.second == 0;
  }
};

/// A cell, borrowed: what a `Value` can hold, the rarest of it as the value itself. Text is UTF-8.
using CellView = std::variant<Null, std::int32_t, std::int64_t, double, bool, DecimalDigits, Moment, std::string_view,
                              std::span<const std::uint8_t>, const Value*>;

[[nodiscard]] CellView ViewOf(const Value& value);
[[nodiscard]] Value ValueOf(const CellView& cell);
/// The bytes of a text or of binary data; 0 for anything else.
[[nodiscard]] std::size_t BytesOf(const CellView& cell);

/// Takes the rows of a statement. It may be called on another thread than the one that reads, and outlive that one's
/// interest: it owns what it uses, and nobody else looks at it before all rows are read or an error is raised by it.
class RowSink {
 public:
  RowSink() = default;
  virtual ~RowSink() = default;
  RowSink(const RowSink&) = delete;
  RowSink& operator=(const RowSink&) = delete;
  RowSink(RowSink&&) = delete;
  RowSink& operator=(RowSink&&) = delete;

  /// The columns of a statement, before its first row, and where it has none.
  virtual void Begin(const std::vector<Field>& fields) = 0;
  /// The next row. Its cells are there as long as the call lasts. False when no further row is wanted.
  [[nodiscard]] virtual bool Take(std::span<const CellView> row) = 0;
};

/// A statement that has been run and whose rows go into a sink. Dropping it frees everything.
class RowStream : public Object {
 public:
  [[nodiscard]] std::string TypeName() const override { return "RowStream"; }
  /// Gives the sink the rows that it has not got yet. Raises the driver's errors and the sink's, at the row that met
  /// them.
  virtual void ReadToEnd() = 0;
};

/// The rows of a record set, from the current one on, as a stream: they go into the sink as they are read, on the
/// thread that reads.
[[nodiscard]] std::unique_ptr<RowStream> StreamOf(std::shared_ptr<RecordSet> rows, std::shared_ptr<RowSink> sink);

}  // namespace ods
