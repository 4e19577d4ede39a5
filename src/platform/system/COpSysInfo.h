// The running platform: its name and its version.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ods {

/// What `COpSysInfo::Name` says there.
inline constexpr const char* kWindowsName = "Windows";

/// Read-only: what the system told when the object was made.
class COpSysInfo {
 public:
  /// Asks the system: uname(2), and os-release(5) for the distribution; on Windows its kernel, which tells of no
  /// distribution. Nothing is raised; what the system does not tell is "" or 0.
  COpSysInfo();
  /// The same of given facts.
  /// @param version the system's own text of it, which begins with its numbers, as in "6.1.0-13-amd64"
  /// @param osRelease the content of an os-release file
  COpSysInfo(std::string name, std::string version, std::string machine, std::string_view osRelease);

  /// The system, such as "Linux".
  [[nodiscard]] const std::string& Name() const { return name_; }
  /// The system's version as it writes it, such as "6.1.0-13-amd64".
  [[nodiscard]] const std::string& Version() const { return version_; }
  /// The numbers at the start of the version; 0 for one that it lacks.
  [[nodiscard]] std::int32_t MajorVersion() const { return major_; }
  [[nodiscard]] std::int32_t MinorVersion() const { return minor_; }
  /// True where whoever manages ODBC data sources has to be made an administrator for it: Windows from version 6 on.
  [[nodiscard]] bool NeedsElevation() const;
  /// The distribution with its version, such as "Debian GNU/Linux 12 (bookworm)".
  [[nodiscard]] const std::string& Distribution() const { return distribution_; }
  /// The kind of processor, such as "x86_64".
  [[nodiscard]] const std::string& Machine() const { return machine_; }

  /// All of it for a reader: "Linux 6.1.0-13-amd64, x86_64, Debian GNU/Linux 12 (bookworm)".
  [[nodiscard]] std::string Description() const;

 private:
  std::string name_;
  std::string version_;
  std::string machine_;
  std::string distribution_;
  std::int32_t major_ = 0;
  std::int32_t minor_ = 0;
};

}  // namespace ods
