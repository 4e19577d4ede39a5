#include "platform/ado/OdbcReader.h"

#include <chrono>
#include <exception>
#include <utility>

#include "common/Error.h"
#include "platform/ado/OdbcRecordSet.h"

namespace ods::odbc {

namespace {

constexpr std::size_t kMostRows = 256;
/// Long values are not gathered far beyond this.
constexpr std::size_t kMostBytes = std::size_t{1} << 20U;

std::size_t BytesOf(const Value& value) {
  if (const auto* const text = value.GetIf<std::string>()) return text->size();
  if (const auto* const bytes = value.GetIf<Bytes>()) return bytes->size();
  return 0;
}

[[noreturn]] void RaiseNoCurrentRecord() { throw Error(error_number::kNoCurrentRecord, "There is no current record."); }

}  // namespace

struct OdbcReader::Rows {
  std::shared_ptr<OdbcDatabase> database;
  std::shared_ptr<Canceller> canceller = std::make_shared<Canceller>();
  std::unique_ptr<OdbcRecordSet> source;
  std::vector<Value> values;   ///< row after row
  std::size_t count = 0;       ///< rows
  std::exception_ptr failure;  ///< met behind them
  bool mustStep = false;       ///< the last step failed
  CallLimit limit = {};

  /// Takes the next rows from the source, which stands on the first of them.
  void Take() {
    count = 0;
    const auto start = std::chrono::steady_clock::now();
    try {
      database->Watch([&] { TakeAll(); });
    } catch (const Error&) {
      mustStep = true;
      if (count == 0) throw;
      const bool late =
          limit.seconds > 0 && std::chrono::steady_clock::now() - start >= std::chrono::seconds(limit.seconds);
      failure = late ? std::make_exception_ptr(RanOut(limit)) : std::current_exception();
    }
  }

  void TakeAll() {
    std::size_t bytes = 0;
    values.clear();
    if (std::exchange(mustStep, false) && !source->AtEnd()) source->MoveNext();
    while (!source->AtEnd() && count < kMostRows && bytes < kMostBytes) {
      ++count;
      const std::size_t taken = values.size();
      source->TakeRow(values);
      for (std::size_t i = taken; i < values.size(); ++i) bytes += BytesOf(values[i]);
      source->MoveNext();
    }
  }
};

OdbcReader::OdbcReader(std::shared_ptr<DriverThread> thread, std::shared_ptr<OdbcDatabase> database,
                       const std::string& sql, std::int32_t maxRecords, ReadForm form, CallLimit limit)
    : thread_(std::move(thread)), limit_(std::move(limit)) {
  auto rows = std::make_shared<Rows>();
  rows->database = std::move(database);
  rows->limit = limit_;
  const std::shared_ptr<Canceller> canceller = rows->canceller;
  // The rows are the thread's until it is done: given up, they stay with it.
  rows_ = thread_->Ask(
      [rows = std::move(rows), sql, maxRecords, form]() mutable {
        OdbcDatabase& open = *rows->database;
        rows->source = open.Watch([&] { return open.OpenRecordSet(sql, maxRecords, *rows->canceller, form); });
        rows->Take();
        return std::move(rows);
      },
      limit_, canceller);
  fields_ = rows_->source->Fields();
  atEnd_ = rows_->count == 0;
}

OdbcReader::~OdbcReader() {
  if (!rows_) return;
  // At the end the statement is freed already: what is left but for the connection's other owner is plain memory, which
  // goes here, since a long value takes much of it and the next call may be far away.
  const bool freed = !thread_->IsStuck() && rows_->source->AtEnd();
  if (freed) {
    rows_->source.reset();
    rows_->values = {};
  }
  thread_->Post([rows = std::move(rows_)]() mutable { rows.reset(); },
                freed ? DriverThread::Urgency::kWithTheNextCall : DriverThread::Urgency::kNow);
}

void OdbcReader::Read() {
  try {
    thread_->Run([rows = rows_] { rows->Take(); }, limit_, rows_->canceller);
  } catch (...) {
    // The thread may still be at the rows.
    if (thread_->IsStuck()) atEnd_ = true;
    throw;
  }
}

void OdbcReader::MoveNext() {
  if (atEnd_) RaiseNoCurrentRecord();
  if (row_ + 1 < rows_->count) {
    ++row_;
    return;
  }
  if (rows_->failure) std::rethrow_exception(std::exchange(rows_->failure, nullptr));
  if (!rows_->source->AtEnd()) {
    Read();
    row_ = 0;
    atEnd_ = rows_->count == 0;
  } else {
    atEnd_ = true;
  }
}

const Value& OdbcReader::Item(std::size_t index) const {
  if (index >= fields_.size()) {
    throw Error(error_number::kItemNotFound, "The record set has no field number " + std::to_string(index) + ".");
  }
  if (atEnd_ || row_ >= rows_->count) RaiseNoCurrentRecord();
  return rows_->values[row_ * fields_.size() + index];
}

}  // namespace ods::odbc
