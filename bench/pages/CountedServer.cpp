#include "CountedServer.h"

#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string_view>

#include "Readers.h"
#include "RunningServer.h"

namespace ods::bench {

namespace {

/// Has glibc use the functions that run on every processor, so that a page takes the same on all of them (glibc manual,
/// "Hardware Capability Tunables").
constexpr const char* kTunables =
    "glibc.cpu.hwcaps=-AVX512F,-AVX2,-AVX,-AVX_Fast_Unaligned_Load,-BMI2,-ERMS,-FSRM,-SSE4_2,-SSE4_1,-SSSE3";

/// The sum of what is counted in a file that callgrind has written in its long form (Callgrind Format Specification
/// in valgrind's manual): a line "calls=" is followed by the line of what the calls took, all within them included.
Instructions ReadCounts(const std::string& path, const std::string& server) {
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
      if (object == server && called.find("/libodbc.so.") != std::string::npos) counts.driver += lastNumber(line);
      calls = false;
      called.clear();
    }
  }
  if (counts.all <= 0) throw std::runtime_error("callgrind has written no counts to " + path);
  if (counts.driver <= 0) throw std::runtime_error("callgrind has seen no call of the driver manager: " + path);
  return counts;
}

}  // namespace

bool CanCount() { return RunProgram({"sh", "-c", "command -v valgrind >/dev/null"}); }

Instructions CountServer(const std::string& server, const std::string& connection, bool exact,
                         const std::vector<Asked>& requests) {
  const QueueProcess place;  // never started: it has a folder
  const std::string counts = place.Folder() + "/counts";
  setenv("GLIBC_TUNABLES", kTunables, 1);
  setenv("LD_BIND_NOW", "1", 1);
  RunningServer process(server, connection,
                        exact ? std::vector<std::string>{"/hidden", "/exact"} : std::vector<std::string>{"/hidden"},
                        {"valgrind", "--tool=callgrind", "--quiet", "--compress-strings=no", "--compress-pos=no",
                         "--callgrind-out-file=" + counts});
  unsetenv("LD_BIND_NOW");
  unsetenv("GLIBC_TUNABLES");
  const QueueReader reader(process.Process(), process.Requests(), process.Results());
  for (const Asked& each : requests) {
    for (int i = 0; i < each.times; ++i) {
      const std::string answer = reader.Ask(each.request);
      if (answer.find("<Error>") != std::string::npos) throw std::runtime_error("not answered: " + answer);
    }
  }
  process.Stop();
  return ReadCounts(counts, server);
}

}  // namespace ods::bench
