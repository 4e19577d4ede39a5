// The driver manager's handles as objects.
//
// Internal to this folder: nothing else sees an ODBC type. A handle is freed on every path; a statement keeps its
// session alive, so that a record set outlives the connection object it came from.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "OdbcApi.h"
#include "platform/ado/OdbcDiagnostics.h"

namespace ods::odbc {

/// One handle of the driver manager, freed with the object.
template <SQLSMALLINT kHandleType>
class Handle {
 public:
  /// Allocates the handle under `parent`, whose type is `parentType`. Raises the parent's diagnostics.
  Handle(SQLSMALLINT parentType, SQLHANDLE parent) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(kHandleType, parent, &handle_))) RaiseDiagnostics(parentType, parent);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle(Handle&&) = delete;
  Handle& operator=(Handle&&) = delete;
  ~Handle() { SQLFreeHandle(kHandleType, handle_); }

  [[nodiscard]] SQLHANDLE Get() const { return handle_; }

 private:
  SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

/// How long a driver is asked to wait, in seconds, 0 for ever. Not every driver obeys.
struct DriverLimits {
  int connectSeconds = 0;
  int statementSeconds = 0;
};

/// A connected session of one driver; disconnects when the last user drops it.
class Session {
 public:
  /// Connects without asking the user anything. Raises the driver's error.
  explicit Session(const std::string& connectionString, const DriverLimits& limits = {});
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  Session(Session&&) = delete;
  Session& operator=(Session&&) = delete;
  ~Session() { SQLDisconnect(Get()); }

  [[nodiscard]] SQLHANDLE Get() const { return connection_.Get(); }
  /// True when the driver takes and gives text as UTF-16, false when as UTF-8.
  [[nodiscard]] bool IsWide() const { return wide_; }
  /// True when the cells of a record set come as UTF-8.
  [[nodiscard]] bool HasNarrowCells() const { return narrowCells_ || !wide_; }
  /// From here on cells come as UTF-8, whatever the functions take.
  void UseNarrowCells() { narrowCells_ = true; }
  /// True when a statement is prepared first and executed then.
  [[nodiscard]] bool PreparesStatements() const { return preparesStatements_; }
  /// From here on statements are prepared first, at the price of one more message to the server.
  void PrepareStatements() { preparesStatements_ = true; }
  /// True when dates and timestamps are fetched as text.
  [[nodiscard]] bool HasTextDates() const { return textDates_; }
  /// From here on dates and timestamps are fetched as text.
  void UseTextDates() { textDates_ = true; }
  /// A text that `SQLGetInfo` gives; "" when the driver does not know it.
  [[nodiscard]] std::string InfoText(SQLUSMALLINT infoType) const;
  /// A number that `SQLGetInfo` gives; 0 when the driver does not know it.
  [[nodiscard]] SQLUINTEGER InfoNumber(SQLUSMALLINT infoType) const;
  /// The catalogue in use; "" when the driver has none.
  [[nodiscard]] std::string CurrentCatalog() const;
  /// What the driver says of the connection, without asking the database: true when it is lost.
  [[nodiscard]] bool IsDead() const;
  [[nodiscard]] const DriverLimits& Limits() const { return limits_; }
  /// The driver's `SQL_GETDATA_EXTENSIONS` bits.
  [[nodiscard]] SQLUINTEGER GetDataExtensions() const { return getDataExtensions_; }

 private:
  /// The environment in its ODBC 3 form, which must be set before a connection is allocated under it.
  class Environment {
   public:
    Environment();
    [[nodiscard]] SQLHANDLE Get() const { return handle_.Get(); }

   private:
    Handle<SQL_HANDLE_ENV> handle_;
  };

  void Connect(const std::string& connectionString);
  [[nodiscard]] SQLRETURN ConnectThrough(const std::string& connectionString, bool wide) const;
  [[nodiscard]] bool DriverIsWide() const;

  void SetLimit(SQLINTEGER attribute, int seconds) const;

  Environment environment_;
  Handle<SQL_HANDLE_DBC> connection_;
  DriverLimits limits_;
  bool wide_ = true;
  bool narrowCells_ = false;
  bool preparesStatements_ = false;
  bool textDates_ = false;
  SQLUINTEGER getDataExtensions_ = 0;
};

/// What a driver says about a column of a result.
struct ColumnDescription {
  std::string name;
  SQLSMALLINT odbcType = SQL_UNKNOWN_TYPE;
  SQLULEN size = 0;
  SQLSMALLINT digits = 0;
  SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
};

/// The names that a catalogue function is asked for; an empty one restricts nothing.
struct CatalogNames {
  std::string catalog;
  std::string schema;
  std::string table;
  std::string type;
};

/// A statement of a session. Every call raises the driver's error.
class Statement {
 public:
  explicit Statement(std::shared_ptr<Session> session);

  void Execute(const std::string& sql) const;
  /// `SQLTables`: schema and table are search patterns.
  void Tables(const CatalogNames& names) const;
  /// `SQLStatistics` for all indexes, without asking for fresh figures.
  void Statistics(const CatalogNames& names) const;
  void TypeInfo() const;

  [[nodiscard]] SQLUSMALLINT ColumnCount() const;
  /// `number` counts from 1.
  [[nodiscard]] ColumnDescription DescribeColumn(SQLUSMALLINT number) const;
  /// What the driver calls the column's type; "" when it does not tell.
  [[nodiscard]] std::string TypeNameOf(SQLUSMALLINT number) const;
  /// True when the driver calls the column unsigned.
  [[nodiscard]] bool IsUnsigned(SQLUSMALLINT number) const;

  [[nodiscard]] SQLHANDLE Get() const { return parts_->handle.Get(); }
  [[nodiscard]] const Session& Owner() const { return *parts_->session; }
  /// What ends, from another thread, whatever the statement is just doing. It may outlive the statement, and then does
  /// nothing.
  [[nodiscard]] std::function<void()> Canceller() const;
  /// Raises the statement's diagnostics unless `result` is a success or says that there is no data.
  void Check(SQLRETURN result) const;
  [[noreturn]] void Raise() const { RaiseDiagnostics(SQL_HANDLE_STMT, Get()); }
  /// Sets a numeric attribute; true when the driver takes it.
  bool SetAttribute(SQLINTEGER attribute, SQLULEN value) const;

 private:
  /// What a canceller on another thread needs as long as it is at work.
  struct Parts {
    explicit Parts(std::shared_ptr<Session> owner)
        : session(std::move(owner)), handle(SQL_HANDLE_DBC, session->Get()) {}
    std::shared_ptr<Session> session;
    Handle<SQL_HANDLE_STMT> handle;
  };

  std::shared_ptr<Parts> parts_;
};

}  // namespace ods::odbc
