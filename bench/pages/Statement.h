// A statement as the driver manager was given it, and its form as one line of text: what the recorder writes and the
// other programs read. Nothing of the server is in it.
#pragma once

#include <array>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace ods::bench {

struct Statement {
  unsigned long maxRows = 0;  ///< SQL_ATTR_MAX_ROWS; 0 for none
  std::string text;           ///< UTF-8
};

/// What stands for a call of SQLTables: no statement begins so.
inline constexpr std::string_view kTablesCall = "SQLTables:";

/// The text of such a call with its catalogue, schema, table and types.
inline std::string ListOfTables(const std::array<std::optional<std::string>, 4>& arguments) {
  std::string text(kTablesCall);
  for (const auto& argument : arguments) text += argument ? "=" + *argument + "\n" : "\n";
  return text;
}

/// The arguments of the text that `ListOfTables` has made.
inline std::array<std::optional<std::string>, 4> TablesArguments(std::string_view text) {
  std::array<std::optional<std::string>, 4> arguments;
  text.remove_prefix(kTablesCall.size());
  for (auto& argument : arguments) {
    const std::size_t end = text.find('\n');
    if (text.starts_with('=')) argument = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
  }
  return arguments;
}

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
