// The program in which an operator manages ODBC data sources, as far as this system has one.
#pragma once

#include <string>
#include <vector>

namespace ods {

/// A program to start: its path and what it is given.
struct Administrator {
  std::string program;
  std::vector<std::string> arguments;
};

/// What can manage data sources, the best first: the graphical managers of ODBC that are in a folder of `searchPath`
/// (in the form of the environment's PATH), then the desktop's opener with `userFile`, the user's file of data sources.
[[nodiscard]] std::vector<Administrator> FindAdministrators(const std::string& searchPath, const std::string& userFile);

/// Starts the first administrator that can be started and returns at once; nobody waits for its end. The user's file of
/// data sources is made when it is missing and is to be edited. False when there is nothing to start.
bool StartAdministrator(const std::string& searchPath);

/// How an operator manages data sources without such a program: a text to show, with LF between its lines.
[[nodiscard]] std::string WithoutAdministratorText();

}  // namespace ods
