#include "Export.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <system_error>
#include <utility>

#include "common/Files.h"

namespace odbc_data {

namespace {

/// Why a stream has just failed, as far as its library tells.
std::error_code StreamFailure() { return {errno, std::generic_category()}; }

std::unique_ptr<std::ostream> OpenFile(const std::string& path, bool add) {
  auto file =
      std::make_unique<std::ofstream>(ods::PathOf(path), std::ios::binary | (add ? std::ios::app : std::ios::trunc));
  if (!*file) throw Failure("Unable to write the file \"" + path + "\": " + StreamFailure().message());
  return file;
}

}  // namespace

ExportOutput::ExportOutput(std::ostream& stream) : stream_(stream) {}

ExportOutput::ExportOutput(const std::string& path, bool add)
    : path_(path), file_(OpenFile(path, add)), stream_(*file_) {
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(ods::PathOf(path_), unknown);
  size_ = unknown ? 0 : size;
}

ExportOutput::~ExportOutput() {
  if (!file_) return;
  file_.reset();
  std::error_code ignored;  // a pipe or a device has no size
  const std::filesystem::path path = ods::PathOf(path_);
  if (std::filesystem::is_regular_file(path, ignored)) std::filesystem::resize_file(path, size_, ignored);
}

void ExportOutput::Commit(const std::string& text) {
  errno = 0;
  stream_.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
  if (!stream_) {
    const std::error_code failure = StreamFailure();
    const std::string where = file_ ? "the file \"" + path_ + "\"" : std::string("standard output");
    throw Failure("Unable to write to " + where + (failure ? ": " + failure.message() : ""));
  }
  size_ += text.size();
}

void RunExport(Client& client, ExportJob job, ExportOutput& output, Exported& exported) {
  const auto begin = std::chrono::steady_clock::now();
  exported.position = job.walk.after;
  std::string text;
  job.writer->Begin(text, job.columns, !job.walk.after.empty());
  TableWalk walk(client, std::move(job.question), std::move(job.walk));
  Progress progress;
  while (auto page = walk.Next()) {
    if (page->total) progress.total = page->total;
    CutRows(page->rows, job.columns.size());
    for (const Row& row : page->rows) job.writer->Write(text, row);
    output.Commit(text);
    text.clear();
    exported.position = page->last;
    exported.rows += static_cast<std::int64_t>(page->rows.size());
    progress.rows = exported.rows;
    progress.elapsed = std::chrono::steady_clock::now() - begin;
    job.show(progress);
    if (page->hasNext && job.stop()) throw Stopped("The export was stopped.");
  }
  job.writer->End(text);
  output.Commit(text);
}

}  // namespace odbc_data
