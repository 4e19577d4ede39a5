#include "ui/WindowsModule.h"

#include <filesystem>
#include <system_error>

#include "common/Error.h"
#include "common/Files.h"
#include "platform/system/Module.h"
#include "platform/system/System.h"

namespace ods {

namespace {

/// The path of the module in the first folder that has it.
std::string FindModule(const std::string& programFolder) {
  const std::string libraryFolder = JoinPath(programFolder, "../lib/odbc-data-server");
  for (const std::string& folder : {programFolder, libraryFolder}) {
    std::string path = JoinPath(folder, kWindowsModule);
    std::error_code ignored;
    if (std::filesystem::exists(PathOf(path), ignored)) return path;
  }
  throw Error(error_number::kOwn, std::string("the module ") + kWindowsModule + " is neither in " + programFolder +
                                      " nor in " + libraryFolder + ".");
}

std::unique_ptr<UserInterface> MakeWindows(const std::string& programFolder, ServerView& server,
                                           const ComponentRegistry& components) {
  if (!HasDisplay()) {
    throw Error(error_number::kOwn, "there is no display (neither DISPLAY nor WAYLAND_DISPLAY is set).");
  }
  const std::string path = FindModule(programFolder);
  const auto make = reinterpret_cast<MakeWindowsFunction>(FunctionOfModule(path, kMakeWindows));
  std::unique_ptr<UserInterface> windows;
  make(server, components, windows);
  return windows;
}

}  // namespace

std::string NoWindowText(const std::string& reason) {
  return "No window can be shown: " + reason + " Give the parameter \"hidden\" to run the server without windows.";
}

std::unique_ptr<UserInterface> LoadWindows(const std::string& programFolder, ServerView& server,
                                           const ComponentRegistry& components) {
  try {
    return MakeWindows(programFolder, server, components);
  } catch (const Error& error) {
    throw Error(error.Number(), NoWindowText(error.Description()));
  }
}

}  // namespace ods
