#include "platform/system/OdbcFiles.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>
#if __has_include(<unixODBC/unixodbc_conf.h>)
#include <unixODBC/unixodbc_conf.h>
#elif __has_include(<unixodbc_conf.h>)
#include <unixodbc_conf.h>
#endif

namespace ods {

namespace {

/// The folder that the driver manager was built with.
#ifdef SYSTEM_FILE_PATH
constexpr const char* kSystemFolder = SYSTEM_FILE_PATH;
#else
constexpr const char* kSystemFolder = "/etc";
#endif
/// What the driver manager takes for a home folder when nobody tells one.
constexpr const char* kAnyHome = "/home";

/// An environment variable that is set counts for the driver manager also when it is empty.
std::string VariableOr(const char* name, const std::string& otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : otherwise;
}

/// The home folder by the user database, which the driver manager asks instead of $HOME.
std::string HomeByUserDatabase() {
  std::vector<char> buffer(1024);
  passwd entry{};
  passwd* found = nullptr;
  while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) buffer.resize(buffer.size() * 2);
  return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : kAnyHome;
}

}  // namespace

OdbcFiles FindOdbcFiles() {
  const std::string systemFolder = VariableOr("ODBCSYSINI", kSystemFolder);
  OdbcFiles files;
  files.drivers = systemFolder + "/" + VariableOr("ODBCINSTINI", "odbcinst.ini");
  files.userDrivers = VariableOr("HOME", kAnyHome) + "/.odbcinst.ini";
  files.systemDataSources = systemFolder + "/odbc.ini";
  files.userDataSources = VariableOr("ODBCINI", "");
  if (files.userDataSources.empty()) files.userDataSources = HomeByUserDatabase() + "/.odbc.ini";
  return files;
}

}  // namespace ods
