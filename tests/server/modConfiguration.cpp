#include "server/modConfiguration.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "common/Error.h"
#include "common/Files.h"
#include "doubles/FakeSession.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::_;
using testing::StartsWith;

class ConfigurationTest : public testing::Test {
 protected:
  void Write(const std::string& content) const { std::ofstream(path_, std::ios::binary) << content; }
  [[nodiscard]] Configuration Load() const {
    Configuration configuration;
    LoadConfiguration(path_, configuration);
    return configuration;
  }

  test::TemporaryFolder folder_;
  std::string path_ = JoinPath(folder_.Path(), "dataserver.xml");
};

constexpr const char* kDefaultText =
    "<Settings xml:space=\"preserve\"><ProductName>Korvanta - ODBC Data Server</ProductName>"
    "<ProductVersion>1.0.0</ProductVersion><DSN/></Settings>";

XmlDocument Parsed(const std::string& text) { return XmlDocument(text); }

TEST_F(ConfigurationTest, AMissingFileIsMadeWithTheDefaults) {
  const Configuration loaded = Load();
  EXPECT_EQ(Parsed(ReadFileText(path_)).Xml(), Parsed(kDefaultText).Xml());
  EXPECT_EQ(loaded.ConnectionString, "");
  EXPECT_FALSE(loaded.DebugMode);
  EXPECT_EQ(loaded.file, FactsOf(path_));
}

TEST_F(ConfigurationTest, ReadsTheSettings) {
  Write(
      "<Settings><DSN>d</DSN><User>u</User><Password>p &amp; q</Password>"
      "<ConnectionString>DSN=d;UID=u</ConnectionString><DebugMode>1</DebugMode></Settings>");
  const Configuration loaded = Load();
  EXPECT_EQ(loaded.DSN, "d");
  EXPECT_EQ(loaded.User, "u");
  EXPECT_EQ(loaded.Password, "p & q");
  EXPECT_EQ(loaded.ConnectionString, "DSN=d;UID=u");
  EXPECT_TRUE(loaded.DebugMode);
}

TEST_F(ConfigurationTest, ASettingCountsWhereverItStands) {
  Write("\xEF\xBB\xBF<Other><Deep><DSN>first</DSN></Deep><DSN>second</DSN></Other>");
  EXPECT_EQ(Load().DSN, "first");
}

TEST_F(ConfigurationTest, DebugModeIsOnOnlyForExactlyOne) {
  for (const char* text : {"true", "01", " 1", "0", ""}) {
    Write(std::string("<Settings xml:space=\"preserve\"><DebugMode>") + text + "</DebugMode></Settings>");
    EXPECT_FALSE(Load().DebugMode) << text;
  }
}

TEST_F(ConfigurationTest, AFileThatDoesNotParseReadsAsTheDefaultsAndStays) {
  Write("<Settings><ConnectionString>DSN=d</ConnectionString>");
  Configuration configuration;
  configuration.ConnectionString = "before";
  LoadConfiguration(path_, configuration);
  EXPECT_EQ(configuration.ConnectionString, "");
  EXPECT_EQ(ReadFileText(path_), "<Settings><ConnectionString>DSN=d</ConnectionString>");
}

TEST_F(ConfigurationTest, AnEmptyFileReadsAsTheDefaults) {
  Write("");
  EXPECT_EQ(Load().DSN, "");
  EXPECT_EQ(ReadFileText(path_), "");
}

TEST_F(ConfigurationTest, AFailedDefaultSaveNamesThePathAndTheCause) {
  path_ = folder_.Path() + "/missing/dataserver.xml";
  EXPECT_RAISES(Load(), error_number::kOwn,
                StartsWith("Error saving default configuration file to " + path_ + ". Error 1000. "));
}

TEST_F(ConfigurationTest, AFailedReadNamesThePathAndTheCauseAndChangesNothing) {
  std::filesystem::create_directory(path_);
  Configuration configuration;
  configuration.ConnectionString = "before";
  EXPECT_RAISES(LoadConfiguration(path_, configuration), error_number::kOwn,
                StartsWith("Error loading configuration file from " + path_ + ". Error 1000. "));
  EXPECT_EQ(configuration.ConnectionString, "before");
}

// Noticing a change

TEST_F(ConfigurationTest, AnUnchangedFileIsNoChangeHoweverOldItIs) {
  Write("<Settings/>");
  Configuration configuration = Load();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(configuration.settled);
  while (!configuration.settled) {
    ASSERT_FALSE(ConfigurationChanged(path_, configuration));
    SleepMilliseconds(20);
    ASSERT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
  }
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
  EXPECT_FALSE(ConfigurationChanged(path_, configuration));
}

TEST_F(ConfigurationTest, ATimeATextOfAnotherSizeAndAMissingFileAreChanges) {
  Write("<Settings/>");
  Configuration configuration = Load();
  configuration.settled = true;
  EXPECT_FALSE(ConfigurationChanged(path_, configuration));
  const auto time = std::filesystem::last_write_time(path_);
  std::filesystem::last_write_time(path_, time - std::chrono::hours(1));
  EXPECT_TRUE(ConfigurationChanged(path_, configuration)) << "an older time counts as well";
  Write("<Settings></Settings>");
  std::filesystem::last_write_time(path_, time);
  EXPECT_TRUE(ConfigurationChanged(path_, configuration)) << "the size tells";
  std::filesystem::remove(path_);
  EXPECT_TRUE(ConfigurationChanged(path_, configuration));
}

TEST_F(ConfigurationTest, AnotherFileInItsPlaceIsAChangeByItsText) {
  Write("<Settings><DSN>a</DSN></Settings>");
  const auto time = std::filesystem::last_write_time(path_);
  std::filesystem::last_write_time(path_, time);  // the library may have rounded it
  Configuration configuration = Load();
  configuration.settled = true;
  const auto exchange = [&](const std::string& text) {
    std::ofstream(path_ + ".new", std::ios::binary) << text;
    std::filesystem::last_write_time(path_ + ".new", time);
    std::filesystem::rename(path_ + ".new", path_);
  };
  exchange("<Settings><DSN>a</DSN></Settings>");
  EXPECT_FALSE(ConfigurationChanged(path_, configuration));
  exchange("<Settings><DSN>b</DSN></Settings>");
  EXPECT_TRUE(ConfigurationChanged(path_, configuration));
}

TEST_F(ConfigurationTest, WritesTheSettingsInTheirOrder) {
  Configuration configuration;
  configuration.DSN = "d";
  configuration.User = "u";
  configuration.Password = "p<q";
  configuration.ConnectionString = "DSN=d;UID=u;PWD=p<q";
  configuration.DebugMode = true;
  SaveConfiguration(path_, configuration);
  EXPECT_EQ(Parsed(ReadFileText(path_)).Xml(),
            Parsed("<Settings xml:space=\"preserve\"><ProductName>Korvanta - ODBC Data Server</ProductName>"
                   "<ProductVersion>1.0.0</ProductVersion><DSN>d</DSN><User>u</User><Password>p&lt;q</Password>"
                   "<ConnectionString>DSN=d;UID=u;PWD=p&lt;q</ConnectionString><DebugMode>1</DebugMode></Settings>")
                .Xml());
}

TEST_F(ConfigurationTest, WhatIsSavedIsLoadedAgain) {
  Configuration saved;
  saved.DSN = " blanks around ";
  saved.Password = "\xC3\xA9\"'&";
  saved.ConnectionString = "DSN=x";
  SaveConfiguration(path_, saved);
  const Configuration loaded = Load();
  EXPECT_EQ(loaded.DSN, saved.DSN);
  EXPECT_EQ(loaded.Password, saved.Password);
  EXPECT_EQ(loaded.ConnectionString, saved.ConnectionString);
  EXPECT_FALSE(loaded.DebugMode);
}

TEST_F(ConfigurationTest, SavingReplacesProductNameAndVersion) {
  Write("<Settings><ProductName>old</ProductName><ProductVersion>0.1</ProductVersion></Settings>");
  SaveConfiguration(path_, Load());
  const XmlDocument document(ReadFileText(path_));
  EXPECT_EQ(GetNodeText(document, "/Settings/ProductName"), "Korvanta - ODBC Data Server");
  EXPECT_EQ(GetNodeText(document, "/Settings/ProductVersion"), "1.0.0");
}

TEST_F(ConfigurationTest, ASettingThatXmlCannotCarryIsNotSaved) {
  Configuration configuration;
  configuration.Password = std::string("a\x01z");
  EXPECT_RAISES(SaveConfiguration(path_, configuration), error_number::kGeneralFailure, _);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

}  // namespace
}  // namespace ods
