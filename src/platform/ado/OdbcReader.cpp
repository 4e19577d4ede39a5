#include "platform/ado/OdbcReader.h"

#include <exception>
#include <utility>

#include "common/Error.h"
#include "platform/ado/ThreadRows.h"

namespace ods::odbc {

namespace {

constexpr std::size_t kMostRows = 256;
/// Long values are not gathered far beyond this.
constexpr std::size_t kMostBytes = std::size_t{1} << 20U;

[[noreturn]] void RaiseNoCurrentRecord() { throw Error(error_number::kNoCurrentRecord, "There is no current record."); }

}  // namespace

struct OdbcReader::Rows : ThreadRows {
  std::vector<Value> values;  ///< row after row

  void TakeNext() {
    Take([&] { TakeAll(); });
  }
  void FreeMemory() {
    source.reset();
    values = {};
  }

  void TakeAll() {
    std::size_t bytes = 0;
    values.clear();
    while (!source->AtEnd() && count < kMostRows && bytes < kMostBytes) {
      ++count;
      const std::size_t taken = values.size();
      source->TakeRow(values);
      for (std::size_t i = taken; i < values.size(); ++i) bytes += BytesOf(ViewOf(values[i]));
      source->MoveNext();
    }
  }
};

OdbcReader::OdbcReader(std::shared_ptr<DriverThread> thread, std::shared_ptr<OdbcDatabase> database,
                       const std::string& sql, std::int32_t maxRecords, ReadForm form, CallLimit limit)
    : thread_(std::move(thread)) {
  auto rows = std::make_shared<Rows>();
  rows->database = std::move(database);
  rows->limit = std::move(limit);
  rows_ = RunOnThread(*thread_, std::move(rows), {.sql = sql, .maxRecords = maxRecords, .form = form});
  fields_ = rows_->source->Fields();
  atEnd_ = rows_->count == 0;
}

OdbcReader::~OdbcReader() { ReleaseOnThread(*thread_, std::move(rows_)); }

void OdbcReader::Read() {
  try {
    thread_->Run([rows = rows_] { rows->TakeNext(); }, rows_->limit, rows_->canceller);
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
