// What the system knows of the width of characters.
#pragma once

namespace odbc_data {

/// The columns that a character takes on a terminal: 0, 1 or 2; -1 for one that cannot be shown. `UseUnicode` comes
/// first.
[[nodiscard]] int CharacterWidth(char32_t character);

}  // namespace odbc_data
