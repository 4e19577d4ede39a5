// The driver manager's configuration in a folder of the test's own: never that of the machine.
#pragma once

#include <fstream>
#include <string>

#include "support/EnvironmentValue.h"
#include "support/TemporaryFolder.h"

namespace ods::test {

/// As long as it lives, the files of the driver manager are those in its folder, none of which is there at first.
class OdbcFolder {
 public:
  [[nodiscard]] std::string Path() const { return folder_.Path(); }
  [[nodiscard]] std::string DriversFile() const { return Path() + "/odbcinst.ini"; }
  [[nodiscard]] std::string UserDriversFile() const { return Path() + "/.odbcinst.ini"; }
  [[nodiscard]] std::string SystemFile() const { return Path() + "/odbc.ini"; }
  [[nodiscard]] std::string UserFile() const { return Path() + "/user.ini"; }

  static void Write(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

 private:
  TemporaryFolder folder_;
  EnvironmentValue systemFolder_{"ODBCSYSINI", folder_.Path()};
  EnvironmentValue userFile_{"ODBCINI", folder_.Path() + "/user.ini"};
  EnvironmentValue home_{"HOME", folder_.Path()};
};

}  // namespace ods::test
