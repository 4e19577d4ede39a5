#include "platform/ado/OdbcStream.h"

#include <cstddef>
#include <exception>
#include <span>
#include <utility>

#include "platform/ado/ThreadRows.h"

namespace ods::odbc {

namespace {

/// Of one hand-over. Long values are not taken far beyond the bytes.
constexpr std::size_t kMostRows = 4096;
constexpr std::size_t kMostBytes = std::size_t{1} << 20U;

}  // namespace

struct OdbcStream::Rows : ThreadRows {
  std::shared_ptr<RowSink> sink;
  bool begun = false;

  void TakeNext() {
    Take([&] { GiveAll(); });
  }
  void FreeMemory() { source.reset(); }

  void GiveAll() {
    if (!std::exchange(begun, true)) OfSink([&] { sink->Begin(source->Fields()); });
    std::size_t bytes = 0;
    while (!AtEnd() && count < kMostRows && bytes < kMostBytes) {
      const std::span<const CellView> cells = source->Cells();
      ++count;
      for (const CellView& cell : cells) bytes += BytesOf(cell);
      bool more = false;
      OfSink([&] { more = sink->Take(cells); });
      if (more) {
        source->MoveNext();
      } else {
        source.reset();
      }
    }
  }

  /// What the sink raises is kept for the reader, and nothing more is given.
  template <typename Call>
  void OfSink(Call call) {
    try {
      call();
    } catch (...) {
      failure = std::current_exception();
      source.reset();
    }
  }
};

OdbcStream::OdbcStream(std::shared_ptr<DriverThread> thread, std::shared_ptr<OdbcDatabase> database,
                       const std::string& sql, std::int32_t maxRecords, ReadForm form, CallLimit limit,
                       std::shared_ptr<RowSink> sink)
    : thread_(std::move(thread)) {
  auto rows = std::make_shared<Rows>();
  rows->database = std::move(database);
  rows->limit = std::move(limit);
  rows->sink = std::move(sink);
  rows_ = RunOnThread(*thread_, std::move(rows),
                      {.sql = sql, .maxRecords = maxRecords, .form = form, .rows = OdbcRecordSet::Rows::kAsCells});
}

OdbcStream::~OdbcStream() { ReleaseOnThread(*thread_, std::move(rows_)); }

void OdbcStream::ReadToEnd() {
  while (true) {
    if (rows_->failure) std::rethrow_exception(std::exchange(rows_->failure, nullptr));
    if (rows_->AtEnd()) return;
    thread_->Run([rows = rows_] { rows->TakeNext(); }, rows_->limit, rows_->canceller);
  }
}

}  // namespace ods::odbc
