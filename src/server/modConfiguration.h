// The configuration file of one server instance: which database it opens.
//
// A file of XML with the root `Settings`, made with defaults when it is missing, readable by its owner alone (it holds
// the password as plain text).
#pragma once

#include <string>

#include "platform/system/FileFacts.h"
#include "platform/xml/Xml.h"

namespace ods {

/// What the file holds, and how it looked when it was loaded.
struct Configuration {
  std::string DSN;
  std::string ConnectionString;
  std::string User;
  std::string Password;
  bool DebugMode = false;
  FileFacts file;        ///< told by the system just before the file was read
  std::string fileText;  ///< all of it
  /// The file had not changed for so long that its next change shows in `file`.
  bool settled = false;
};

/// The document of a server that nobody has configured yet.
[[nodiscard]] XmlDocument CreateDefaultSettings();

/// Fills `configuration` from the file, which is made when it is missing; a file that does not parse reads as the
/// default document. Raises error 1000 "Error saving default configuration file to " or "Error loading configuration
/// file from " + path + the cause, and leaves `configuration` as it was then.
void LoadConfiguration(const std::string& path, Configuration& configuration);

/// True when the file is another one than at the load: by its modification time, or by its text where anything else of
/// it differs. Times of files go in steps: a file that was read within two seconds of a change is read again until it
/// is older, so that no change is missed, however soon after the reading it came (`configuration` remembers that).
[[nodiscard]] bool ConfigurationChanged(const std::string& path, Configuration& configuration);

/// Writes the settings over the file, which keeps its owner, its mode and its place behind a link. Raises error 1000
/// naming the path, and 0x80004005 for a setting that XML cannot carry.
void SaveConfiguration(const std::string& path, const Configuration& configuration);

}  // namespace ods
