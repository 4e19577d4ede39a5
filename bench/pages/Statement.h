// A statement as the driver manager was given it, and its form as one line of text: what the recorder writes and the
// other programs read. Nothing of the server is in it.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

namespace ods::bench {

struct Statement {
  unsigned long maxRows = 0;  ///< SQL_ATTR_MAX_ROWS; 0 for none
  std::string text;           ///< UTF-8
};

/// "<maxRows> <text>" with "\" and line breaks of the text written as "\\" and "\n".
inline std::string ToLine(const Statement& statement) {
  std::string line = std::to_string(statement.maxRows) + " ";
  for (const char c : statement.text) {
    if (c == '\\' || c == '\n') line += '\\';
    line += c == '\n' ? 'n' : c;
  }
  return line;
}

/// The statement of a line that `ToLine` has made.
inline Statement FromLine(std::string_view line) {
  Statement statement;
  statement.maxRows = std::strtoul(std::string(line).c_str(), nullptr, 10);
  for (std::size_t at = line.find(' ') + 1; at < line.size(); ++at) {
    const bool escaped = line[at] == '\\' && at + 1 < line.size();
    if (escaped) ++at;
    statement.text += escaped && line[at] == 'n' ? '\n' : line[at];
  }
  return statement;
}

}  // namespace ods::bench
