#include "platform/system/Registry.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/Conversions.h"
#include "platform/system/OdbcFiles.h"
#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"
#include "support/OdbcFolder.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using test::EnvironmentValue;
using test::OdbcFolder;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ModeOf;
using testing::ReadText;
using testing::WriteText;

constexpr const char* kDrivers = "HKLM\\Software\\ODBC\\ODBCINST.INI";
constexpr const char* kSystem = "HKEY_LOCAL_MACHINE\\Software\\ODBC\\ODBC.INI";
constexpr const char* kUser = "HKEY_CURRENT_USER\\Software\\ODBC\\ODBC.INI";

/// What a program prints; its end with a failure counts as nothing printed.
std::string OutputOf(const char* command) {
  std::string output;
  FILE* program = popen(command, "r");
  std::array<char, 4096> buffer{};
  for (std::size_t count = 1; count > 0; output.append(buffer.data(), count)) {
    count = fread(buffer.data(), 1, buffer.size(), program);
  }
  return pclose(program) == 0 ? output : "";
}

class RegistryTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string SystemFile() const { return folder_.SystemFile(); }
  [[nodiscard]] std::string UserFile() const { return folder_.UserFile(); }
  [[nodiscard]] std::string DriversFile() const { return folder_.DriversFile(); }
  [[nodiscard]] std::string FileCalled(const std::string& name) const { return folder_.Path() + "/" + name; }

  [[nodiscard]] std::shared_ptr<Dictionary> Read(const std::string& path) const {
    return RegReadKey(components_, path);
  }
  [[nodiscard]] std::vector<std::string> KeysOf(const std::string& path) const {
    const auto key = Read(path);
    return key ? key->Keys() : std::vector<std::string>{"no object"};
  }
  [[nodiscard]] static std::string TextAt(const std::string& path) {
    const Value value = RegRead(path);
    return value.IsNull() ? "null" : value.TypeName() + " " + SafeStr(value);
  }

  OdbcFolder folder_;
  ComponentRegistry components_;
};

TEST_F(RegistryTest, FindsTheFilesThatTheDriverManagerFinds) {
  const OdbcFiles files = FindOdbcFiles();
  const std::string told = OutputOf("odbcinst -j");
  EXPECT_THAT(told, ::testing::HasSubstr("DRIVERS............: " + files.drivers + "\n"));
  EXPECT_THAT(told, ::testing::HasSubstr("SYSTEM DATA SOURCES: " + files.systemDataSources + "\n"));
  EXPECT_THAT(told, ::testing::HasSubstr("USER DATA SOURCES..: " + files.userDataSources + "\n"));
  EXPECT_EQ(files.userDrivers, folder_.UserDriversFile());
}

TEST_F(RegistryTest, FindsTheDriverManagersFilesWithoutAnyVariable) {
  unsetenv("ODBCSYSINI");
  unsetenv("ODBCINI");
  const OdbcFiles files = FindOdbcFiles();
  const std::string told = OutputOf("odbcinst -j");
  EXPECT_THAT(told, ::testing::HasSubstr("DRIVERS............: " + files.drivers + "\n"));
  EXPECT_THAT(told, ::testing::HasSubstr("SYSTEM DATA SOURCES: " + files.systemDataSources + "\n"));
  EXPECT_THAT(told, ::testing::HasSubstr("USER DATA SOURCES..: " + files.userDataSources + "\n"));
}

TEST_F(RegistryTest, TakesTheNameOfTheFileOfDriversFromItsVariable) {
  const EnvironmentValue name("ODBCINSTINI", "other.ini");
  WriteText(FileCalled("other.ini"), "[Other]\nDriver=other.so\n");
  EXPECT_EQ(OutputOf("odbcinst -q -d"), "[Other]\n");
  EXPECT_THAT(KeysOf(kDrivers), ElementsAre("Other"));
}

TEST_F(RegistryTest, ReadsTheSectionsThatTheDriverManagerReads) {
  const std::string text =
      "; comment\n\n[Zeta]\nDriver=A\n  [ In ]\nDriver=B\n[alpha]\r\nDriver=C\r\n[ZETA]\nDriver=D\n[open\nx\n[a b] c\n";
  WriteText(UserFile(), text);
  EXPECT_EQ(OutputOf("odbcinst -q -s -h"), "[Zeta]\n[In]\n[alpha]\n[ZETA]\n[open]\n[a b]\n");
  // It lists a name twice that it can reach once only.
  EXPECT_THAT(KeysOf(kUser), ElementsAre("Zeta", "In", "alpha", "open", "a b"));
  WriteText(UserFile(), "x=1\n" + text);
  EXPECT_EQ(OutputOf("odbcinst -q -s -h"), "");
  EXPECT_THAT(KeysOf(kUser), IsEmpty());
}

TEST_F(RegistryTest, ReadsAKeyIntoNestedDictionariesInTheOrderOfTheFile) {
  WriteText(SystemFile(), "[Sales]\nServer=one\nDriver=SQLite3\n[Accounts]\nDriver=Other\n");
  const auto key = Read(kSystem);
  ASSERT_NE(key, nullptr);
  EXPECT_TRUE(IsHalvikDictionary(key.get()));
  EXPECT_THAT(key->Keys(), ElementsAre("Sales", "Accounts"));
  const auto* sales = key->Item("Sales").GetIf<std::shared_ptr<Object>>();
  ASSERT_NE(sales, nullptr);
  EXPECT_TRUE(IsHalvikDictionary(sales->get()));
  EXPECT_THAT(dynamic_cast<const Dictionary&>(**sales).Keys(), ElementsAre("Server", "Driver"));
  EXPECT_EQ(dynamic_cast<const Dictionary&>(**sales).Item("Driver"), Value("SQLite3"));
}

TEST_F(RegistryTest, ReadsASubKeyAsItsValues) {
  WriteText(SystemFile(), "[Sales]\nDriver=SQLite3\nTimeout=100\n");
  const auto key = Read(std::string(kSystem) + "\\SALES");
  ASSERT_NE(key, nullptr);
  EXPECT_THAT(key->Keys(), ElementsAre("Driver", "Timeout"));
  EXPECT_EQ(key->Item("Timeout"), Value("100")) << "an ini file knows no numbers";
}

TEST_F(RegistryTest, EveryRootHasItsFile) {
  WriteText(DriversFile(), "[Driver]\nDriver=d.so\n");
  WriteText(SystemFile(), "[System]\n");
  WriteText(UserFile(), "[User]\n");
  WriteText(folder_.UserDriversFile(), "[UserDriver]\nDriver=u.so\n");
  EXPECT_THAT(KeysOf("HKLM\\SOFTWARE\\ODBC\\ODBCINST.INI"), ElementsAre("Driver"));
  EXPECT_THAT(KeysOf("HKLM\\SOFTWARE\\ODBC\\ODBC.INI"), ElementsAre("System"));
  EXPECT_THAT(KeysOf("HKCU\\Software\\ODBC\\ODBC.INI"), ElementsAre("User"));
  EXPECT_THAT(KeysOf("HKCU\\Software\\ODBC\\ODBCINST.INI"), ElementsAre("UserDriver"));
}

TEST_F(RegistryTest, ALongAndAShortRootInAnyLetterCaseAreTheSame) {
  WriteText(SystemFile(), "[Sales]\nDriver=SQLite3\n");
  for (const char* root : {"hklm", "HKLM", "HKEY_LOCAL_MACHINE", "hkey_local_machine", "Hkey_Local_Machine"}) {
    EXPECT_EQ(TextAt(std::string(root) + "\\Software\\ODBC\\ODBC.INI\\Sales\\Driver"), "String SQLite3") << root;
  }
  WriteText(UserFile(), "[Mine]\nDriver=Mine\n");
  for (const char* root : {"hkcu", "HKEY_CURRENT_USER"}) {
    EXPECT_EQ(TextAt(std::string(root) + "\\Software\\ODBC\\ODBC.INI\\Mine\\Driver"), "String Mine") << root;
  }
}

TEST_F(RegistryTest, KeysAndNamesOfValuesAreComparedWithoutRegardToCase) {
  WriteText(SystemFile(), "[Sales]\nDriver=SQLite3\n");
  EXPECT_EQ(TextAt("HKLM\\software\\odbc\\odbc.ini\\SALES\\dRIVER"), "String SQLite3");
}

TEST_F(RegistryTest, UnknownRootsAndThoseWithoutOdbcHaveNoKeys) {
  WriteText(SystemFile(), "[Sales]\nDriver=SQLite3\n");
  WriteText(UserFile(), "[Sales]\nDriver=SQLite3\n");
  for (const char* root : {"HKU", "HKUR", "HKEY_USERS", "HKCR", "HKEY_CLASSES_ROOT", "", "HKLMX", "HKL"}) {
    const std::string key = std::string(root) + "\\Software\\ODBC\\ODBC.INI";
    EXPECT_EQ(Read(key), nullptr) << root;
    EXPECT_EQ(TextAt(key + "\\Sales\\Driver"), "null") << root;
    EXPECT_FALSE(RegWrite(key + "\\Sales\\Driver", "x")) << root;
  }
}

TEST_F(RegistryTest, KeysThatAreNotOdbcsDoNotExist) {
  WriteText(SystemFile(), "[Sales]\nDriver=SQLite3\n");
  for (const char* key :
       {"", "HKLM", "HKLM\\", "HKLM\\Software", "HKLM\\Software\\ODBC", "HKLM\\Software\\ODBC\\ODBC.INIX",
        "HKLM\\Software\\ODBC\\ODBC.INI\\Missing", "HKLM\\Software\\ODBC\\ODBC.INI\\Sales\\Deeper"}) {
    EXPECT_EQ(Read(key), nullptr) << key;
  }
}

TEST_F(RegistryTest, ABackslashAtTheEndOfAKeyDoesNotCountInReading) {
  WriteText(SystemFile(), "[Sales]\nDriver=SQLite3\n");
  EXPECT_THAT(KeysOf(std::string(kSystem) + "\\"), ElementsAre("Sales"));
  EXPECT_THAT(KeysOf(std::string(kSystem) + "\\Sales\\"), ElementsAre("Driver"));
}

TEST_F(RegistryTest, AMissingValueOrKeyOrFileReadsAsNull) {
  const std::string sales = std::string(kSystem) + "\\Sales";
  EXPECT_EQ(TextAt(sales + "\\MaxColSupport"), "null");
  WriteText(SystemFile(), "[Sales]\nDriver=SQLite3\nEmpty=\n");
  EXPECT_EQ(TextAt(sales + "\\MaxColSupport"), "null");
  EXPECT_EQ(TextAt(std::string(kSystem) + "\\Other\\Driver"), "null");
  EXPECT_EQ(TextAt(std::string(kSystem) + "\\Driver"), "null") << "a file has no values of its own";
  EXPECT_EQ(TextAt(sales + "\\"), "null") << "that names a key";
  EXPECT_EQ(TextAt(sales), "null");
  EXPECT_EQ(TextAt(sales + "\\Empty"), "String ");
}

TEST_F(RegistryTest, AMissingFileIsAKeyThatCannotBeOpenedAndIsNotMade) {
  EXPECT_EQ(Read(kSystem), nullptr);
  EXPECT_EQ(Read(kUser), nullptr);
  EXPECT_EQ(Read(kDrivers), nullptr);
  EXPECT_FALSE(std::filesystem::exists(UserFile()));
}

TEST_F(RegistryTest, AChangedFileIsSeenAtOnce) {
  const std::string value = std::string(kSystem) + "\\Sales\\Driver";
  WriteText(SystemFile(), "[Sales]\nDriver=one\n");
  EXPECT_EQ(TextAt(value), "String one");
  WriteText(SystemFile(), "[Sales]\nDriver=two\n");
  EXPECT_EQ(TextAt(value), "String two");
  std::filesystem::remove(SystemFile());
  EXPECT_EQ(TextAt(value), "null");
}

TEST_F(RegistryTest, WritesAValueAndKeepsAllElse) {
  WriteText(SystemFile(),
            "; of the accounts\n[Sales]\nDriver = SQLite3\n# columns\nMaxColSupport = 255\n\n[Other]\nA=1\n");
  chmod(SystemFile().c_str(), 0640);
  EXPECT_TRUE(RegWrite(std::string(kSystem) + "\\sales\\maxcolsupport", "5000"));
  EXPECT_EQ(ReadText(SystemFile()),
            "; of the accounts\n[Sales]\nDriver = SQLite3\n# columns\nMaxColSupport = 5000\n\n[Other]\nA=1\n");
  EXPECT_EQ(ModeOf(SystemFile()), 0640U);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}), 1) << "nothing is left beside it";
}

TEST_F(RegistryTest, WritesIntoTheFileOfTheRoot) {
  WriteText(SystemFile(), "[Sales]\nA=1\n");
  WriteText(UserFile(), "[Sales]\nA=1\n");
  EXPECT_TRUE(RegWrite(std::string(kUser) + "\\Sales\\A", "2"));
  EXPECT_EQ(ReadText(SystemFile()), "[Sales]\nA=1\n");
  EXPECT_EQ(ReadText(UserFile()), "[Sales]\nA=2\n");
}

TEST_F(RegistryTest, ANewValueOfAnExistingKeyIsAdded) {
  WriteText(SystemFile(), "[Sales]\nA=1\n\n[Other]\n");
  EXPECT_TRUE(RegWrite(std::string(kSystem) + "\\Sales\\B", "2"));
  EXPECT_EQ(ReadText(SystemFile()), "[Sales]\nA=1\nB=2\n\n[Other]\n");
}

TEST_F(RegistryTest, WritingIntoAKeyThatDoesNotExistFailsAndCreatesNothing) {
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sales\\A", "1"));
  EXPECT_FALSE(std::filesystem::exists(SystemFile()));
  WriteText(SystemFile(), "[Other]\nA=1\n");
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sales\\A", "1"));
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\A", "1"));
  EXPECT_EQ(ReadText(SystemFile()), "[Other]\nA=1\n");
}

TEST_F(RegistryTest, APathThatEndsInABackslashCreatesTheKeyAndEnds) {
  EXPECT_TRUE(RegWrite(std::string(kUser) + "\\Sales\\", "not looked at"));
  EXPECT_EQ(ReadText(UserFile()), "[Sales]\n");
  EXPECT_EQ(ModeOf(UserFile()), 0600U);
  EXPECT_TRUE(RegWrite(std::string(kUser) + "\\SALES\\", Null{}));
  EXPECT_EQ(ReadText(UserFile()), "[Sales]\n") << "it is there already";
  EXPECT_TRUE(RegWrite(std::string(kSystem) + "\\", Value()));
  EXPECT_EQ(ReadText(SystemFile()), "");
  EXPECT_EQ(ModeOf(SystemFile()), 0644U) << "every user connects by it";
  EXPECT_FALSE(RegWrite("HKLM\\Software\\Other\\", Value()));
  EXPECT_FALSE(RegWrite("HKLM", Value()));
}

TEST_F(RegistryTest, TheTypeOfTheValueChoosesItsText) {
  WriteText(SystemFile(), "[Sales]\n");
  const std::string sales = std::string(kSystem) + "\\Sales\\";
  EXPECT_TRUE(RegWrite(sales + "Long", std::int32_t{-7}));
  EXPECT_TRUE(RegWrite(sales + "Bytes", Bytes{0x01, 0xAB}));
  EXPECT_TRUE(RegWrite(sales + "Boolean", true));
  EXPECT_TRUE(RegWrite(sales + "Double", 2.5));
  EXPECT_TRUE(RegWrite(sales + "Text", "t"));
  EXPECT_TRUE(RegWrite(sales + "Null", Null{}));
  EXPECT_EQ(ReadText(SystemFile()), "[Sales]\nLong=-7\nBytes=01AB\nBoolean=True\nDouble=2.5\nText=t\nNull=\n");
}

TEST_F(RegistryTest, AValueCannotBringLinesOfItsOwn) {
  WriteText(SystemFile(), "[Sales]\nA=1\n");
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sales\\A", "x\n[Evil]\nDriver=evil.so"));
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sales\\A\nB", "x"));
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sa]les\n[Evil\\", "x"));
  EXPECT_EQ(ReadText(SystemFile()), "[Sales]\nA=1\n");
}

TEST_F(RegistryTest, AFileBehindALinkIsReplacedAndTheLinkStays) {
  const std::string target = FileCalled("target.ini");
  WriteText(target, "[Sales]\nA=1\n");
  std::filesystem::create_symlink(target, SystemFile());
  EXPECT_TRUE(RegWrite(std::string(kSystem) + "\\Sales\\A", "2"));
  EXPECT_TRUE(std::filesystem::is_symlink(SystemFile()));
  EXPECT_EQ(ReadText(target), "[Sales]\nA=2\n");
}

TEST_F(RegistryTest, AFileThatCannotBeMadeIsAFailure) {
  const EnvironmentValue processTable("ODBCSYSINI", "/proc/self");  // not even root may write there
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\", Value()));
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sales\\", Value()));
}

TEST_F(RegistryTest, KeepsTheOwnerOfTheFile) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give a file away";
  constexpr uid_t kOwner = 65534;
  WriteText(UserFile(), "[Sales]\nA=1\n");
  ASSERT_EQ(chown(UserFile().c_str(), kOwner, kOwner), 0);
  EXPECT_TRUE(RegWrite(std::string(kUser) + "\\Sales\\A", "2"));
  struct stat facts {};
  ASSERT_EQ(stat(UserFile().c_str(), &facts), 0);
  EXPECT_EQ(facts.st_uid, kOwner);
  EXPECT_EQ(facts.st_gid, kOwner);
}

TEST_F(RegistryTest, WhatIsNoPlainFileCannotBeOpened) {
  std::filesystem::create_directory(SystemFile());
  EXPECT_EQ(Read(kSystem), nullptr);
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sales\\", Value()));
  ASSERT_EQ(mkfifo(UserFile().c_str(), 0600), 0);
  EXPECT_EQ(Read(kUser), nullptr) << "and nobody waits for a writer";
  EXPECT_FALSE(RegWrite(std::string(kUser) + "\\Sales\\", Value()));
  std::filesystem::create_symlink("/dev/zero", DriversFile());
  EXPECT_EQ(Read(kDrivers), nullptr);
}

TEST_F(RegistryTest, AFileBeyondOneMegabyteCannotBeOpened) {
  const std::string head = "[Sales]\nA=1\n";
  WriteText(SystemFile(), head + std::string((1 << 20) - head.size(), '\n'));
  EXPECT_THAT(KeysOf(kSystem), ElementsAre("Sales"));
  WriteText(SystemFile(), head + std::string((1 << 20) - head.size() + 1, '\n'));
  EXPECT_EQ(Read(kSystem), nullptr);
  EXPECT_FALSE(RegWrite(std::string(kSystem) + "\\Sales\\A", "2"));
}

TEST_F(RegistryTest, NamesAndDataBeyondTwoThousandBytesAreNotEnumerated) {
  const std::string longest(2000, 'n');
  WriteText(SystemFile(),
            "[" + longest + "]\n[" + longest + "x]\n[Sales]\nA=" + longest + "\nB=" + longest + "x\nC=3\n");
  EXPECT_THAT(KeysOf(kSystem), ElementsAre(longest, "Sales"));
  EXPECT_THAT(KeysOf(std::string(kSystem) + "\\Sales"), ElementsAre("A", "C"));
  EXPECT_EQ(TextAt(std::string(kSystem) + "\\Sales\\B"), "String " + longest + "x") << "one value is read whole";
}

TEST_F(RegistryTest, ManySectionsAndBytesWithoutMeaningDoNoHarm) {
  std::string sections;
  for (int i = 0; i < 60000; ++i) sections += "[" + std::to_string(i) + "]\nA=1\n";
  WriteText(SystemFile(), sections);
  const auto key = Read(kSystem);
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(key->Count(), 60000U);
  std::string bytes;
  for (int i = 0; i < 100000; ++i) bytes += static_cast<char>(i * 7919 >> 3);
  WriteText(UserFile(), "[Sales]\n" + bytes);
  EXPECT_NE(Read(kUser), nullptr);
}

TEST_F(RegistryTest, WithoutTheDictionaryComponentReadingAKeyRaisesItsError) {
  WriteText(SystemFile(), "[Sales]\n");
  components_.Register("Halvik.Dictionary",
                       []() -> std::shared_ptr<Object> { throw Error(error_number::kCannotCreate, "not registered"); });
  EXPECT_RAISES(Read(kSystem), 429, _);
}

}  // namespace
}  // namespace ods
