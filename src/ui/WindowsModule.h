// The way to the windows: a module of its own, loaded only when a window is to be shown, so that a hidden server needs
// neither the windows' library nor a display.
#pragma once

#include <memory>
#include <string>

#include "common/ComponentRegistry.h"
#include "common/UserInterface.h"
#include "ui/ServerView.h"

namespace ods {

/// The file name of the module.
inline constexpr const char* kWindowsModule = "odbc-data-server-windows.so";
/// The one function of the module: makes the windows of `server`. Raises what `LoadWindows` does.
inline constexpr const char* kMakeWindows = "OdsMakeWindows";
using MakeWindowsFunction = void (*)(ServerView& server, const ComponentRegistry& components,
                                     std::unique_ptr<UserInterface>& windows);

/// "No window can be shown: " + reason, and what to do instead.
[[nodiscard]] std::string NoWindowText(const std::string& reason);

/// The windows of `server`, from the module in `programFolder` or else in ../lib/odbc-data-server beside it. `server`
/// and `components` outlive them. Raises error 1000 with `NoWindowText` when there is no display, or the module is not
/// there or cannot be loaded. A display that is named but cannot be opened ends the process: with that text on standard
/// error and the status 1.
[[nodiscard]] std::unique_ptr<UserInterface> LoadWindows(const std::string& programFolder, ServerView& server,
                                                         const ComponentRegistry& components);

}  // namespace ods
