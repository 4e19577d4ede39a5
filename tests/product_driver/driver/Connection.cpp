#include "product_driver/driver/Connection.h"

#include <array>
#include <chrono>
#include <fstream>
#include <sql.h>
#include <sqlext.h>
#include <thread>
#include <unistd.h>

#include "common/Text.h"
#include "product_driver/driver/DriverError.h"
#include "product_driver/driver/InformationSchema.h"

namespace ods::product_driver {
namespace {

constexpr int kExitStatus = 42;
constexpr double kDecimalScale = 100000;

/// A product without a name but with a database is the one with flow filters.
const Product& ProductOf(const std::string& dbmsName, const std::string& defaultDatabase) {
  return FindProduct(dbmsName.empty() && !defaultDatabase.empty() ? "Navision" : dbmsName);
}

struct InfoEntry {
  SQLUSMALLINT type;
  const char* text;
};
constexpr std::array<InfoEntry, 8> kInfoTexts = {{
    {SQL_DBMS_VER, "01.00.0000"},
    {SQL_DRIVER_NAME, "libproduct-driver.so"},
    {SQL_DRIVER_VER, "01.00.0000"},
    {SQL_DRIVER_ODBC_VER, "03.51"},
    {SQL_DATA_SOURCE_NAME, ""},
    {SQL_SERVER_NAME, "stand-in"},
    {SQL_USER_NAME, "tester"},
    {SQL_SEARCH_PATTERN_ESCAPE, "\\"},
}};

}  // namespace

void Connection::Open(std::string_view connectionString) {
  const ConnectionString settings(connectionString);
  hang_.Configure(settings);
  hang_.AtConnect();
  if (settings.Number("FailConnect") != 0) {
    throw DriverError(sql_state::kCannotConnect, "The driver was told to fail to connect.");
  }
  dbmsName_ = settings.Text("Product");
  defaultDatabase_ = settings.Text("DefaultDatabase");
  statementFile_ = settings.Text("StatementFile");
  showMaxRows_ = settings.Number("ShowMaxRows") != 0;
  product_ = &ProductOf(dbmsName_, defaultDatabase_);
  decimalScale_ = settings.Number("ScaleDecimals") != 0 ? kDecimalScale : 1;
  backslashes_ = product_->hasBackslashes;
  failStatement_ = settings.Number("FailStatement");
  failFetch_ = settings.Number("FailFetch");
  loseStatement_ = settings.Number("LoseStatement");
  exitStatement_ = settings.Number("ExitStatement");
  omitIndicators_ = settings.Number("OmitIndicators") != 0;
  overrunBuffers_ = settings.Number("OverrunBuffers") != 0;
  delay_ = settings.Number("DelayStatement");
  statements_ = 0;
  lost_ = false;
  database_ = std::make_unique<Database>(settings.Text("Database"), product_->hasOwnTypes);
  if (product_->hasInformationSchema) AddInformationSchema(*database_);
}

void Connection::Close() { database_.reset(); }

Database& Connection::File() const {
  if (lost_) throw DriverError(sql_state::kLinkLost, "The connection is lost.");
  if (!database_) throw DriverError(sql_state::kNotConnected, "The connection is closed.");
  return *database_;
}

std::unique_ptr<Rows> Connection::Execute(const std::string& sql, SQLULEN maxRows) {
  Database& database = File();
  LogStatement(sql, maxRows);
  MeetFailures();
  if (RunSet(sql)) return nullptr;
  Translation translation = Translate(
      *product_, sql,
      {.backslashes = backslashes_, .isBinary = [&](std::string_view name) { return database.HasBinaryColumn(name); }});
  database.SetFlowFilters(std::move(translation.flowFilters));
  return database.Select(translation.sql, decimalScale_);
}

void Connection::LogStatement(const std::string& sql, SQLULEN maxRows) const {
  if (statementFile_.empty()) return;
  std::ofstream file(statementFile_, std::ios::binary | std::ios::app);
  if (showMaxRows_ && maxRows > 0) file << "-- max rows " << maxRows << '\n';
  file << ReplaceAll(sql, "\n", "\\n") << '\n';
  if (!file.flush()) throw DriverError(sql_state::kGeneral, "Cannot write to the file '" + statementFile_ + "'.");
}

void Connection::MeetFailures() {
  ++statements_;
  if (delay_ > 0) std::this_thread::sleep_for(std::chrono::milliseconds(delay_));
  hang_.AtStatement(statements_);
  if (statements_ == exitStatement_) _exit(kExitStatus);
  if (statements_ == failStatement_) {
    throw DriverError(sql_state::kGeneral, "The driver was told to fail at this statement.");
  }
  if (statements_ == loseStatement_) {
    lost_ = true;
    throw DriverError(sql_state::kLinkLost, "The connection is lost.");
  }
}

/// What a session can set: that a backslash is a character like any other, and its time zone, on which no value hangs
/// here.
bool Connection::RunSet(const std::string& sql) {
  if (product_->hasInformationSchema && ToUpper(sql).starts_with("SET TIME_ZONE")) return true;
  if (!product_->hasBackslashes || !ToUpper(sql).starts_with("SET SESSION SQL_MODE")) return false;
  if (ToUpper(sql).find("NO_BACKSLASH_ESCAPES") != std::string::npos) backslashes_ = false;
  return true;
}

std::optional<std::string> Connection::InfoText(SQLUSMALLINT infoType) const {
  switch (infoType) {
    case SQL_DBMS_NAME:
      return dbmsName_;
    case SQL_DATABASE_NAME:
      return defaultDatabase_;
    case SQL_IDENTIFIER_QUOTE_CHAR:
      return std::string(product_->quote);
    default:
      break;
  }
  for (const InfoEntry& entry : kInfoTexts) {
    if (entry.type == infoType) return entry.text;
  }
  return std::nullopt;
}

}  // namespace ods::product_driver
