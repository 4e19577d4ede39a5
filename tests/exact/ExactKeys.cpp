#include "exact/ExactKeys.h"

#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "exact/ExactProduct.h"

namespace ods::test {
namespace {

using Names = std::vector<std::string>;

ExactColumn ColumnOf(const std::string& name, bool nullable = false) {
  ExactColumn column;
  column.name = name;
  column.nullable = nullable;
  column.order = OrderTerm{.expression = "\"" + name + "\"", .read = "\"" + name + "\"", .field = name};
  return column;
}

Names Expressions(const ExactKey& key) {
  Names names;
  for (const OrderTerm& term : key.terms) names.push_back(term.expression);
  return names;
}

class ExactKeys : public ::testing::Test {
 protected:
  ExactKeys() {
    known_.columns = {ColumnOf("a"), ColumnOf("b"), ColumnOf("n", true), ColumnOf("json")};
    known_.columns.back().order.reset();
  }
  /// Each key as name, "unique", "declared", "nullable" and its fields.
  [[nodiscard]] std::string Keys() const {
    std::string text;
    for (const ExactKey& key : known_.keys) {
      text += key.name + (key.unique ? " unique" : "") + (key.declared ? " declared" : "") +
              (key.nullable ? " nullable" : "");
      for (const std::string& field : key.fields) text += " " + field;
      text += "; ";
    }
    return text;
  }
  void DriverTells(std::vector<Row> rows) {
    fake_.connection->schemas[Schema::kFilteredIndexes] = [rows] {
      return MakeRows(TextColumns({"INDEX_NAME", "UNIQUE", "TYPE", "COLUMN_NAME", "TABLE_SCHEMA", "FILTER_CONDITION"}),
                      rows);
    };
  }

  FakeSession fake_{DatabaseKind::DbUnknown};
  ExactTable known_;
};

TEST_F(ExactKeys, AreMadeOfTheirPartsInTheirOrder) {
  AppendKeys(known_, {{.index = "pk", .unique = true, .declared = true, .column = "b"},
                      {.index = "i", .column = "n"},
                      {.index = "pk", .unique = true, .declared = true, .column = "a"}});
  EXPECT_EQ(Keys(), "pk unique declared b a; i nullable n; ");
  EXPECT_EQ(Expressions(known_.keys[0]), (Names{"\"b\"", "\"a\""}));
}

TEST_F(ExactKeys, OneNullableFieldMakesAKeyThatDoesNotTellRowsApart) {
  AppendKeys(known_, {{.index = "u", .unique = true, .column = "a"}, {.index = "u", .unique = true, .column = "n"}});
  EXPECT_EQ(Keys(), "u unique nullable a n; ");
  EXPECT_FALSE(known_.keys[0].TellsRowsApart());
}

TEST_F(ExactKeys, WithAPartThatDoesNotCountAreLeftOut) {
  AppendKeys(known_, {{.index = "partial", .unique = true, .counts = false, .column = "a"},
                      {.index = "of an expression", .unique = true, .column = "a"},
                      {.index = "of an expression", .unique = true, .counts = false, .column = ""},
                      {.index = "not in order", .column = "json"},
                      {.index = "of a column that is not there", .unique = true, .column = "A"},
                      {.index = "good", .unique = true, .column = "a"}});
  EXPECT_EQ(Keys(), "good unique a; ");
}

TEST_F(ExactKeys, CompareAColumnAsTheIndexDoes) {
  OrderTerm other = *known_.columns[0].order;
  other.expression = "\"a\" COLLATE x";
  AppendKeys(known_, {{.index = "u", .unique = true, .column = "a", .terms = {other}},
                      {.index = "u", .unique = true, .column = "b"}});
  EXPECT_EQ(Expressions(known_.keys.at(0)), (Names{"\"a\" COLLATE x", "\"b\""}));
}

TEST_F(ExactKeys, MayHaveAColumnTwice) {
  OrderTerm other = *known_.columns[0].order;
  other.expression = "\"a\" COLLATE x";
  AppendKeys(known_, {{.index = "u", .unique = true, .column = "a"},
                      {.index = "u", .unique = true, .column = "a", .terms = {other}}});
  EXPECT_EQ(known_.keys.at(0).fields, Names{"a"});
  EXPECT_EQ(Expressions(known_.keys.at(0)), (Names{"\"a\"", "\"a\" COLLATE x"}));
}

TEST_F(ExactKeys, OfADriverAreThoseOverAllRows) {
  DriverTells({{"i", "False", "3", "b", "s", Null()},
               {"pk", "True", "1", "a", "s", Null()},
               {"clustered", "False", "1", "b", "s", Null()},
               {"filtered", "True", "3", "b", "s", "b > 3"},
               {"filtered somehow", "True", "3", "b", "s", ""},
               {Null(), "False", "0", Null(), "s", Null()}});
  ReadKeysByDriver(fake_.session, {"s", "t"}, known_);
  EXPECT_EQ(Keys(), "i b; pk unique declared a; clustered b; ");
  EXPECT_EQ(fake_.connection->schemaRestrictions, (std::vector<Value>{Value(), "s", Value(), Value(), "t"}));
}

TEST_F(ExactKeys, OfTablesOfOneNameAreNotMixed) {
  DriverTells({{"pk", "True", "1", "a", "one", Null()}, {"pk", "True", "1", "b", "two", Null()}});
  ReadKeysByDriver(fake_.session, {"", "t"}, known_);
  EXPECT_EQ(Keys(), "");
}

TEST_F(ExactKeys, OfADriverThatKnowsOfNoIndexesAreNone) {
  ReadKeysByDriver(fake_.session, {"", "t"}, known_);
  EXPECT_EQ(Keys(), "");
}

}  // namespace
}  // namespace ods::test
