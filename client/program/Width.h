// How wide text is on a terminal, and text that a terminal shows as it is meant.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace odbc_data {

/// Lets the process take characters for what Unicode says of them: by the user's locale where that is one of UTF-8,
/// else by the neutral one. What follows needs it. Numbers are written as before.
void UseUnicode();

/// `text` on one line, harmless to a terminal: control characters as their pictures (a line feed as U+240A), what is no
/// UTF-8 and what a terminal cannot show as U+FFFD.
[[nodiscard]] std::string VisibleText(std::string_view text);

/// The columns that a visible text takes: two for wide characters, none for those that go on top of another.
[[nodiscard]] std::size_t DisplayWidth(std::string_view text);

/// The beginning of a visible text that is no wider than `width`, with "…" at its end when something is left out.
[[nodiscard]] std::string CutToWidth(std::string_view text, std::size_t width);

/// The part of a visible text behind its first `columns` columns. A wide character that lies half before that place
/// leaves a blank.
[[nodiscard]] std::string BehindWidth(std::string_view text, std::size_t columns);

}  // namespace odbc_data
