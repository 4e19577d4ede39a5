#include "sqlformat/modTypes.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/Conversions.h"
#include "doubles/FakeSession.h"
#include "sqlformat/modSafeFilter.h"
#include "sqlformat/modSafeVal.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;

constexpr DatabaseKind kAllKinds[] = {
    DatabaseKind::DbUnknown,   DatabaseKind::DbSqlServer, DatabaseKind::DbAccess,
    DatabaseKind::DbNavision,  DatabaseKind::DbConcorde,  DatabaseKind::DbMySql,
    DatabaseKind::DbPervasive, DatabaseKind::DbExcel,     DatabaseKind::DbUnnamed,
};

std::string Describe(const TypeEntry& entry) {
  std::string text = entry.TypeName + " " + entry.SafeValFunction + " " + entry.SafeFilterFunction + " (";
  for (const Value& parameter : entry.SafeValParameters) text += SafeStr(parameter) + ";";
  return text + ")";
}

TEST(TypeTable, HoldsEveryTypeWithItsRoutines) {
  const std::map<std::int32_t, std::string> expected = {
      {0, "Empty Empty Empty ()"},
      {2, "SmallInt Integer Integer (2;)"},
      {3, "Integer Integer Integer (4;)"},
      {4, "Single Float Float ()"},
      {5, "Double Float Float ()"},
      {6, "Currency Float Float ()"},
      {7, "Date Date Date ()"},
      {8, "BSTR String String (';';)"},
      {10, "Error Integer Integer ()"},
      {11, "Boolean Boolean Boolean (0;1;)"},
      {14, "Decimal Float Float ()"},
      {16, "TinyInt Integer Integer (1;)"},
      {17, "UnsignedTinyInt Integer Integer (1;)"},
      {18, "UnsignedSmallInt Integer Integer (2;)"},
      {19, "UnsignedInt Integer Integer (4;)"},
      {20, "BigInt Integer Integer (8;)"},
      {21, "UnsignedBigInt Integer Integer (8;)"},
      {64, "FileTime Integer Integer ()"},
      {72, "GUID String String (';';)"},
      {128, "Binary BinaryHex BinaryHex (0x;;)"},
      {129, "Char String String ()"},
      {130, "WChar String String ()"},
      {131, "Numeric Float Float ()"},
      {133, "DBDate Date Date ()"},
      {134, "DBTime Time Time ()"},
      {135, "DBTimeStamp DBTimeStamp DateTime ()"},
      {200, "VarChar String String ()"},
      {201, "LongVarChar String String ()"},
      {202, "VarWChar String String ()"},
      {203, "LongVarWChar String String ()"},
      {204, "VarBinary BinaryHex BinaryHex (0x;;)"},
      {205, "LongVarBinary BinaryHex BinaryHex (0x;;)"},
  };
  for (const DatabaseKind kind : kAllKinds) {
    std::map<std::int32_t, std::string> found;
    for (const auto& [type, entry] : CreateTypeTable(kind)) found[type] = Describe(entry);
    std::map<std::int32_t, std::string> wanted = expected;
    if (kind == DatabaseKind::DbPervasive) wanted[128] = "Binary BinaryHex BinaryHex (';';-1;)";
    EXPECT_EQ(found, wanted) << "kind " << static_cast<int>(kind);
  }
}

TEST(TypeTable, WritesATimeStampWithAnotherRoutineThanItNormalisesItWith) {
  FakeSession fake;
  const TypeEntry& entry = GetTypeEntry(fake.session, ado_type::kDBTimeStamp);
  EXPECT_EQ(entry.SafeValFunction, "DBTimeStamp");
  EXPECT_EQ(entry.SafeFilterFunction, "DateTime");
}

TEST(TypeTable, OnPervasiveOnlyTheFixedBinaryTypeHasOtherParameters) {
  FakeSession fake(DatabaseKind::DbPervasive);
  const auto parameters = [&](std::int32_t type) { return GetTypeEntry(fake.session, type).SafeValParameters; };
  EXPECT_EQ(parameters(ado_type::kBinary), (std::vector<Value>{"'", "'", -1}));
  for (const std::int32_t type : {ado_type::kVarBinary, ado_type::kLongVarBinary}) {
    EXPECT_EQ(parameters(type), (std::vector<Value>{"0x", ""}));
  }
}

TEST(TypeTable, IsEmptyForAKindBeyondTheNineAndEveryFormattingFailsThen) {
  for (const std::int32_t kind : {-1, 9}) {
    FakeSession fake(static_cast<DatabaseKind>(kind));
    EXPECT_TRUE(fake.session.typeTable.empty());
    fake.Describe("[TABLE]t", {{"f", ado_type::kInteger, 4, 0}});
    const std::string lacking = "The data type 3 is not in the type table.";
    EXPECT_RAISES(SafeVal(fake.session, "[TABLE]t", "f", 1), _, lacking);
    EXPECT_RAISES(SafeQuote(fake.session, "[TABLE]t", "f"), _, lacking);
    EXPECT_RAISES(SafeFilter(fake.session, "[TABLE]t", "f", "1"), _, lacking);
  }
}

TEST(TypeTable, NamesTheTypeThatItLacks) {
  FakeSession fake;
  EXPECT_RAISES(GetTypeEntry(fake.session, 12), 1000, "The data type 12 is not in the type table.");
}

class FieldCache : public ::testing::Test {
 protected:
  FieldCache() {
    fake_.connection->answer = [](const std::string&) {
      return MakeRows({{"No", ado_type::kInteger, 4, 0}, {"Name", ado_type::kVarWChar, 50, 32}});
    };
  }
  FakeSession fake_{DatabaseKind::DbSqlServer};
};

TEST_F(FieldCache, DescribesATableOnceWithAStatementThatReturnsNoRows) {
  const FieldDescription* name = LookupField(fake_.session, "[TABLE]t", "Name");
  ASSERT_NE(name, nullptr);
  EXPECT_EQ(name->Name, "Name");
  EXPECT_EQ(name->Type, ado_type::kVarWChar);
  EXPECT_EQ(name->DefinedSize, 50);
  ASSERT_NE(LookupField(fake_.session, "[TABLE]t", "No"), nullptr);
  EXPECT_THAT(fake_.connection->statements, ElementsAre("SELECT TOP 1 * FROM [t] WHERE (1=2)"));
}

TEST_F(FieldCache, ComparesNamesExactlyAndNeverReadsATableAgain) {
  EXPECT_EQ(LookupField(fake_.session, "[TABLE]t", "name"), nullptr);
  EXPECT_EQ(LookupField(fake_.session, "[TABLE]t", "Missing"), nullptr);
  EXPECT_EQ(fake_.connection->statements.size(), 1U);
}

TEST_F(FieldCache, HasOneEntryForAllIdentifiersOfATable) {
  for (const char* table : {"[TABLE]t", "[VIEW]t", "t", "[]t", "[any word]t", "[table]t"}) {
    ASSERT_NE(LookupField(fake_.session, table, "No"), nullptr) << table;
  }
  EXPECT_THAT(fake_.connection->statements, ElementsAre("SELECT TOP 1 * FROM [t] WHERE (1=2)"));
  EXPECT_RAISES(LookupField(fake_.session, "[APPVIEW]t", "No"), 1000, "Unable to locate the view with id [APPVIEW]t.")
      << "a view of the same name is no table, and there is none";
}

TEST_F(FieldCache, KeepsNothingOfATableThatCannotBeDescribed) {
  const auto good = fake_.connection->answer;
  fake_.connection->answer = [](const std::string&) -> std::shared_ptr<RecordSet> { throw Error(-5, "no table"); };
  EXPECT_RAISES(LookupField(fake_.session, "[TABLE]t", "No"), -5, _);
  fake_.connection->answer = good;
  EXPECT_NE(LookupField(fake_.session, "[TABLE]t", "No"), nullptr);
}

TEST_F(FieldCache, StartsAfreshRatherThanGrowingWithTheNamesThatClientsMakeUp) {
  constexpr std::size_t kMost = 1'048'576;
  const auto bytesOfNames = [&] {
    std::size_t bytes = 0;
    for (const auto& [name, fields] : fake_.session.fieldCache) bytes += name.size();
    return bytes;
  };
  std::size_t most = 0;
  for (int i = 0; i < 20'000; ++i) {
    const std::string table = "[TABLE]Customer" + std::to_string(i);
    ASSERT_NE(LookupField(fake_.session, table, "No"), nullptr);
    ASSERT_TRUE(fake_.session.fieldCache.contains(table)) << "what was just read is there";
    most = std::max(most, fake_.session.fieldCache.size());
  }
  EXPECT_GT(most, 500U) << "some hundred tables fit";
  EXPECT_LT(most, 5000U);
  for (int i = 0; i < 100; ++i) {
    ASSERT_NE(LookupField(fake_.session, std::string(100'000, 'x') + std::to_string(i), "No"), nullptr);
    ASSERT_LE(bytesOfNames(), kMost);
  }
}

TEST(SchemaLookUps, KeepEveryRowUnderItsName) {
  FakeSession fake;
  fake.connection->schemas[Schema::kProviderTypes] = [] {
    return MakeRows(TextColumns({"TYPE_NAME", "DATA_TYPE"}), {{"int", 3}, {"text", 201}});
  };
  fake.connection->schemas[Schema::kDBInfoLiterals] = [] {
    return MakeRows(TextColumns({"LiteralName", "LiteralValue"}), {{"QUOTE", "["}, {"QUOTE_SUFFIX", "]"}});
  };
  const auto types = GetProviderTypes(fake.session);
  EXPECT_EQ(types->Keys(), (std::vector<std::string>{"int", "text"}));
  EXPECT_EQ(GetValueByPath(Value(std::static_pointer_cast<Object>(types)), {"text", "DATA_TYPE"}), Value(201));
  const auto literals = GetLiterals(fake.session);
  EXPECT_EQ(GetValueByPath(Value(std::static_pointer_cast<Object>(literals)), {"QUOTE", "LiteralValue"}), Value("["));
}

}  // namespace
}  // namespace ods::test
