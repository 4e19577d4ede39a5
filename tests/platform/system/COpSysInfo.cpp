#include "platform/system/COpSysInfo.h"

#include <gtest/gtest.h>

namespace ods {
namespace {

COpSysInfo WithVersion(const char* version) { return {"Linux", version, "x86_64", ""}; }

std::string DistributionOf(std::string_view osRelease) {
  return COpSysInfo("Linux", "6.1.0", "x86_64", osRelease).Distribution();
}

TEST(COpSysInfo, TakesTheNumbersOffTheVersion) {
  EXPECT_EQ(WithVersion("6.1.0-13-amd64").MajorVersion(), 6);
  EXPECT_EQ(WithVersion("6.1.0-13-amd64").MinorVersion(), 1);
  EXPECT_EQ(WithVersion("10.22").MajorVersion(), 10);
  EXPECT_EQ(WithVersion("10.22").MinorVersion(), 22);
  EXPECT_EQ(WithVersion("7").MajorVersion(), 7);
  EXPECT_EQ(WithVersion("7").MinorVersion(), 0);
  EXPECT_EQ(WithVersion("5-rc.3").MinorVersion(), 0);
}

TEST(COpSysInfo, AVersionWithoutNumbersIsNone) {
  for (const char* version : {"", "unknown", "-3.1", ".5", "99999999999"}) {
    EXPECT_EQ(WithVersion(version).MajorVersion(), 0) << version;
    EXPECT_EQ(WithVersion(version).Version(), version);
  }
}

TEST(COpSysInfo, ReadsTheDistributionAsAShellDoes) {
  EXPECT_EQ(DistributionOf("NAME=\"Debian\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nID=debian\n"),
            "Debian GNU/Linux 12 (bookworm)");
  EXPECT_EQ(DistributionOf("PRETTY_NAME='Some \"Linux\" \\ 1'"), "Some \"Linux\" \\ 1");
  EXPECT_EQ(DistributionOf("PRETTY_NAME=\"A \\\"quoted\\\" \\$name\""), "A \"quoted\" $name");
  EXPECT_EQ(DistributionOf("PRETTY_NAME=Bare\r\n"), "Bare");
  EXPECT_EQ(DistributionOf("PRETTY_NAME=first\nPRETTY_NAME=last\n"), "last");
}

TEST(COpSysInfo, TheDistributionMayBeUntold) {
  for (const char* release : {"", "ID=debian\n", "#PRETTY_NAME=x\n", "PRETTY_NAME_OTHER=x\n", "PRETTY_NAME\n",
                              "PRETTY_NAME=\n", "PRETTY_NAME=\"\"\n"}) {
    EXPECT_EQ(DistributionOf(release), "") << release;
  }
  EXPECT_EQ(DistributionOf("PRETTY_NAME=\"never closed"), "never closed");
  EXPECT_EQ(DistributionOf("PRETTY_NAME=\"\\"), "\\");
}

TEST(COpSysInfo, WindowsNeedsElevationFromVersionSixOn) {
  const auto needs = [](const char* name, const char* version) {
    return COpSysInfo(name, version, "x86_64", "").NeedsElevation();
  };
  EXPECT_TRUE(needs("Windows", "6.0.6001"));
  EXPECT_TRUE(needs("Windows", "10.0.19045"));
  EXPECT_FALSE(needs("Windows", "5.2.3790"));
  EXPECT_FALSE(needs("Windows", ""));
  EXPECT_FALSE(needs("Linux", "6.1.0"));
}

TEST(COpSysInfo, DescribesAllThatIsTold) {
  EXPECT_EQ(COpSysInfo("Linux", "6.1.0", "x86_64", "PRETTY_NAME=Debian").Description(), "Linux 6.1.0, x86_64, Debian");
  EXPECT_EQ(COpSysInfo("Linux", "6.1.0", "", "").Description(), "Linux 6.1.0");
}

}  // namespace
}  // namespace ods
