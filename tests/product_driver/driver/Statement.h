// A statement of the driver: its rows, the buffers bound to their columns, and the block of rows fetched last.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "product_driver/driver/Connection.h"
#include "product_driver/driver/Handle.h"
#include "product_driver/driver/Rows.h"

namespace ods::product_driver {

class Statement final : public Handle {
 public:
  explicit Statement(Connection& connection) : connection_(connection) {}

  [[nodiscard]] Connection& Owner() const { return connection_; }
  /// Replaces the rows; no pointer for a statement that gives none.
  void SetRows(std::unique_ptr<Rows> rows, bool ofCatalogue);
  void CloseCursor() { SetRows(nullptr, true); }
  [[nodiscard]] std::size_t ColumnCount() const { return rows_ ? rows_->Columns().size() : 0; }
  /// `number` counts from 1. Raises 07009.
  [[nodiscard]] const Column& ColumnOf(SQLUSMALLINT number) const;

  /// Raises HYC00 for what the driver cannot do.
  void SetAttribute(SQLINTEGER attribute, SQLPOINTER value);
  /// The value of a numeric attribute. Raises HYC00.
  [[nodiscard]] SQLULEN Attribute(SQLINTEGER attribute) const;
  /// No buffer takes the binding back.
  void Bind(SQLUSMALLINT number, const CellTarget& target);
  void UnbindAll() { bindings_.clear(); }

  /// Fetches the next rows into the bound buffers: SQL_SUCCESS, SQL_SUCCESS_WITH_INFO or SQL_NO_DATA.
  SQLRETURN Fetch();
  /// Goes to a row of the fetched block, from 1.
  void Position(std::size_t row);
  /// The next piece of a cell of the current row.
  SQLRETURN GetData(SQLUSMALLINT number, const CellTarget& target);

 private:
  [[nodiscard]] bool ReadRow();
  bool WriteRow(std::size_t index);
  void SetStatus(std::size_t index, SQLUSMALLINT status) const;

  Connection& connection_;
  std::unique_ptr<Rows> rows_;
  bool ofCatalogue_ = true;
  std::map<SQLUSMALLINT, CellTarget> bindings_;
  std::vector<Row> block_;
  std::size_t current_ = 0;  ///< the current row of the block, from 1; 0 for none
  SQLULEN rowsRead_ = 0;
  SQLULEN blockSize_ = 1;
  SQLULEN maxRows_ = 0;
  SQLULEN* rowsFetched_ = nullptr;
  SQLUSMALLINT* rowStatus_ = nullptr;
  std::map<SQLUSMALLINT, std::size_t> given_;  ///< bytes of each cell of the current row that GetData has given
  std::map<SQLUSMALLINT, bool> finished_;
};

}  // namespace ods::product_driver
