#include "ui/WindowsModule.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>

#include "doubles/FakeServerView.h"
#include "doubles/FakeSession.h"
#include "platform/system/System.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::_;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// Environment variables as a test wants them, put back at its end.
class Environment {
 public:
  ~Environment() {
    for (const auto& [name, value] : before_) Put(name, value);
  }
  void Set(const char* name, const std::string& value) {
    before_.emplace(name, EnvironmentVariable(name));
    Put(name, value);
  }

 private:
  static void Put(const std::string& name, const std::string& value) {
    if (value.empty()) {
      unsetenv(name.c_str());
    } else {
      setenv(name.c_str(), value.c_str(), 1);
    }
  }
  std::map<std::string, std::string> before_;
};

class WindowsModuleTest : public testing::Test {
 protected:
  WindowsModuleTest() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment_.Set(name, "");
  }
  std::string Failure() {
    const std::optional<Error> error = test::ErrorOf([&] { (void)LoadWindows(folder_.Path(), server_, components_); });
    if (!error) return "nothing was raised";
    EXPECT_EQ(error->Number(), error_number::kOwn);
    EXPECT_THAT(error->Description(),
                AllOf(StartsWith("No window can be shown: "),
                      HasSubstr("Give the parameter \"hidden\" to run the server without windows.")));
    return error->Description();
  }

  Environment environment_;
  test::TemporaryFolder folder_;
  test::FakeServerView server_;
  ComponentRegistry components_;
};

TEST_F(WindowsModuleTest, WithoutADisplayTheErrorSaysSo) {
  EXPECT_THAT(Failure(), HasSubstr("there is no display (neither DISPLAY nor WAYLAND_DISPLAY is set)."));
}

TEST_F(WindowsModuleTest, AnyVariableThatNamesADisplayCounts) {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    EXPECT_FALSE(HasDisplay()) << name;
    environment_.Set(name, "x");
    EXPECT_TRUE(HasDisplay()) << name;
    environment_.Set(name, "");
  }
}

TEST_F(WindowsModuleTest, AMissingModuleIsAnErrorThatNamesWhereItWasLookedFor) {
  environment_.Set("DISPLAY", ":0");
  EXPECT_THAT(Failure(), HasSubstr("the module odbc-data-server-windows.so is neither in " + folder_.Path() +
                                   " nor in " + folder_.Path() + "/../lib/odbc-data-server."));
}

TEST_F(WindowsModuleTest, AModuleThatCannotBeLoadedIsAnErrorThatNamesIt) {
  environment_.Set("DISPLAY", ":0");
  const std::string path = folder_.Path() + "/odbc-data-server-windows.so";
  std::ofstream(path) << "no module";
  EXPECT_THAT(Failure(), HasSubstr(path + ": "));
}

TEST_F(WindowsModuleTest, TheModuleMayLieBesideTheFolderOfPrograms) {
  environment_.Set("DISPLAY", ":0");
  std::filesystem::create_directories(folder_.Path() + "/bin");
  std::filesystem::create_directories(folder_.Path() + "/lib/odbc-data-server");
  std::ofstream(folder_.Path() + "/lib/odbc-data-server/odbc-data-server-windows.so") << "no module";
  EXPECT_RAISES(LoadWindows(folder_.Path() + "/bin", server_, components_), _,
                HasSubstr(folder_.Path() + "/bin/../lib/odbc-data-server/odbc-data-server-windows.so: "));
}

}  // namespace
}  // namespace ods
