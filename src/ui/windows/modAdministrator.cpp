#include "ui/windows/modAdministrator.h"

#include <QDir>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <array>
#include <utility>

#include "common/Value.h"
#include "platform/system/OdbcFiles.h"
#include "platform/system/Registry.h"

namespace ods {

namespace {

/// The managers that come with driver managers: those of unixODBC, built with one or the other version of its library,
/// then those of iODBC, which keeps its data sources in the same files.
constexpr auto kManagers =
    std::to_array<const char*>({"ODBCManageDataSourcesQ5", "ODBCManageDataSourcesQ4", "ODBCCreateDataSourceQ5",
                                "ODBCCreateDataSourceQ4", "ODBCConfig", "gODBCConfig", "iodbcadm-gtk"});
/// Opens a file in the program that the desktop has for it.
constexpr const char* kOpener = "xdg-open";
constexpr const char* kUserFileKey = "HKEY_CURRENT_USER\\Software\\ODBC\\ODBC.INI\\";

std::string HowToEdit() {
  return "To create or change a data source, edit the file \"" + FindOdbcFiles().userDataSources +
         "\". A data source is a section of it:\n\n"
         "[Name of the data source]\n"
         "Driver=Name of an installed driver\n\n"
         "What else it needs depends on the driver.";
}

}  // namespace

std::vector<Administrator> FindAdministrators(const std::string& searchPath, const std::string& userFile) {
  std::vector<Administrator> found;
  const QStringList folders = QString::fromStdString(searchPath).split(QDir::listSeparator(), Qt::SkipEmptyParts);
  if (folders.isEmpty()) return found;  // the search would take the environment's path instead
  const auto find = [&](const char* name, std::vector<std::string> arguments) {
    const QString program = QStandardPaths::findExecutable(name, folders);
    if (!program.isEmpty()) found.push_back({program.toStdString(), std::move(arguments)});
  };
  for (const char* name : kManagers) find(name, {});
  find(kOpener, {userFile});
  return found;
}

std::optional<StartedAdministrator> StartAdministrator(const std::string& searchPath) {
  const std::string userFile = FindOdbcFiles().userDataSources;
  for (const Administrator& administrator : FindAdministrators(searchPath, userFile)) {
    if (administrator.arguments.empty()) {
      if (StartProgram(administrator.program, {})) return StartedAdministrator{};
    } else if (RegWrite(kUserFileKey, Value())) {  // the opener shows a file only when there is one
      auto opener = StartWatchedProgram(administrator.program, administrator.arguments);
      if (opener) return StartedAdministrator{std::move(opener)};
    }
  }
  return std::nullopt;
}

std::string WithoutAdministratorText() {
  return "No program that manages ODBC data sources was found on this computer.\n\n" + HowToEdit();
}

std::string OpenerFailedText(int status) {
  return "The desktop could not open the file of your ODBC data sources: " + std::string(kOpener) +
         " ended with the status " + std::to_string(status) + ".\n\n" + HowToEdit();
}

}  // namespace ods
