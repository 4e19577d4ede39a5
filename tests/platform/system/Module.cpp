#include "platform/system/Module.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "common/Error.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using ::testing::HasSubstr;

constexpr const char* kMathematics = "libm.so.6";

std::string FailureOf(const std::string& path, const std::string& name) {
  try {
    (void)FunctionOfModule(path, name);
  } catch (const Error& error) {
    EXPECT_EQ(error.Number(), error_number::kOwn);
    return error.Description();
  }
  return "";
}

TEST(FunctionOfModule, IsTheModulesOwn) {
  const auto squareRoot = reinterpret_cast<double (*)(double)>(FunctionOfModule(kMathematics, "sqrt"));
  EXPECT_EQ(squareRoot(9), 3);
}

TEST(FunctionOfModule, AMissingFunctionIsAnErrorThatNamesIt) {
  EXPECT_THAT(FailureOf(kMathematics, "no_such_function"), HasSubstr("no_such_function"));
}

TEST(FunctionOfModule, AMissingModuleIsAnErrorThatNamesIt) {
  EXPECT_THAT(FailureOf("/no/such/module.so", "sqrt"), HasSubstr("/no/such/module.so"));
}

TEST(FunctionOfModule, AFileThatIsNoModuleIsAnErrorThatNamesIt) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Path() + "/text.so";
  std::ofstream(path) << "text";
  EXPECT_THAT(FailureOf(path, "sqrt"), HasSubstr(path));
}

}  // namespace
}  // namespace ods
