#include "platform/system/Module.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "common/Error.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using ::testing::HasSubstr;

constexpr const char* kMathematics = "libm.so.6";

TEST(FunctionOfModule, IsTheModulesOwn) {
  const auto squareRoot = reinterpret_cast<double (*)(double)>(FunctionOfModule(kMathematics, "sqrt"));
  EXPECT_EQ(squareRoot(9), 3);
}

TEST(FunctionOfModule, AMissingFunctionIsAnErrorThatNamesIt) {
  EXPECT_RAISES(FunctionOfModule(kMathematics, "no_such_function"), error_number::kOwn, HasSubstr("no_such_function"));
}

TEST(FunctionOfModule, AMissingModuleIsAnErrorThatNamesIt) {
  EXPECT_RAISES(FunctionOfModule("/no/such/module.so", "sqrt"), error_number::kOwn, HasSubstr("/no/such/module.so"));
}

TEST(FunctionOfModule, AFileThatIsNoModuleIsAnErrorThatNamesIt) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Path() + "/text.so";
  std::ofstream(path) << "text";
  EXPECT_RAISES(FunctionOfModule(path, "sqrt"), error_number::kOwn, HasSubstr(path));
}

}  // namespace
}  // namespace ods
