#include "Counted.h"

#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string_view>

#include "Processes.h"
#include "Readers.h"
#include "RunningServer.h"
#include "Teaching.h"

namespace ods::bench {

namespace {

/// Has glibc use the functions that run on every processor, so that a page takes the same on all of them (glibc manual,
/// "Hardware Capability Tunables").
constexpr const char* kTunables =
    "glibc.cpu.hwcaps=-AVX512F,-AVX2,-AVX,-AVX_Fast_Unaligned_Load,-BMI2,-ERMS,-FSRM,-SSE4_2,-SSE4_1,-SSSE3";

/// The sum of what is counted in a file that callgrind has written in its long form (Callgrind Format Specification
/// in valgrind's manual): a line "calls=" is followed by the line of what the calls took, all within them included.
Instructions ReadCounts(const std::string& path, const std::string& program) {
  Instructions counts;
  std::ifstream file(path);
  std::string object;  // that calls
  std::string called;  // object that is called, where it is another one
  bool calls = false;
  const auto lastNumber = [](const std::string& line) { return std::strtod(line.c_str() + line.rfind(' '), nullptr); };
  for (std::string line; std::getline(file, line);) {
    const std::string_view text = line;
    if (text.starts_with("ob=")) {
      object = text.substr(3);
    } else if (text.starts_with("cob=")) {
      called = text.substr(4);
    } else if (text.starts_with("calls=")) {
      calls = true;
    } else if (text.starts_with("totals: ")) {
      counts.all = lastNumber(line);
    } else if (calls) {
      if (object == program && called.find("/libodbc.so.") != std::string::npos) counts.driver += lastNumber(line);
      calls = false;
      called.clear();
    }
  }
  if (counts.all <= 0) throw std::runtime_error("callgrind has written no counts to " + path);
  if (counts.driver <= 0) throw std::runtime_error("callgrind has seen no call of the driver manager: " + path);
  return counts;
}

/// Programs that are started while it lives are counted, as `Runner` runs them.
class Counting {
 public:
  Counting() {
    setenv("GLIBC_TUNABLES", kTunables, 1);
    setenv("LD_BIND_NOW", "1", 1);
  }
  ~Counting() {
    unsetenv("LD_BIND_NOW");
    unsetenv("GLIBC_TUNABLES");
  }
  Counting(const Counting&) = delete;
  Counting& operator=(const Counting&) = delete;
  Counting(Counting&&) = delete;
  Counting& operator=(Counting&&) = delete;

  [[nodiscard]] std::vector<std::string> Runner() const {
    return {"valgrind",          "--tool=callgrind",
            "--quiet",           "--compress-strings=no",
            "--compress-pos=no", "--callgrind-out-file=" + File()};
  }
  /// Behind the end of the program.
  [[nodiscard]] Instructions Counts(const std::string& program) const { return ReadCounts(File(), program); }

 private:
  [[nodiscard]] std::string File() const { return place_.Folder() + "/counts"; }
  QueueProcess place_;  ///< never started: it has a folder
};

}  // namespace

bool CanCount() { return RunProgram({"sh", "-c", "command -v valgrind >/dev/null"}); }

Instructions CountServer(const std::string& connection, bool exact, const std::vector<Asked>& requests) {
  const std::string program = Program("odbc-data-server");
  const Counting counting;
  RunningServer process(program, connection, ServerParameters(exact), counting.Runner());
  const QueueReader reader(process.Process(), process.Requests(), process.Results());
  for (const Asked& each : requests) {
    for (int i = 0; i < each.times; ++i) {
      const std::string answer = reader.Ask(each.request);
      if (answer.find("<Error>") != std::string::npos) throw std::runtime_error("not answered: " + answer);
    }
  }
  process.Stop();
  return counting.Counts(program);
}

Instructions CountLimit(const std::string& connection, bool exact, const std::vector<Asked>& requests) {
  const std::string program = Program("pages-limit");
  const Counting counting;
  {
    LimitReader reader(program, connection, counting.Runner());
    std::vector<std::string> texts;
    texts.reserve(requests.size());
    for (const Asked& each : requests) texts.push_back(each.request);
    TeachStatements(reader, connection, exact, texts);
    Series unused;
    for (std::size_t page = 0; page < requests.size(); ++page) {
      for (int i = 0; i < requests[page].times; ++i) reader.Read(page, unused);
    }
  }
  return counting.Counts(program);
}

}  // namespace ods::bench
