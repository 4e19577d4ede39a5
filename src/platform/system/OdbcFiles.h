// Where the ODBC driver manager keeps its configuration.
#pragma once

#include <string>

namespace ods {

/// Paths of ini files, each of which may be missing. The rules are those of unixODBC 2.3.11 (measured with
/// `odbcinst -j` and a trace of what it opens), its environment variables count as it takes them.
struct OdbcFiles {
  std::string drivers;            ///< installed drivers of the machine
  std::string userDrivers;        ///< installed drivers of the user: `$HOME/.odbcinst.ini`
  std::string systemDataSources;  ///< `odbc.ini` in the system folder
  std::string userDataSources;    ///< `$ODBCINI`, or `.odbc.ini` in the home folder that the user database tells
};

/// The files by the environment as it is now. The system folder is `$ODBCSYSINI`, or the one that the driver manager
/// was built with; `$ODBCINSTINI` is the name in it of the file of drivers, `odbcinst.ini` unless it is set.
[[nodiscard]] OdbcFiles FindOdbcFiles();

}  // namespace ods
