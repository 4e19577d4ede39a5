// The program in which an operator manages ODBC data sources, as far as this system has one.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/system/System.h"

namespace ods {

/// A program to start: its path and what it is given.
struct Administrator {
  std::string program;
  std::vector<std::string> arguments;
};

/// What can manage data sources, the best first: the graphical managers of ODBC that are in a folder of `searchPath`
/// (in the form of the environment's PATH), then the desktop's opener with `userFile`, the user's file of data sources.
[[nodiscard]] std::vector<Administrator> FindAdministrators(const std::string& searchPath, const std::string& userFile);

/// What was started.
struct StartedAdministrator {
  /// The desktop's opener, which may find nothing to open the file with; nullptr for a manager of ODBC, which is left
  /// alone.
  std::unique_ptr<WatchedProgram> opener;
};

/// Starts the first administrator that can be started and returns at once; nobody waits for its end. The user's file of
/// data sources is made when it is missing and is to be edited. Nothing when there is nothing to start.
[[nodiscard]] std::optional<StartedAdministrator> StartAdministrator(const std::string& searchPath);

/// How an operator manages data sources without such a program: a text to show, with LF between its lines.
[[nodiscard]] std::string WithoutAdministratorText();
/// The same where the desktop's opener ended with a status other than 0.
[[nodiscard]] std::string OpenerFailedText(int status);

}  // namespace ods
