#include "platform/system/ReadFile.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "common/Error.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

class ReadFileTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name) const { return root_ + "/" + name; }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
  }

  test::TemporaryFolder temporary_;
  std::string root_ = temporary_.Path();
};

TEST_F(ReadFileTest, GivesTheBytesAsTheyAre) {
  const std::string path = Write("bytes", std::string("\xEF\xBB\xBF a\0\r\n\xFF", 9));
  EXPECT_EQ(ReadFile(path), (Bytes{0xEF, 0xBB, 0xBF, ' ', 'a', 0, '\r', '\n', 0xFF}));
  EXPECT_EQ(ReadFileText(path), std::string("\xEF\xBB\xBF a\0\r\n\xFF", 9));
}

TEST_F(ReadFileTest, ReadsEverySize) {
  for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 32768U, 100000U}) {
    std::string content(size, 'x');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i % 251);
    EXPECT_EQ(ReadFileText(Write("file", content)), content) << size;
  }
  EXPECT_EQ(ReadFile(Write("empty", "")), Bytes{});
}

TEST_F(ReadFileTest, TellsWhyItFails) {
  EXPECT_RAISES(ReadFile(""), 1000, "Function ReadFile does not accept an empty file name as parameter.");
  EXPECT_RAISES(ReadFile(Path("missing")), 53, "File not found: " + Path("missing"));
  EXPECT_RAISES(ReadFile(root_), 1000, "Error reading file " + root_ + ": Is a directory");
  const std::string inFile = Write("file", "") + "/a";
  EXPECT_RAISES(ReadFile(inFile), 1000, "Error reading file " + inFile + ": Not a directory");
}

TEST_F(ReadFileTest, TellsThatNoHandleIsLeft) {
  const std::string path = Write("file", "x");
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_RAISES(ReadFile(path), 1000, "Function ReadFile was not able to get a free file handle.");
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(ReadFileText(path), "x");
}

}  // namespace
}  // namespace ods
