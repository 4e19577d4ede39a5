#include "Teaching.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <unistd.h>

#include "Processes.h"

namespace ods::bench {

namespace {

/// Lines of a file.
std::vector<std::string> Lines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

}  // namespace

void TeachStatements(LimitReader& limit, const std::string& connection, bool exact,
                     const std::vector<std::string>& requests) {
  std::string file = (std::filesystem::temp_directory_path() / "ods-statements-XXXXXX").string();
  const int descriptor = mkstemp(file.data());
  if (descriptor < 0) throw std::runtime_error("no temporary file");
  close(descriptor);
  setenv("ODS_BENCH_STATEMENTS", file.c_str(), 1);
  setenv("LD_PRELOAD", Program("pages-recorder.so").c_str(), 1);
  const RunningServer server(Program("odbc-data-server"), connection, ServerParameters(exact));
  unsetenv("LD_PRELOAD");
  unsetenv("ODS_BENCH_STATEMENTS");
  const QueueReader reader(server.Process(), server.Requests(), server.Results());
  (void)reader.Ask(kPing);
  for (const std::string& line : Lines(file)) {
    if (FromLine(line).text.starts_with("SET ")) limit.AddSession(FromLine(line));
  }
  for (std::size_t page = 0; page < requests.size(); ++page) {
    (void)reader.Ask(requests[page]);  // what is asked once only is asked now
    const std::size_t before = Lines(file).size();
    (void)reader.Ask(requests[page]);
    const std::vector<std::string> lines = Lines(file);
    if (lines.size() == before) throw std::runtime_error("no statement was recorded");
    for (std::size_t i = before; i < lines.size(); ++i) limit.AddStatement(page, FromLine(lines[i]));
  }
  std::filesystem::remove(file);
}

}  // namespace ods::bench
