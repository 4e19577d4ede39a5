// What the program's standard streams are connected to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace odbc_data {

enum class Stream : std::uint8_t { kOutput, kErrors };

[[nodiscard]] bool IsTerminal(Stream stream);
/// The columns of the terminal of a stream; 80 when it does not tell them.
[[nodiscard]] std::size_t TerminalWidth(Stream stream);
/// The lines of the terminal of a stream; 24 when it does not tell them.
[[nodiscard]] std::size_t TerminalHeight(Stream stream);
/// True for a terminal that takes colours and whose user has not said otherwise (NO_COLOR, TERM=dumb).
[[nodiscard]] bool TakesColours(Stream stream);
/// Asks for a line on the terminal without showing what is typed: for passwords. Nothing without a terminal,
/// and when the user gives up.
[[nodiscard]] std::optional<std::string> AskHidden(const std::string& question);

}  // namespace odbc_data
