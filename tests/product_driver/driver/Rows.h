// The rows of a result, one after the other.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "product_driver/driver/Cell.h"
#include "product_driver/driver/ColumnTypes.h"

namespace ods::product_driver {

struct Column {
  std::string name;
  ColumnType type;
  SQLSMALLINT nullable = SQL_NULLABLE;
};

using Row = std::vector<Cell>;

class Rows {
 public:
  Rows() = default;
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;
  Rows(Rows&&) = delete;
  Rows& operator=(Rows&&) = delete;
  virtual ~Rows() = default;

  [[nodiscard]] virtual const std::vector<Column>& Columns() const = 0;
  /// The next row into `row`; false at the end.
  virtual bool Next(Row& row) = 0;
};

/// Rows that are at hand: those of the catalogue functions.
class MemoryRows final : public Rows {
 public:
  MemoryRows(std::vector<Column> columns, std::vector<Row> rows)
      : columns_(std::move(columns)), rows_(std::move(rows)) {}
  [[nodiscard]] const std::vector<Column>& Columns() const override { return columns_; }
  bool Next(Row& row) override {
    if (next_ == rows_.size()) return false;
    row = rows_[next_++];
    return true;
  }

 private:
  std::vector<Column> columns_;
  std::vector<Row> rows_;
  std::size_t next_ = 0;
};

}  // namespace ods::product_driver
