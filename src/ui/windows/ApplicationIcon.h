// The icon of the application. It comes as pictures in several sizes, drawn from icons/odbc-data-server.svg: the
// library's part that draws SVG is not installed everywhere.
#pragma once

#include <QIcon>

namespace ods {

/// Needs an application object.
[[nodiscard]] QIcon ApplicationIcon();

}  // namespace ods
