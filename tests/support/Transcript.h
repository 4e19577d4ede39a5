// Whole exchanges with a server as one text, to be kept in a file, read by people and compared.
//
//     === 02 field-list
//     --- request
//     ...
//     --- statements
//     ...
//     --- response
//     ...
//
// A blank line parts the exchanges, which are numbered from 01. A line of a content that would be taken for one of
// these, or that begins with a backslash, stands behind a backslash; a content that does not end with a line end is
// followed by the line "\ no line end". So every content comes back as it was, byte for byte.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ods::test {

struct Exchange {
  std::string title;
  std::string request;
  std::string statements;
  std::string response;

  friend bool operator==(const Exchange&, const Exchange&) = default;
};

[[nodiscard]] std::string WriteTranscript(const std::vector<Exchange>& exchanges);

/// The exchanges of a text that `WriteTranscript` wrote. Raises std::runtime_error with the number of the line (from 1)
/// that cannot be one of it.
[[nodiscard]] std::vector<Exchange> ReadTranscript(std::string_view text);

}  // namespace ods::test
