// Writes all rows of a table, page after page, in constant memory.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

#include "Formats.h"
#include "OdbcDataClient.h"
#include "Progress.h"

namespace odbc_data {

/// Where an export goes: a file, or a stream. What is written counts once `Commit` was called: a file is cut back to
/// that when the object goes, so that no half of a page is left.
class ExportOutput {
 public:
  explicit ExportOutput(std::ostream& stream);
  /// @param add go on at the end of the file. Raises `Failure` when it cannot be opened.
  ExportOutput(const std::string& path, bool add);
  ~ExportOutput();
  ExportOutput(const ExportOutput&) = delete;
  ExportOutput& operator=(const ExportOutput&) = delete;
  ExportOutput(ExportOutput&&) = delete;
  ExportOutput& operator=(ExportOutput&&) = delete;

  /// Writes a text and counts it. Raises `Failure` when not all of it can be written.
  void Commit(const std::string& text);

 private:
  std::string path_;
  std::unique_ptr<std::ostream> file_;
  std::ostream& stream_;
  std::uintmax_t size_ = 0;
};

/// How far an export came: the position behind which it can go on, "" when no page was written.
struct Exported {
  std::int64_t rows = 0;
  std::string position;
};

struct ExportJob {
  Question question;
  std::vector<SheetColumn> columns;
  Walk walk;
  std::unique_ptr<RowWriter> writer;
  std::function<bool()> stop = [] { return false; };
  std::function<void(const Progress&)> show = [](const Progress&) {};
};

/// Runs an export. `exported` is true at any time, also when an error is raised: `Stopped` when `stop` says so,
/// `Failure` when the output cannot be written, and whatever a walk raises.
void RunExport(Client& client, ExportJob job, ExportOutput& output, Exported& exported);

}  // namespace odbc_data
