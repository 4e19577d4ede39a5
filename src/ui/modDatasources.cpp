#include "ui/modDatasources.h"

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <utility>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Text.h"
#include "platform/system/Registry.h"

namespace ods {

namespace {

constexpr const char* kMachineDrivers = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ODBC\\ODBCINST.INI";
constexpr const char* kUserDrivers = "HKEY_CURRENT_USER\\Software\\ODBC\\ODBCINST.INI";
constexpr const char* kSystem = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ODBC\\ODBC.INI";
constexpr const char* kUser = "HKEY_CURRENT_USER\\Software\\ODBC\\ODBC.INI";
/// The section that holds the names of the registered data sources.
constexpr const char* kRegistered = "ODBC Data Sources";
/// The section that holds options of the driver manager, in lower case.
constexpr const char* kOptions = "odbc";
constexpr const char* kDriver = "Driver";
constexpr const char* kNoDriver =
    "The program can not find an appropriate ODBC driver on this computer.\n"
    "Please install your ODBC driver and start this program again.";

/// The dictionary that an item holds; nullptr for any other item.
const Dictionary* AsDictionary(const Value& item) {
  const auto* object = item.GetIf<std::shared_ptr<Object>>();
  return object != nullptr ? dynamic_cast<const Dictionary*>(object->get()) : nullptr;
}

/// The key of a dictionary that is `name` but for its case; nullptr when there is none.
const std::string* FindKey(const Dictionary& dictionary, std::string_view name) {
  if (dictionary.Count() == 0) return nullptr;
  const std::string lower = ToLower(name);
  const auto found = std::ranges::find_if(dictionary.Entries(), [&](const Dictionary::Entry& entry) {
    return entry.first.size() == lower.size() && ToLower(entry.first) == lower;
  });
  return found == dictionary.Entries().end() ? nullptr : &found->first;
}

/// The value "Driver" of a driver or a data source, in lower case; "" when it has none.
std::string LowerDriver(const Value& item) {
  const Dictionary* values = AsDictionary(item);
  const std::string* key = values != nullptr ? FindKey(*values, kDriver) : nullptr;
  return key != nullptr ? ToLower(SafeStr(values->Item(*key))) : "";
}

std::shared_ptr<Dictionary> ReadKey(const ComponentRegistry& components, const std::string& path) {
  auto key = RegReadKey(components, path);
  return key ? std::move(key) : CreateHalvikDictionary(components);
}

std::shared_ptr<Dictionary> InstalledDrivers(const ComponentRegistry& components) {
  auto drivers = CreateHalvikDictionary(components);
  std::set<std::string> known;
  // The driver manager looks at the user's file behind the other one: the first of a name counts.
  for (const char* path : {kMachineDrivers, kUserDrivers}) {
    const auto key = ReadKey(components, path);
    for (const auto& [name, values] : key->Entries()) {
      if (!LowerDriver(values).empty() && known.insert(ToLower(name)).second) drivers->Set(name, values);
    }
  }
  return drivers;
}

/// The names that count as registered among the data sources of a key.
std::shared_ptr<Dictionary> RegisteredNames(const ComponentRegistry& components, const std::string& path,
                                            const Dictionary& dataSources) {
  if (auto names = RegReadKey(components, path + "\\" + kRegistered)) return names;
  auto names = CreateHalvikDictionary(components);
  for (const auto& [name, values] : dataSources.Entries()) {
    if (ToLower(name) != kOptions) names->Set(name, LowerDriver(values));
  }
  return names;
}

class Discovery {
 public:
  Discovery(const std::string& pattern, const ComponentRegistry& components,
            const std::function<void(const std::string&)>& tellNoDriver)
      : pattern_(pattern), components_(components), tellNoDriver_(tellNoDriver) {}

  [[nodiscard]] const std::string& Step() const { return step_; }

  std::shared_ptr<Dictionary> Run() {
    settings_ = GetODBCSettings(components_);
    driverFiles_ = CreateHalvikDictionary(components_);
    result_ = CreateHalvikDictionary(components_);
    step_ = "Get driver files";
    GetDriverFiles();
    step_ = "Check driver files";
    if (driverFiles_->Count() == 0 && tellNoDriver_) tellNoDriver_(kNoDriver);
    step_ = "Add system drivers";
    Add("System", "SystemDSN");
    step_ = "Add user drivers";
    Add("User", "UserDSN");
    step_ = "Return";
    return result_;
  }

 private:
  [[nodiscard]] const Dictionary& Setting(const char* name) const { return *AsDictionary(settings_->Item(name)); }

  [[nodiscard]] std::regex Expression() const {
    try {
      return std::regex(pattern_, std::regex::ECMAScript);
    } catch (const std::regex_error& error) {
      throw Error(error_number::kOwn, "Invalid regular expression \"" + pattern_ + "\": " + error.what());
    }
  }

  void GetDriverFiles() {
    const std::regex expression = Expression();
    for (const auto& [name, values] : Setting("Drivers").Entries()) {
      if (std::regex_search(name, expression)) driverFiles_->Set(name, LowerDriver(values));
    }
  }

  [[nodiscard]] bool HasAcceptableDriver(const Value& dataSource) const {
    const std::string driver = LowerDriver(dataSource);
    return DriverFileListed(driver, *driverFiles_, true) || FindKey(*driverFiles_, driver) != nullptr;
  }

  void Add(const char* dataSources, const char* registered) {
    std::set<std::string> registeredNames;
    for (const auto& [name, value] : Setting(registered).Entries()) registeredNames.insert(ToLower(name));
    for (const auto& [name, values] : Setting(dataSources).Entries()) {
      if (!pattern_.empty() && !HasAcceptableDriver(values)) continue;
      const std::string lower = ToLower(name);
      if (registeredNames.contains(lower)) result_->Set(names_.emplace(lower, name).first->second, values);
    }
  }

  const std::string& pattern_;
  const ComponentRegistry& components_;
  const std::function<void(const std::string&)>& tellNoDriver_;
  std::string step_ = "init";
  std::shared_ptr<Dictionary> settings_;
  std::shared_ptr<Dictionary> driverFiles_;
  std::shared_ptr<Dictionary> result_;
  std::map<std::string, std::string> names_;  ///< of the result, by their form in lower case
};

}  // namespace

std::shared_ptr<Dictionary> GetODBCSettings(const ComponentRegistry& components) {
  const auto system = ReadKey(components, kSystem);
  const auto user = ReadKey(components, kUser);
  auto settings = CreateHalvikDictionary(components);
  const auto set = [&](const char* name, const std::shared_ptr<Dictionary>& dictionary) {
    settings->Set(name, std::shared_ptr<Object>(dictionary));
  };
  set("Drivers", InstalledDrivers(components));
  set("System", system);
  set("User", user);
  set("SystemDSN", RegisteredNames(components, kSystem, *system));
  set("UserDSN", RegisteredNames(components, kUser, *user));
  return settings;
}

std::shared_ptr<Dictionary> GetDatasources(const std::string& pattern, const ComponentRegistry& components,
                                           const std::function<void(const std::string& text)>& tellNoDriver) {
  Discovery discovery(pattern, components, tellNoDriver);
  try {
    return discovery.Run();
  } catch (const Error& error) {
    throw Error(error.Number(), error.Description() + " GetDatasources[" + discovery.Step() + "]");
  }
}

bool DriverFileListed(std::string_view path, const Dictionary& driverFiles, bool exact) {
  return std::ranges::any_of(driverFiles.Entries(), [&](const Dictionary::Entry& entry) {
    const std::string file = SafeStr(entry.second);
    return exact ? file == path : file.find(path) != std::string::npos;
  });
}

}  // namespace ods
