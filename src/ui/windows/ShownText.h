// How text that somebody else wrote (a client, a driver, a database) comes to the screen: plain, and no more of it than
// a reader can use. The windows' library lays out every character it is given each time it paints, and takes a tool tip
// that looks like markup for markup.
#pragma once

#include <QString>
#include <string_view>

namespace ods {

/// The most characters of such a text that a cell or a tool tip shows.
inline constexpr qsizetype kMostShownCharacters = 1000;

/// The first `most` characters (Unicode code points) of a text, with an ellipsis behind them when there are more. Bytes
/// that are no UTF-8 become replacement characters. Costs what is shown, however long the text is.
[[nodiscard]] QString ShownText(std::string_view utf8, qsizetype most = kMostShownCharacters);

/// `text` as markup that shows it as it stands, for a tool tip: its lines are broken where they get too wide, also
/// within a long word.
[[nodiscard]] QString ToolTipOf(const QString& text);

}  // namespace ods
