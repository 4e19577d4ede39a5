#include "platform/system/COpSysInfo.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace ods {
namespace {

/// What a shell command prints, without the line break at its end.
std::string Printed(const char* command) {
  struct Closer {
    void operator()(std::FILE* file) const { (void)::pclose(file); }
  };
  const std::unique_ptr<std::FILE, Closer> pipe(::popen(command, "r"));
  std::string text;
  std::array<char, 256> part{};
  while (pipe && std::fgets(part.data(), part.size(), pipe.get()) != nullptr) text += part.data();
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

TEST(COpSysInfo, SaysWhatTheShellSaysOfThisComputer) {
  const COpSysInfo info;
  EXPECT_EQ(info.Name(), Printed("uname -s"));
  EXPECT_EQ(info.Version(), Printed("uname -r"));
  EXPECT_EQ(info.Machine(), Printed("uname -m"));
  EXPECT_EQ(std::to_string(info.MajorVersion()), Printed("uname -r | cut -d. -f1"));
  EXPECT_EQ(std::to_string(info.MinorVersion()), Printed("uname -r | cut -d. -f2 | sed 's/[^0-9].*//'"));
  EXPECT_EQ(info.Distribution(),
            Printed("for f in /etc/os-release /usr/lib/os-release; do [ -r $f ] && . $f && break; done; "
                    "printf %s \"$PRETTY_NAME\""));
}

}  // namespace
}  // namespace ods
