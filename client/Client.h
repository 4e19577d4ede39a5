// The command-line client: one request to the server, its answer to standard output.
//
// The exit status tells scripts how it went, so nothing of the answer needs to be parsed for that.
#pragma once

#include <chrono>
#include <iosfwd>
#include <string>

namespace ods {

namespace exit_status {
inline constexpr int kAnswered = 0;
/// The answer came, and it is an error document.
inline constexpr int kErrorAnswer = 1;
/// Wrong usage, a file that cannot be read, a folder that cannot be written or read.
inline constexpr int kUsage = 2;
/// No answer came in time.
inline constexpr int kNoAnswer = 3;
}  // namespace exit_status

/// Where the server takes requests and leaves its answers, and how long to wait for one.
struct Exchange {
  std::string requests;
  std::string results;
  std::chrono::milliseconds timeout{30000};
};

/// The text of a file, or of `standardInput` when `path` is empty. Raises error 1000 naming the file.
[[nodiscard]] std::string ReadRequest(const std::string& path, std::istream& standardInput);

/// Sends `request` under a new id, waits for the answer and writes it and a line end to `output`; a missing answer is
/// told on `errors`. Gives the exit status. Raises error 1000 (see `Queue::Send` and `AnswerFolder::Receive`), and when
/// the answer cannot be written.
[[nodiscard]] int Run(const Exchange& exchange, const std::string& request, std::ostream& output, std::ostream& errors);

/// True when `answer` is a document with the root `XML` that has a child `Error`.
[[nodiscard]] bool IsErrorDocument(const std::string& answer);

}  // namespace ods
