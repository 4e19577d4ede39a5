// How far an export has come, in one line.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace odbc_data {

struct Progress {
  std::int64_t rows = 0;
  std::optional<std::int64_t> total;  ///< rows altogether, where it is known
  std::chrono::duration<double> elapsed{0};
};

/// `number` with a comma before each three digits.
[[nodiscard]] std::string Grouped(std::int64_t number);
/// Hours, minutes and seconds: "0:07", "12:30", "1:02:03".
[[nodiscard]] std::string Clock(std::chrono::duration<double> time);

/// Share of the total, a bar, rows, rows a second, the time that has gone and that which is left: what fits into
/// `width` columns.
[[nodiscard]] std::string ProgressLine(const Progress& progress, std::size_t width);
/// What is told at the end.
[[nodiscard]] std::string ProgressEnd(const Progress& progress);

}  // namespace odbc_data
