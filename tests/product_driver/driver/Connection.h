// A connection of the driver: the product it stands in for, its database file, and the failures it was told to have.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "product_driver/driver/ConnectionString.h"
#include "product_driver/driver/Database.h"
#include "product_driver/driver/Handle.h"
#include "product_driver/driver/Hang.h"
#include "product_driver/driver/Products.h"

namespace ods::product_driver {

class Connection final : public Handle {
 public:
  /// Raises 08001.
  void Open(std::string_view connectionString);
  void Close();
  [[nodiscard]] bool IsOpen() const { return database_ != nullptr; }

  /// Runs a statement of the product; no rows for one that gives none. Raises what the product would.
  /// @param maxRows how many rows it may give, for the file of statements; 0 for any number
  [[nodiscard]] std::unique_ptr<Rows> Execute(const std::string& sql, SQLULEN maxRows);

  /// The database file. Raises 08003 when the connection is closed and 08S01 when it is lost.
  [[nodiscard]] Database& File() const;
  [[nodiscard]] const Product& DrivenProduct() const { return *product_; }
  /// A text that SQLGetInfo gives; nothing when the driver does not know it.
  [[nodiscard]] std::optional<std::string> InfoText(SQLUSMALLINT infoType) const;
  [[nodiscard]] const std::string& DefaultDatabase() const { return defaultDatabase_; }
  [[nodiscard]] Hang& Hanging() { return hang_; }
  /// The row of a statement whose fetching fails; 0 for none.
  [[nodiscard]] std::int64_t FailingRow() const { return failFetch_; }
  /// True when no indicator is written for a value of fixed size that is not null.
  [[nodiscard]] bool OmitsIndicators() const { return omitIndicators_; }
  /// True when a byte is written behind each bound buffer.
  [[nodiscard]] bool OverrunsBuffers() const { return overrunBuffers_; }

 private:
  void LogStatement(const std::string& sql, SQLULEN maxRows) const;
  /// What the connection string wants to happen with the next statement.
  void MeetFailures();
  [[nodiscard]] bool RunSet(const std::string& sql);

  const Product* product_ = &FindProduct("");
  std::string dbmsName_;
  std::string defaultDatabase_;
  std::string statementFile_;
  bool showMaxRows_ = false;
  Hang hang_;
  std::unique_ptr<Database> database_;
  double decimalScale_ = 1;
  bool backslashes_ = false;
  bool lost_ = false;
  std::int64_t statements_ = 0;
  std::int64_t failStatement_ = 0;
  std::int64_t failFetch_ = 0;
  std::int64_t loseStatement_ = 0;
  std::int64_t exitStatement_ = 0;
  std::int64_t delay_ = 0;
  bool omitIndicators_ = false;
  bool overrunBuffers_ = false;
};

}  // namespace ods::product_driver
