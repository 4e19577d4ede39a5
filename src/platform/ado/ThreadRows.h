// What every way of reading a statement's rows on the driver's thread shares.
//
// Internal to this folder.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "common/Error.h"
#include "platform/ado/DriverThread.h"
#include "platform/ado/OdbcDatabase.h"
#include "platform/ado/OdbcRecordSet.h"

namespace ods::odbc {

/// What the thread works on. Between two calls it is the reader's; database, canceller and limit stay as they are.
struct ThreadRows {
  std::shared_ptr<OdbcDatabase> database;
  std::shared_ptr<Canceller> canceller = std::make_shared<Canceller>();
  std::unique_ptr<OdbcRecordSet> source;  ///< nothing when no more of it is wanted
  std::size_t count = 0;                  ///< rows of the last call
  std::exception_ptr failure;             ///< met behind them
  bool mustStep = false;                  ///< the last step failed
  CallLimit limit = {};

  [[nodiscard]] bool AtEnd() const { return source == nullptr || source->AtEnd(); }

  /// Takes the next rows by `takeAll`, which counts them; the source stands on the first of them.
  template <typename TakeAll>
  void Take(TakeAll takeAll) {
    count = 0;
    const auto start = std::chrono::steady_clock::now();
    try {
      database->Watch([&] {
        if (std::exchange(mustStep, false) && !source->AtEnd()) source->MoveNext();
        takeAll();
      });
    } catch (const Error&) {
      mustStep = true;
      if (count == 0) throw;
      const bool late =
          limit.seconds > 0 && std::chrono::steady_clock::now() - start >= std::chrono::seconds(limit.seconds);
      failure = late ? std::make_exception_ptr(RanOut(limit)) : std::current_exception();
    }
  }
};

/// A statement and how it is read.
struct ThreadQuery {
  std::string sql;
  std::int32_t maxRecords = 0;
  ReadForm form = ReadForm::kUsual;
  OdbcRecordSet::Rows rows = OdbcRecordSet::Rows::kAsValues;
};

/// Runs a statement on the thread and takes its first rows by `Rows::TakeNext`. The rows are the thread's until it is
/// done: given up, they stay with it. Raises what `DriverThread::Run` raises.
template <typename Rows>
std::shared_ptr<Rows> RunOnThread(DriverThread& thread, std::shared_ptr<Rows> rows, ThreadQuery query) {
  const CallLimit limit = rows->limit;
  const std::shared_ptr<Canceller> canceller = rows->canceller;
  return thread.Ask(
      [rows = std::move(rows), query = std::move(query)]() mutable {
        OdbcDatabase& open = *rows->database;
        rows->source = open.Watch(
            [&] { return open.OpenRecordSet(query.sql, query.maxRecords, *rows->canceller, query.form, query.rows); });
        rows->TakeNext();
        return std::move(rows);
      },
      limit, canceller);
}

/// Frees the rows without waiting for it, on the thread as far as the driver has to do with it.
template <typename Rows>
void ReleaseOnThread(DriverThread& thread, std::shared_ptr<Rows> rows) {
  // At the end the statement is freed already: what is left but for the connection's other owner is plain memory, which
  // goes here, since a long value takes much of it and the next call may be far away.
  const bool freed = !thread.IsStuck() && rows->AtEnd();
  if (freed) rows->FreeMemory();
  thread.Post([rows = std::move(rows)]() mutable { rows.reset(); },
              freed ? DriverThread::Urgency::kWithTheNextCall : DriverThread::Urgency::kNow);
}

}  // namespace ods::odbc
