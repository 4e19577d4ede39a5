#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/Error.h"
#include "platform/ado/Ado.h"
#include "platform/ado/DriverThread.h"
#include "platform/ado/OdbcDatabase.h"
#include "platform/ado/OdbcReader.h"
#include "platform/ado/OdbcStream.h"
#include "platform/system/System.h"

namespace ods {

namespace {

using odbc::CallLimit;
using odbc::Canceller;
using odbc::DriverThread;
using odbc::OdbcDatabase;
using odbc::OdbcReader;
using odbc::OdbcStream;

/// ADO's number for the use of a closed connection.
constexpr std::int32_t kObjectClosed = 3704;

/// A connection whose driver runs on a thread of its own. What the driver made goes where it came from: to the thread.
class OdbcConnection final : public Connection {
 public:
  OdbcConnection() = default;
  OdbcConnection(const OdbcConnection&) = delete;
  OdbcConnection& operator=(const OdbcConnection&) = delete;
  OdbcConnection(OdbcConnection&&) = delete;
  OdbcConnection& operator=(OdbcConnection&&) = delete;
  ~OdbcConnection() override { Close(); }

  void SetLimits(ConnectionLimits limits) override { limits_ = std::move(limits); }
  void Open(const std::string& connectionString) override;
  [[nodiscard]] bool IsLost() const override {
    return thread_ && (thread_->IsStuck() || (database_ && database_->IsDead()));
  }
  [[nodiscard]] bool IsStuck() const override { return thread_ && thread_->IsStuck(); }
  [[nodiscard]] const std::vector<ConnectionProperty>& Properties() const override { return properties_; }
  [[nodiscard]] std::string DefaultDatabase() const override { return Property("Current Catalog"); }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenSchema(Schema schema, const std::vector<Value>& restrictions) override;
  [[nodiscard]] std::shared_ptr<RecordSet> OpenRecordSet(const std::string& sql, std::int32_t maxRecords) override;
  [[nodiscard]] std::shared_ptr<RecordSet> OpenExactRecordSet(const std::string& sql, std::int32_t maxRecords) override;
  [[nodiscard]] std::unique_ptr<RowStream> OpenStream(const std::string& sql, std::int32_t maxRecords, bool exact,
                                                      std::shared_ptr<RowSink> sink) override;
  [[nodiscard]] bool HasSchemas() const override;

 private:
  void Close();
  void RequireOpen() const;
  [[nodiscard]] CallLimit StatementLimit() const { return {limits_.statementSeconds, "the statement"}; }

  ConnectionLimits limits_;
  std::vector<ConnectionProperty> properties_;
  std::shared_ptr<DriverThread> thread_;    ///< shared with the record sets
  std::shared_ptr<OdbcDatabase> database_;  ///< of the thread, and nothing without it
};

void OdbcConnection::Close() {
  properties_.clear();
  if (database_) thread_->Post([database = std::move(database_)]() mutable { database.reset(); });
  database_.reset();
  thread_.reset();
}

void OdbcConnection::Open(const std::string& connectionString) {
  Close();
  auto thread = std::make_shared<DriverThread>(limits_.giveUp);
  const odbc::DriverLimits driverLimits = {limits_.connectSeconds, limits_.statementSeconds};
  database_ = thread->Ask(
      [connectionString, driverLimits] { return std::make_shared<OdbcDatabase>(connectionString, driverLimits); },
      {limits_.connectSeconds, "connecting"});
  thread_ = std::move(thread);
  properties_ = database_->Properties();
}

void OdbcConnection::RequireOpen() const {
  if (!database_) throw Error(kObjectClosed, "The connection is closed.");
}

std::shared_ptr<RecordSet> OdbcConnection::OpenRecordSet(const std::string& sql, std::int32_t maxRecords) {
  RequireOpen();
  return std::make_shared<OdbcReader>(thread_, database_, sql, maxRecords, odbc::ReadForm::kUsual, StatementLimit());
}

std::shared_ptr<RecordSet> OdbcConnection::OpenExactRecordSet(const std::string& sql, std::int32_t maxRecords) {
  RequireOpen();
  return std::make_shared<OdbcReader>(thread_, database_, sql, maxRecords, odbc::ReadForm::kExact, StatementLimit());
}

std::unique_ptr<RowStream> OdbcConnection::OpenStream(const std::string& sql, std::int32_t maxRecords, bool exact,
                                                      std::shared_ptr<RowSink> sink) {
  RequireOpen();
  const odbc::ReadForm form = exact ? odbc::ReadForm::kExact : odbc::ReadForm::kUsual;
  return std::make_unique<OdbcStream>(thread_, database_, sql, maxRecords, form, StatementLimit(), std::move(sink));
}

bool OdbcConnection::HasSchemas() const {
  RequireOpen();
  return thread_->Ask([database = database_] { return database->HasSchemas(); }, StatementLimit());
}

std::shared_ptr<RecordSet> OdbcConnection::OpenSchema(Schema schema, const std::vector<Value>& restrictions) {
  RequireOpen();
  const auto canceller = std::make_shared<Canceller>();
  return thread_->Ask(
      [database = database_, schema, restrictions, canceller] {
        return database->Watch([&] { return database->OpenSchema(schema, restrictions, *canceller); });
      },
      StatementLimit(), canceller);
}

}  // namespace

std::shared_ptr<Connection> CreateOdbcConnection() { return std::make_shared<OdbcConnection>(); }

void PrepareForDrivers() { SetEnvironmentDefault("PGCLIENTENCODING", "UTF8"); }

bool DriverCallsAreStuck() { return odbc::StuckDriverThreads() > 0; }

}  // namespace ods
