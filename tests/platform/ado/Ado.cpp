#include "platform/ado/Ado.h"

#include <gtest/gtest.h>

#include "platform/ado/AdoTestSupport.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::HasSubstr;

MemoryRecordSet TwoRows() {
  return {{{.name = "Id", .type = ado_type::kInteger}, {.name = "name", .type = ado_type::kVarWChar}, {.name = "NAME"}},
          {{1, "one", "ONE"}, {2, Null{}, Value()}}};
}

TEST(MemoryRecordSet, StandsOnItsFirstRowAndStepsToTheEnd) {
  MemoryRecordSet rows = TwoRows();
  ASSERT_FALSE(rows.AtEnd());
  EXPECT_EQ(rows.Item(0), Value(1));
  EXPECT_EQ(rows.Item("name"), Value("one"));
  rows.MoveNext();
  EXPECT_EQ(rows.Item(1), Value(Null{}));
  EXPECT_TRUE(rows.Item(2).IsEmpty());
  rows.MoveNext();
  EXPECT_TRUE(rows.AtEnd());
  EXPECT_EQ(rows.TypeName(), "RecordSet");
}

TEST(MemoryRecordSet, ReadingOrSteppingPastTheEndIsError3021) {
  MemoryRecordSet rows({{.name = "a"}}, {});
  EXPECT_TRUE(rows.AtEnd());
  EXPECT_RAISES(rows.MoveNext(), 3021, HasSubstr("There is no current record."));
  EXPECT_RAISES(rows.Item(0), 3021, HasSubstr("There is no current record."));
}

TEST(MemoryRecordSet, AFieldThatThereIsNotIsError3265) {
  const MemoryRecordSet rows = TwoRows();
  EXPECT_RAISES(rows.Item(3), 3265, HasSubstr("The record set has no field number 3."));
  EXPECT_RAISES(rows.Item("nothing"), 3265, HasSubstr("The record set has no field 'nothing'."));
}

TEST(RecordSet, IndexOfPrefersTheExactNameAndThenIgnoresAsciiCase) {
  const MemoryRecordSet rows = TwoRows();
  EXPECT_EQ(rows.IndexOf("NAME"), 2U);
  EXPECT_EQ(rows.IndexOf("name"), 1U);
  EXPECT_EQ(rows.IndexOf("Name"), 1U);
  EXPECT_EQ(rows.IndexOf("iD"), 0U);
}

TEST(Connection, IsClosedAtFirst) {
  const auto connection = CreateOdbcConnection();
  EXPECT_EQ(connection->TypeName(), "Connection");
  EXPECT_TRUE(connection->Properties().empty());
  EXPECT_EQ(connection->DefaultDatabase(), "");
  EXPECT_EQ(connection->Property("DBMS Name"), "");
  EXPECT_RAISES(connection->OpenRecordSet("SELECT 1", 0), 3704, HasSubstr("The connection is closed."));
  for (const Schema schema : {Schema::kTables, Schema::kIndexes, Schema::kProviderTypes, Schema::kDBInfoLiterals}) {
    EXPECT_RAISES(connection->OpenSchema(schema, {}), 3704, HasSubstr("The connection is closed."));
  }
}

}  // namespace
}  // namespace ods
