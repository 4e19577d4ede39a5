// The configuration file of one server instance: which database it opens.
//
// A file of XML with the root `Settings`, made with defaults when it is missing, readable by its owner alone (it holds
// the password as plain text).
#pragma once

#include <cstdint>
#include <string>

#include "platform/xml/Xml.h"

namespace ods {

/// What the file holds, and when it was loaded.
struct Configuration {
  std::string DSN;
  std::string ConnectionString;
  std::string User;
  std::string Password;
  bool DebugMode = false;
  /// `FileModificationStamp` of the file at the load.
  std::int64_t modificationStamp = 0;
};

/// The document of a server that nobody has configured yet.
[[nodiscard]] XmlDocument CreateDefaultSettings();

/// Fills `configuration` from the file, which is made when it is missing; a file that does not parse reads as the
/// default document. Raises error 1000 "Error saving default configuration file to " or "Error loading configuration
/// file from " + path + the cause, and leaves `configuration` as it was then.
void LoadConfiguration(const std::string& path, Configuration& configuration);

/// Writes the settings over the file. Raises error 1000 naming the path, and 0x80004005 for a setting that XML cannot
/// carry.
void SaveConfiguration(const std::string& path, const Configuration& configuration);

}  // namespace ods
