#include "platform/system/Registry.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "platform/system/FileHandle.h"
#include "platform/system/IniText.h"
#include "platform/system/OdbcFiles.h"
#include "platform/system/RegistryPath.h"
#include "platform/system/ReplaceFile.h"
#include "platform/system/System.h"

namespace ods {

namespace {

/// The driver manager's files are some kilobytes; whatever is larger is none of them.
constexpr std::size_t kMaximumFileSize = 1 << 20;
/// What an enumeration of a key hands out at most, for a name and for its data.
constexpr std::size_t kMaximumEnumerated = 2000;

enum class Root { kClassesRoot, kCurrentUser, kLocalMachine, kUsers };

struct RootName {
  std::string_view fullName;
  std::string_view shortName;
  Root root;
};

constexpr std::array<RootName, 4> kRootNames = {{
    {"HKEY_CLASSES_ROOT", "HKCR", Root::kClassesRoot},
    {"HKEY_CURRENT_USER", "HKCU", Root::kCurrentUser},
    {"HKEY_LOCAL_MACHINE", "HKLM", Root::kLocalMachine},
    {"HKEY_USERS", "HKUR", Root::kUsers},
}};

/// A key that is a file, and who may read the file when it has to be made: data sources of a user may hold passwords.
struct FileKey {
  Root root;
  std::string_view key;
  std::string OdbcFiles::*file;
  unsigned newFileMode;
};

constexpr std::array<FileKey, 4> kFileKeys = {{
    {Root::kLocalMachine, "SOFTWARE\\ODBC\\ODBCINST.INI", &OdbcFiles::drivers, 0644},
    {Root::kLocalMachine, "SOFTWARE\\ODBC\\ODBC.INI", &OdbcFiles::systemDataSources, 0644},
    {Root::kCurrentUser, "SOFTWARE\\ODBC\\ODBCINST.INI", &OdbcFiles::userDrivers, 0600},
    {Root::kCurrentUser, "SOFTWARE\\ODBC\\ODBC.INI", &OdbcFiles::userDataSources, 0600},
}};

/// Where a key lies.
struct Location {
  std::string path;
  unsigned newFileMode = 0;
  std::string_view section;  ///< "" is the file itself
};

std::optional<Root> FindRoot(std::string_view name) {
  const std::string upper = ToUpper(name);
  const auto* const found = std::ranges::find_if(
      kRootNames, [&](const RootName& root) { return upper == root.fullName || upper == root.shortName; });
  return found == kRootNames.end() ? std::nullopt : std::optional(found->root);
}

/// The location of a key without "\" at its end; nothing when no such key can be.
std::optional<Location> Locate(std::string_view keyPath) {
  const std::size_t rootEnd = std::min(keyPath.find('\\'), keyPath.size());
  const std::optional<Root> root = FindRoot(keyPath.substr(0, rootEnd));
  if (!root) return std::nullopt;
  const std::string_view key = keyPath.substr(std::min(rootEnd + 1, keyPath.size()));
  for (const FileKey& file : kFileKeys) {
    if (file.root != *root || ToUpper(key.substr(0, file.key.size())) != file.key) continue;
    const std::string_view rest = key.substr(file.key.size());
    if (!rest.empty() && rest.front() != '\\') continue;
    return Location{FindOdbcFiles().*file.file, file.newFileMode, rest.substr(rest.empty() ? 0 : 1)};
  }
  return std::nullopt;
}

/// The content of a file that can be an ini file.
std::optional<std::string> ReadIniFile(const std::string& path) {
  // Without waiting: a pipe would block until somebody writes into it.
  const FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat facts {};
  if (!file || fstat(file.Get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return std::nullopt;
  const auto expected = static_cast<std::uint64_t>(facts.st_size);
  if (expected > kMaximumFileSize) return std::nullopt;
  std::string content(expected + 1, '\0');
  std::size_t size = 0;
  for (ssize_t count = 1; count > 0 && size < content.size(); size += static_cast<std::size_t>(count)) {
    count = read(file.Get(), content.data() + size, content.size() - size);
    if (count < 0) return std::nullopt;
  }
  if (size > expected) return std::nullopt;  // somebody writes it just now: half a file is none
  content.resize(size);
  return content;
}

bool IsEnumerated(std::string_view name, std::string_view data = {}) {
  return name.size() <= kMaximumEnumerated && data.size() <= kMaximumEnumerated;
}

std::shared_ptr<Dictionary> ValuesOf(const ComponentRegistry& components, const IniSection& section) {
  auto values = CreateHalvikDictionary(components);
  for (const IniEntry& entry : section.entries) {
    if (IsEnumerated(entry.name, entry.value)) values->Set(entry.name, entry.value);
  }
  return values;
}

/// The text that an ini file holds for a value.
std::string IniText(const Value& value) { return value.Is<Bytes>() ? BytesToHex(value) : SafeStr(value); }

/// Replaces the file; false when the system refuses.
bool Replace(const Location& location, std::string_view text) {
  try {
    ReplaceFile(location.path, text, location.newFileMode);
  } catch (const Error&) {
    return false;
  }
  return true;
}

bool CreateKey(const Location& location) {
  const std::optional<std::string> text = ReadIniFile(location.path);
  if (!text && FileModificationStamp(location.path) != 0) return false;  // it is there, and none of ours
  const std::string before = text.value_or("");
  if (location.section.empty()) return text.has_value() || Replace(location, before);
  const std::optional<std::string> after = WithIniSection(before, location.section);
  return after && ((text && *after == before) || Replace(location, *after));
}

}  // namespace

std::shared_ptr<Dictionary> RegReadKey(const ComponentRegistry& components, std::string_view path) {
  if (path.ends_with('\\')) path.remove_suffix(1);
  const std::optional<Location> location = Locate(path);
  if (!location) return nullptr;
  const std::optional<std::string> text = ReadIniFile(location->path);
  if (!text) return nullptr;
  const std::vector<IniSection> sections = ParseIni(*text);
  if (!location->section.empty()) {
    const IniSection* section = FindSection(sections, location->section);
    return section != nullptr ? ValuesOf(components, *section) : nullptr;
  }
  auto keys = CreateHalvikDictionary(components);
  for (const IniSection& section : sections) {
    if (IsEnumerated(section.name)) keys->Set(section.name, std::shared_ptr<Object>(ValuesOf(components, section)));
  }
  return keys;
}

Value RegRead(std::string_view path) {
  const RegistryPath parts = SplitAtLast(path);
  const std::optional<Location> location = Locate(parts.key);
  if (!location || location->section.empty()) return Null{};
  const std::optional<std::string> text = ReadIniFile(location->path);
  if (!text) return Null{};
  const std::vector<IniSection> sections = ParseIni(*text);
  const IniSection* section = FindSection(sections, location->section);
  const IniEntry* entry = section != nullptr ? FindEntry(*section, parts.last) : nullptr;
  return entry != nullptr ? Value(entry->value) : Value(Null{});
}

bool RegWrite(std::string_view path, const Value& value) {
  const RegistryPath parts = SplitAtLast(path);
  const std::optional<Location> location = Locate(parts.key);
  if (!location) return false;
  if (parts.last.empty()) return CreateKey(*location);
  if (location->section.empty()) return false;  // a file has no values of its own
  const std::optional<std::string> before = ReadIniFile(location->path);
  if (!before) return false;
  const std::optional<std::string> after = WithIniValue(*before, location->section, parts.last, IniText(value));
  return after && (*after == *before || Replace(*location, *after));
}

}  // namespace ods
