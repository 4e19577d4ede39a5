#include "server/modConfiguration.h"

#include <filesystem>
#include <string_view>
#include <utility>

#include "common/Attempt.h"
#include "common/Error.h"
#include "common/Files.h"
#include "platform/system/ReadFile.h"
#include "server/Product.h"

namespace ods {

namespace {

/// The paths look anywhere in the document: a setting counts however deep it is nested.
struct SettingPath {
  const char* element;
  const char* xpath;
};

constexpr SettingPath kDsn = {"DSN", "//DSN"};
constexpr SettingPath kUser = {"User", "//User"};
constexpr SettingPath kPassword = {"Password", "//Password"};
constexpr SettingPath kConnectionString = {"ConnectionString", "//ConnectionString"};
constexpr SettingPath kDebugMode = {"DebugMode", "//DebugMode"};

void SaveDefault(const std::string& path) {
  XmlDocument document = CreateDefaultSettings();
  SetXmlSpacePreserve(document);
  document.Save(path);
}

/// The document of a file's text, or the default one when it does not parse.
XmlDocument ParseSettings(const std::string& text) {
  XmlDocument document;
  return document.LoadXML(text) ? std::move(document) : CreateDefaultSettings();
}

void RaiseAgain(const std::string& what, const std::string& path, const Error& failure) {
  throw Error(error_number::kOwn, what + path + ". " + ErrorText(failure));
}

bool FileExists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(PathOf(path), ignored);
}

void WriteSetting(XmlDocument& document, const SettingPath& setting, std::string_view text) {
  XmlNode node = document.SelectSingleNode(setting.xpath);
  if (!node) node = document.DocumentElement().AppendElement(setting.element);
  node.SetText(text);
}

}  // namespace

XmlDocument CreateDefaultSettings() {
  XmlDocument document("<Settings xml:space=\"preserve\"><ProductName/><ProductVersion/><DSN/></Settings>");
  document.SelectSingleNode("/Settings/ProductName").SetText(FullProductName());
  document.SelectSingleNode("/Settings/ProductVersion").SetText(ProductVersion());
  return document;
}

void LoadConfiguration(const std::string& path, Configuration& configuration) {
  if (!FileExists(path)) {
    if (const auto failure = Attempt([&] { SaveDefault(path); })) {
      RaiseAgain("Error saving default configuration file to ", path, *failure);
    }
  }
  const auto failure = Attempt([&] {
    Configuration loaded;
    // Before the file is read: a change while it is read then shows.
    loaded.file = FactsOf(path).value_or(FileFacts{});
    loaded.settled = IsSettled(loaded.file.changed);
    loaded.fileText = ReadFileText(path);
    const XmlDocument document = ParseSettings(loaded.fileText);
    loaded.DSN = GetNodeText(document, kDsn.xpath);
    loaded.ConnectionString = GetNodeText(document, kConnectionString.xpath);
    loaded.User = GetNodeText(document, kUser.xpath);
    loaded.Password = GetNodeText(document, kPassword.xpath);
    loaded.DebugMode = GetNodeText(document, kDebugMode.xpath) == "1";
    configuration = std::move(loaded);
  });
  if (failure) RaiseAgain("Error loading configuration file from ", path, *failure);
}

bool ConfigurationChanged(const std::string& path, Configuration& configuration) {
  const auto now = FactsOf(path);
  if (!now || now->modified != configuration.file.modified) return true;
  if (*now == configuration.file && configuration.settled) return false;
  const bool settled = IsSettled(now->changed);
  std::string text;
  if (Attempt([&] { text = ReadFileText(path); }) || text != configuration.fileText) return true;
  configuration.file = *now;
  configuration.settled = settled;
  return false;
}

void SaveConfiguration(const std::string& path, const Configuration& configuration) {
  XmlDocument document = CreateDefaultSettings();
  WriteSetting(document, kDsn, configuration.DSN);
  WriteSetting(document, kUser, configuration.User);
  WriteSetting(document, kPassword, configuration.Password);
  WriteSetting(document, kConnectionString, configuration.ConnectionString);
  WriteSetting(document, kDebugMode, configuration.DebugMode ? "1" : "0");
  document.Save(path);
}

}  // namespace ods
