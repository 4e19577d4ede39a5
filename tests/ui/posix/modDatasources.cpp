#include "ui/modDatasources.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

#include "common/Conversions.h"
#include "common/Error.h"
#include "support/OdbcFolder.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using test::OdbcFolder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* kThreeDrivers =
    "[ODBC]\nTrace=No\n"
    "[SQLite3]\nDriver=libsqlite3odbc.so\n"
    "[PostgreSQL Unicode]\nDriver=/usr/lib/odbc/PSQLODBCW.so\n"
    "[Company Driver 7.0]\nDriver=/opt/Company/driver.so\n";

class ModDatasources : public ::testing::Test {
 protected:
  void Drivers(const std::string& text) const { OdbcFolder::Write(folder_.DriversFile(), text); }
  void System(const std::string& text) const { OdbcFolder::Write(folder_.SystemFile(), text); }
  void User(const std::string& text) const { OdbcFolder::Write(folder_.UserFile(), text); }

  std::shared_ptr<Dictionary> Get(const std::string& pattern) {
    return GetDatasources(pattern, components_, [this](const std::string& text) { told_.push_back(text); });
  }
  std::vector<std::string> NamesOf(const std::string& pattern) { return Get(pattern)->Keys(); }

  static const Dictionary& Inner(const Dictionary& dictionary, const std::string& name) {
    return dynamic_cast<const Dictionary&>(*std::get<std::shared_ptr<Object>>(dictionary.Item(name).Get()));
  }
  static std::string TextIn(const Dictionary& dictionary, const std::string& name, const std::string& value) {
    return SafeStr(Inner(dictionary, name).Item(value));
  }
  OdbcFolder folder_;
  ComponentRegistry components_;
  std::vector<std::string> told_;
};

TEST_F(ModDatasources, SettingsAreFiveDictionariesThatAreEmptyWithoutFiles) {
  const auto settings = GetODBCSettings(components_);
  EXPECT_TRUE(IsHalvikDictionary(settings.get()));
  EXPECT_THAT(settings->Keys(), ElementsAre("Drivers", "System", "User", "SystemDSN", "UserDSN"));
  for (const std::string& name : settings->Keys()) {
    EXPECT_TRUE(IsHalvikDictionary(&Inner(*settings, name))) << name;
    EXPECT_EQ(Inner(*settings, name).Count(), 0U) << name;
  }
}

TEST_F(ModDatasources, SettingsHoldDriversAndDataSourcesInTheOrderOfTheirFiles) {
  Drivers(kThreeDrivers);
  System("[ODBC Data Sources]\nZ=SQLite3\n[Z]\nDriver=SQLite3\nDatabase=z.db\n[A]\nDriver=SQLite3\n");
  User("[ODBC Data Sources]\nMine=SQLite3\nGone=SQLite3\n[Mine]\nDriver=SQLite3\n");
  const auto settings = GetODBCSettings(components_);
  const Dictionary& drivers = Inner(*settings, "Drivers");
  EXPECT_THAT(drivers.Keys(), ElementsAre("SQLite3", "PostgreSQL Unicode", "Company Driver 7.0"));
  EXPECT_EQ(TextIn(drivers, "PostgreSQL Unicode", "Driver"), "/usr/lib/odbc/PSQLODBCW.so");
  const Dictionary& system = Inner(*settings, "System");
  EXPECT_THAT(system.Keys(), ElementsAre("ODBC Data Sources", "Z", "A"));
  EXPECT_EQ(TextIn(system, "Z", "Database"), "z.db");
  EXPECT_THAT(Inner(*settings, "SystemDSN").Keys(), ElementsAre("Z"));
  EXPECT_THAT(Inner(*settings, "User").Keys(), ElementsAre("ODBC Data Sources", "Mine"));
  EXPECT_THAT(Inner(*settings, "UserDSN").Keys(), ElementsAre("Mine", "Gone"));
}

TEST_F(ModDatasources, ASectionWithoutADriverFileIsNoInstalledDriver) {
  Drivers(
      "[ODBC]\nTrace=No\n[ODBC Drivers]\nSQLite3=Installed\n[Empty]\nDriver=\n[SQLite3]\nDRIVER=libsqlite3odbc.so\n");
  EXPECT_THAT(Inner(*GetODBCSettings(components_), "Drivers").Keys(), ElementsAre("SQLite3"));
}

TEST_F(ModDatasources, DriversOfTheUserComeBehindThoseOfTheMachine) {
  Drivers("[SQLite3]\nDriver=machine.so\n");
  OdbcFolder::Write(folder_.UserDriversFile(), "[Own]\nDriver=own.so\n[sqlite3]\nDriver=user.so\n");
  const auto settings = GetODBCSettings(components_);
  EXPECT_THAT(Inner(*settings, "Drivers").Keys(), ElementsAre("SQLite3", "Own"));
  EXPECT_EQ(TextIn(Inner(*settings, "Drivers"), "SQLite3", "Driver"), "machine.so");
  User("[Mine]\nDriver=Own\n");
  EXPECT_THAT(NamesOf("^Own$"), ElementsAre("Mine"));
}

TEST_F(ModDatasources, AnEmptyPatternListsEveryRegisteredDataSourceWhateverItsDriver) {
  Drivers(kThreeDrivers);
  System("[ODBC Data Sources]\nA=x\nB=x\nC=x\n[A]\nDriver=SQLite3\n[B]\nDriver=/nowhere.so\n[C]\nServer=no driver\n");
  EXPECT_THAT(NamesOf(""), ElementsAre("A", "B", "C"));
  EXPECT_THAT(told_, IsEmpty());
}

TEST_F(ModDatasources, ADataSourceThatIsNotRegisteredIsNeverListed) {
  Drivers(kThreeDrivers);
  System("[ODBC Data Sources]\nA=SQLite3\n[A]\nDriver=SQLite3\n[B]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf(""), ElementsAre("A"));
  EXPECT_THAT(NamesOf("SQLite"), ElementsAre("A"));
}

TEST_F(ModDatasources, ARegisteredNameWithoutADataSourceIsNotListed) {
  Drivers(kThreeDrivers);
  System("[ODBC Data Sources]\nA=SQLite3\nGhost=SQLite3\n[A]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf(""), ElementsAre("A"));
}

TEST_F(ModDatasources, AnEmptySectionOfRegisteredNamesRegistersNothing) {
  Drivers(kThreeDrivers);
  System("[ODBC Data Sources]\n[A]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf(""), IsEmpty());
}

TEST_F(ModDatasources, WithoutASectionOfRegisteredNamesEverySectionButTheOptionsIsRegistered) {
  Drivers(kThreeDrivers);
  System("[ODBC]\nTrace=No\n[A]\nDriver=SQLite3\n[Default]\nDriver=SQLite3\n");
  User("[odbc data sources]\nU=SQLite3\n[U]\nDriver=SQLite3\n[V]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf(""), ElementsAre("A", "Default", "U")) << "each file by itself";
}

TEST_F(ModDatasources, RegisteredNamesAreComparedWithoutRegardToCase) {
  Drivers(kThreeDrivers);
  System("[ODBC Data Sources]\nSALES=SQLite3\n[Sales]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf(""), ElementsAre("Sales"));
}

TEST_F(ModDatasources, ThePatternIsSearchedInTheNamesOfTheDriversCaseSensitively) {
  Drivers(kThreeDrivers);
  System("[S]\nDriver=SQLite3\n[P]\nDriver=PostgreSQL Unicode\n[C]\nDriver=Company Driver 7.0\n");
  EXPECT_THAT(NamesOf("SQL"), ElementsAre("S", "P"));
  EXPECT_THAT(NamesOf("^SQL"), ElementsAre("S"));
  EXPECT_THAT(NamesOf("Unicode$|^Company"), ElementsAre("P", "C"));
  EXPECT_THAT(NamesOf("Driver \\d+\\.\\d+"), ElementsAre("C"));
  EXPECT_THAT(NamesOf("sql"), IsEmpty());
  EXPECT_THAT(NamesOf("libsqlite"), IsEmpty()) << "not in the names of the files";
}

TEST_F(ModDatasources, ADataSourceMatchesByItsDriverFileInAnyLetterCase) {
  Drivers(kThreeDrivers);
  System("[P]\nDriver=/usr/LIB/odbc/psqlodbcw.so\n[Q]\nDriver=psqlodbcw.so\n[C]\nDRIVER=/opt/company/DRIVER.SO\n");
  EXPECT_THAT(NamesOf("PostgreSQL"), ElementsAre("P")) << "the file has to be equal, a part of it is not enough";
  EXPECT_THAT(NamesOf("Company"), ElementsAre("C"));
}

TEST_F(ModDatasources, ADataSourceMatchesByTheNameOfItsDriverInAnyLetterCase) {
  Drivers(kThreeDrivers);
  System("[A]\nDriver=SQLite3\n[B]\nDriver=SQLITE3\n[C]\nDriver=SQLite\n");
  EXPECT_THAT(NamesOf("SQLite3"), ElementsAre("A", "B"));
}

TEST_F(ModDatasources, ADataSourceWithoutADriverMatchesNoPattern) {
  Drivers("[ODBC]\nTrace=No\n[Empty]\nDriver=\n[SQLite3]\nDriver=libsqlite3odbc.so\n");
  System("[A]\nServer=x\n[B]\nDriver=\n");
  EXPECT_THAT(NamesOf("."), IsEmpty());
}

TEST_F(ModDatasources, DataSourcesOfTheSystemComeBeforeThoseOfTheUser) {
  Drivers(kThreeDrivers);
  System("[Z]\nDriver=SQLite3\n[B]\nDriver=SQLite3\n");
  User("[Y]\nDriver=SQLite3\n[A]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf("SQLite3"), ElementsAre("Z", "B", "Y", "A"));
}

TEST_F(ModDatasources, ADataSourceOfTheUserReplacesTheValuesOfTheSystemsOneInItsPlace) {
  Drivers(kThreeDrivers);
  System("[Sales]\nDriver=SQLite3\nDatabase=system.db\n[B]\nDriver=SQLite3\n");
  User("[A]\nDriver=SQLite3\n[SALES]\nDriver=SQLite3\nDatabase=user.db\n");
  const auto found = Get("");
  EXPECT_THAT(found->Keys(), ElementsAre("Sales", "B", "A"));
  EXPECT_EQ(TextIn(*found, "Sales", "Database"), "user.db");
}

TEST_F(ModDatasources, TheItemsAreTheDictionariesOfTheValues) {
  Drivers(kThreeDrivers);
  System("[Sales]\nDriver=SQLite3\nDatabase=s.db\n");
  const auto found = Get("SQLite3");
  EXPECT_TRUE(IsHalvikDictionary(found.get()));
  EXPECT_THAT(Inner(*found, "Sales").Keys(), ElementsAre("Driver", "Database"));
}

TEST_F(ModDatasources, TellsThatNoDriverIsAppropriateAndGoesOn) {
  Drivers(kThreeDrivers);
  System("[Sales]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf("no such driver"), IsEmpty());
  EXPECT_THAT(told_, ElementsAre("The program can not find an appropriate ODBC driver on this computer.\n"
                                 "Please install your ODBC driver and start this program again."));
}

TEST_F(ModDatasources, WithoutAnyDriverAnEmptyPatternStillListsAll) {
  System("[Sales]\nDriver=SQLite3\n");
  EXPECT_THAT(NamesOf(""), ElementsAre("Sales"));
  EXPECT_EQ(told_.size(), 1U) << "every refresh tells it again";
  EXPECT_THAT(NamesOf(""), ElementsAre("Sales"));
  EXPECT_EQ(told_.size(), 2U);
}

TEST_F(ModDatasources, NobodyNeedsToBeTold) { EXPECT_EQ(GetDatasources("x", components_, {})->Count(), 0U); }

TEST_F(ModDatasources, AnInvalidPatternRaisesAnErrorThatNamesItAndTheStep) {
  Drivers(kThreeDrivers);
  for (const char* pattern : {"(", "[z-a]", "*", "a{2,1}"}) {
    EXPECT_RAISES(GetDatasources(pattern, components_, {}), 1000,
                  AllOf(StartsWith("Invalid regular expression \"" + std::string(pattern) + "\": "),
                        EndsWith(" GetDatasources[Get driver files]")));
  }
}

TEST_F(ModDatasources, WithoutTheDictionaryComponentTheFirstStepFails) {
  components_.Register("Halvik.Dictionary",
                       []() -> std::shared_ptr<Object> { throw Error(error_number::kCannotCreate, "not registered"); });
  EXPECT_RAISES(GetDatasources("", components_, {}), 429,
                "Error creating object: Halvik.Dictionary GetDatasources[init]");
}

TEST_F(ModDatasources, AnErrorOfTheOneWhoIsToldNamesItsStep) {
  const auto told = [](const std::string&) { throw Error(1000, "told."); };
  EXPECT_RAISES(GetDatasources("x", components_, told), 1000, "told. GetDatasources[Check driver files]");
}

TEST_F(ModDatasources, ADriverFileIsListedWhenItIsEqualOrWhenItContainsThePath) {
  Dictionary files;
  EXPECT_FALSE(DriverFileListed("", files, false));
  files.Set("One", "/lib/one.so");
  files.Set("Two", "/lib/two.so");
  EXPECT_TRUE(DriverFileListed("/lib/two.so", files, true));
  EXPECT_FALSE(DriverFileListed("two.so", files, true));
  EXPECT_TRUE(DriverFileListed("two.so", files, false));
  EXPECT_FALSE(DriverFileListed("/lib/two.so.1", files, false)) << "the path within the file, not the other way round";
  EXPECT_FALSE(DriverFileListed("/LIB/TWO.SO", files, true)) << "the callers lower the case of both";
  EXPECT_FALSE(DriverFileListed("t.o", files, false)) << "plain text, not an expression";
}

TEST_F(ModDatasources, FilesOfAMegabyteAreRead) {
  Drivers(kThreeDrivers);
  std::string text;
  for (int i = 0; text.size() < 1'000'000; ++i) text += "[" + std::to_string(i) + "]\nDriver=SQLite3\n";
  System(text);
  User(text);
  EXPECT_GT(Get("SQLite3")->Count(), 30'000U);
}

}  // namespace
}  // namespace ods
