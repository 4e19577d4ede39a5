// An open database as its driver gives it: everything that a connection does, done by the thread that calls it.
//
// Internal to this folder. One thread at a time uses it, and waits as long as the driver does (OdbcConnection.cpp
// bounds that).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "platform/ado/Ado.h"
#include "platform/ado/DriverThread.h"
#include "platform/ado/OdbcDiagnostics.h"
#include "platform/ado/OdbcHandles.h"
#include "platform/ado/OdbcRecordSet.h"
#include "platform/ado/OdbcRules.h"

namespace ods::odbc {

class OdbcDatabase {
 public:
  /// Connects, and sets the session up. Raises the driver's errors.
  OdbcDatabase(const std::string& connectionString, const DriverLimits& limits);

  [[nodiscard]] const std::vector<ConnectionProperty>& Properties() const { return properties_; }
  /// `Connection::HasSchemas`.
  [[nodiscard]] bool HasSchemas() const {
    return (session_->InfoNumber(SQL_SCHEMA_USAGE) & SQL_SU_DML_STATEMENTS) != 0;
  }
  /// `Connection::OpenRecordSet`, or in the exact form `OpenExactRecordSet`. `canceller` ends it, and later every
  /// fetch.
  [[nodiscard]] std::unique_ptr<OdbcRecordSet> OpenRecordSet(
      const std::string& sql, std::int32_t maxRecords, Canceller& canceller, ReadForm form = ReadForm::kUsual,
      OdbcRecordSet::Rows rows = OdbcRecordSet::Rows::kAsValues) const;
  /// `Connection::OpenSchema`; the rows are at hand.
  [[nodiscard]] std::shared_ptr<RecordSet> OpenSchema(Schema schema, const std::vector<Value>& restrictions,
                                                      Canceller& canceller) const;

  /// Runs `call`, and notes when its error tells that the connection is lost.
  template <typename Call>
  auto Watch(Call call) {
    try {
      return call();
    } catch (const DriverError& error) {
      if (EndsSession(*productRule_, error.State(), error.Native()) || session_->IsDead()) dead_ = true;
      throw;
    }
  }
  /// True once a call under watch has lost the connection. Any thread may ask.
  [[nodiscard]] bool IsDead() const { return dead_; }

 private:
  [[nodiscard]] std::string Property(std::string_view name) const;
  [[nodiscard]] std::unique_ptr<Statement> NewStatement(Canceller& canceller) const;
  [[nodiscard]] std::shared_ptr<RecordSet> OpenTables(const std::vector<Value>& restrictions,
                                                      Canceller& canceller) const;
  [[nodiscard]] std::shared_ptr<RecordSet> OpenIndexes(const std::vector<Value>& restrictions, bool withFilter,
                                                       Canceller& canceller) const;
  [[nodiscard]] std::shared_ptr<RecordSet> OpenProviderTypes(Canceller& canceller) const;
  [[nodiscard]] std::shared_ptr<RecordSet> OpenLiterals() const;

  std::shared_ptr<Session> session_;  ///< shared with the record sets
  std::vector<ConnectionProperty> properties_;
  const DriverRule* driverRule_;
  const ProductRule* productRule_;
  std::size_t longestStatement_ = std::numeric_limits<std::size_t>::max();  ///< in bytes
  std::atomic<bool> dead_ = false;
};

}  // namespace ods::odbc
