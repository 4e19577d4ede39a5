#include "platform/system/ReadFile.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/Files.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

class ReadFileTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name) const { return JoinPath(root_, name); }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(PathOf(Path(name)), std::ios::binary) << content;
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

TEST_F(ReadFileTest, TellsWhatIsMissing) {
  EXPECT_RAISES(ReadFile(""), 1000, "Function ReadFile does not accept an empty file name as parameter.");
  EXPECT_RAISES(ReadFile(Path("missing \xC3\xA4")), 53, "File not found: " + Path("missing \xC3\xA4"));
  EXPECT_RAISES(ReadFile(root_), 1000, ::testing::StartsWith("Error reading file " + root_ + ": "));
}

TEST_F(ReadFileTest, ReadsEverySize) {
  for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 32768U, 100000U}) {
    std::string content(size, 'x');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i % 251);
    EXPECT_EQ(ReadFileText(Write("file", content)), content) << size;
  }
  EXPECT_EQ(ReadFile(Write("empty", "")), Bytes{});
}

}  // namespace
}  // namespace ods
