#include "ui/modDatasources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/system/Registry.h"
#include "platform/system/System.h"
#include "platform/system/win32/Win32.h"

namespace ods {
namespace {

using ::testing::Contains;
using ::testing::Not;

constexpr const char* kDataSources = "HKCU\\Software\\ODBC\\ODBC.INI\\";
constexpr const char* kDrivers = "HKCU\\Software\\ODBC\\ODBCINST.INI\\";

/// A driver and a data source of the user's in the registry, which go with the object.
class WindowsDatasources : public ::testing::Test {
 protected:
  WindowsDatasources() {
    RegWrite(kDrivers + name_ + "\\", Value());
    RegWrite(kDrivers + name_ + "\\Driver", "C:\\drivers\\" + name_ + ".dll");
    RegWrite(kDataSources + name_ + "\\", Value());
    RegWrite(kDataSources + name_ + "\\Driver", "c:\\DRIVERS\\" + name_ + ".dll");
    RegWrite(std::string(kDataSources) + "ODBC Data Sources\\", Value());
  }
  ~WindowsDatasources() override {
    for (const std::string& key : {kDataSources + name_, kDrivers + name_}) {
      RegDeleteTreeW(HKEY_CURRENT_USER, ToWide(key.substr(key.find('\\') + 1)).c_str());
    }
    RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\ODBC\\ODBC.INI\\ODBC Data Sources", ToWide(name_).c_str());
  }
  WindowsDatasources(const WindowsDatasources&) = delete;
  WindowsDatasources& operator=(const WindowsDatasources&) = delete;
  WindowsDatasources(WindowsDatasources&&) = delete;
  WindowsDatasources& operator=(WindowsDatasources&&) = delete;

  void Register() const { RegWrite(std::string(kDataSources) + "ODBC Data Sources\\" + name_, name_); }
  std::vector<std::string> NamesOf(const std::string& pattern) {
    return GetDatasources(pattern, components_, {})->Keys();
  }

  ComponentRegistry components_;
  std::string name_ = "ods-test-" + NewGuidText();
};

TEST_F(WindowsDatasources, AreThoseThatAreRegistered) {
  EXPECT_THAT(NamesOf(""), Not(Contains(name_)));
  Register();
  EXPECT_THAT(NamesOf(""), Contains(name_));
}

TEST_F(WindowsDatasources, AreChosenByTheNamesOfTheirDrivers) {
  Register();
  EXPECT_THAT(NamesOf("^" + name_ + "$"), Contains(name_));
  EXPECT_THAT(NamesOf("^no such driver$"), Not(Contains(name_)));
}

}  // namespace
}  // namespace ods
