// The total order of exact pages, and the ranges that it is cut into.
#include "tabledata/ExactOrder.h"

#include <gtest/gtest.h>
#include <utility>

#include "doubles/FakeSession.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "support/RaisedErrors.h"
#include "tabledata/ExactRanges.h"

namespace ods {
namespace {

using Kind = ExactValue::Kind;

const ExactValue kNull{};
ExactValue Number(const char* digits) { return {Kind::kNumber, digits}; }
ExactValue Text(const char* text) { return {Kind::kText, text}; }

OrderTerm Term(const std::string& field, bool nullable, LiteralStyle literal = LiteralStyle::kNumber) {
  OrderTerm term;
  term.expression = field;
  term.read = field;
  term.literal = literal;
  term.nullable = nullable;
  term.field = field;
  return term;
}

ExactColumn MakeColumn(const std::string& name, bool nullable, LiteralStyle literal = LiteralStyle::kNumber) {
  ExactColumn column;
  column.name = name;
  column.typeName = "odd";
  column.read = name;
  column.nullable = nullable;
  column.order = Term(name, nullable, literal);
  return column;
}

/// A table with a number `id` that is never null, nullable columns `a` and `b`, a text `t`, and `j`, which cannot be
/// compared.
class ExactOrderTest : public ::testing::Test {
 protected:
  ExactOrderTest() {
    fake.session.exact = std::make_shared<ExactSession>();
    fake.session.exact->product = &ExactProductOf("");
    fake.session.exact->nullOrder = NullOrder::kLast;
    known.columns = {MakeColumn("id", false), MakeColumn("a", true), MakeColumn("b", true),
                     MakeColumn("t", false, LiteralStyle::kQuoted), MakeColumn("j", true)};
    known.columns.back().order.reset();
  }
  void AddKey(std::vector<std::string> fields, bool unique = true) {
    ExactKey key;
    key.name = "key" + std::to_string(known.keys.size());
    key.unique = unique;
    key.nullable = false;
    for (const std::string& field : fields) key.terms.push_back(Term(field, false));
    key.fields = std::move(fields);
    known.keys.push_back(std::move(key));
  }
  [[nodiscard]] ExactOrder Make(const WantedOrder& wanted) { return MakeExactOrder(fake.session, "t", known, wanted); }
  [[nodiscard]] std::string OrderBy(const WantedOrder& wanted, bool reverse = false) {
    return WholeOrder(Make(wanted), reverse).orderBy;
  }
  /// The ranges as "condition | ordering", one a line.
  [[nodiscard]] std::string Ranges(const WantedOrder& wanted, const std::vector<ExactValue>& values,
                                   bool reverse = false, EqualRows equalRows = EqualRows::kNone) {
    std::string text;
    for (const OrderRange& range : RangesBehind(fake.session, Make(wanted), values, reverse, equalRows)) {
      text += range.where + " | " + range.orderBy + "\n";
    }
    return text;
  }

  test::FakeSession fake;
  ExactTable known;
};

TEST_F(ExactOrderTest, EndsWithTheKeyThatTellsRowsApart) {
  AddKey({"id"});
  EXPECT_EQ(OrderBy({}), "id");
  EXPECT_EQ(OrderBy({.sort = {{"t", false}}}), "t, id");
  EXPECT_EQ(OrderBy({.sort = {{"t", true}}}), "t DESC, id DESC");
  EXPECT_EQ(OrderBy({.sort = {{"t", true}, {"a", false}}}), "t DESC, a, id");
  EXPECT_EQ(OrderBy({.sort = {{"t", true}, {"a", false}}}, true), "t, a DESC, id DESC");
  EXPECT_TRUE(Make({.sort = {{"t", false}}}).unique);
}

TEST_F(ExactOrderTest, LeavesOutWhatFollowsAWholeKey) {
  AddKey({"id"});
  EXPECT_EQ(OrderBy({.sort = {{"id", false}, {"t", false}}}), "id");
  AddKey({"t", "id"});
  EXPECT_EQ(OrderBy({.selectedKey = {"t", "id"}}), "t, id");
  EXPECT_EQ(OrderBy({.primaryKey = {"t"}}), "t, id");
}

TEST_F(ExactOrderTest, NamesEachColumnOnce) {
  AddKey({"id"});
  EXPECT_EQ(OrderBy({.sort = {{"t", false}, {"t", true}}, .selectedKey = {"t", "a"}}), "t, a DESC, id DESC");
}

TEST_F(ExactOrderTest, TakesAllThatCanBeComparedWithoutAKey) {
  known.columns[3].tieBreaker = Term("bytes(t)", false, LiteralStyle::kQuoted);
  const ExactOrder order = Make({.sort = {{"b", false}}});
  EXPECT_EQ(WholeOrder(order, false).orderBy, "b, id, a, t, bytes(t)");
  EXPECT_FALSE(order.unique);
  EXPECT_EQ(order.indexed, 1U);
}

TEST_F(ExactOrderTest, TakesAKeyOnlyWhenItIsUniqueAndWithoutNulls) {
  AddKey({"a"}, false);
  AddKey({"b"});
  known.keys.back().nullable = true;
  EXPECT_EQ(OrderBy({}), "id, a, b, t");
}

TEST_F(ExactOrderTest, TakesTheRowIdentifierOfATableWithoutAKey) {
  known.rowIdentifier = Term("rowid", false);
  const ExactOrder order = Make({.sort = {{"a", true}}});
  EXPECT_EQ(WholeOrder(order, false).orderBy, "a DESC, rowid DESC");
  EXPECT_TRUE(order.unique);
}

TEST_F(ExactOrderTest, SaysByWhatTheDatabaseCannotOrder) {
  AddKey({"id"});
  EXPECT_RAISES(Make({.sort = {{"j", false}}}), 1000,
                "The table 't' cannot be ordered by the field 'j': the database does not compare values of its type "
                "odd.");
  EXPECT_RAISES(Make({.sort = {{"nope", false}}}), 1000,
                "Unable to get information about field 'nope' in table 't'. Please make sure that the field exist.");
}

TEST_F(ExactOrderTest, SetsNullsApartItselfWhereTheirOrderIsNotKnown) {
  AddKey({"id"});
  fake.session.exact->nullOrder = NullOrder::kUnknown;
  EXPECT_EQ(OrderBy({.sort = {{"a", true}}}), "CASE WHEN a IS NULL THEN 1 ELSE 0 END DESC, a DESC, id DESC");
  EXPECT_EQ(OrderBy({.sort = {{"t", false}}}), "t, id");
  EXPECT_EQ(Ranges({.sort = {{"a", false}}}, {Number("0"), Number("5"), Number("7")}),
            "CASE WHEN a IS NULL THEN 1 ELSE 0 END=0 AND a=5 AND id>7 | id\n"
            "CASE WHEN a IS NULL THEN 1 ELSE 0 END=0 AND a>5 | a, id\n"
            "CASE WHEN a IS NULL THEN 1 ELSE 0 END>0 | CASE WHEN a IS NULL THEN 1 ELSE 0 END, a, id\n");
  EXPECT_EQ(Ranges({.sort = {{"a", false}}}, {Number("1"), kNull, Number("7")}),
            "CASE WHEN a IS NULL THEN 1 ELSE 0 END=1 AND a IS NULL AND id>7 | id\n"
            "CASE WHEN a IS NULL THEN 1 ELSE 0 END>1 | CASE WHEN a IS NULL THEN 1 ELSE 0 END, a, id\n");
}

TEST_F(ExactOrderTest, HasAnotherFingerprintWithAnotherOrder) {
  AddKey({"id"});
  const auto fingerprint = [this](const WantedOrder& wanted) { return Make(wanted).Fingerprint(); };
  EXPECT_EQ(fingerprint({.sort = {{"t", false}}}), fingerprint({.selectedKey = {"t"}}));
  EXPECT_NE(fingerprint({.sort = {{"t", false}}}), fingerprint({.sort = {{"t", true}}}));
  EXPECT_NE(fingerprint({.sort = {{"t", false}}}), fingerprint({}));
}

TEST_F(ExactOrderTest, IsOneRangeByASingleKey) {
  AddKey({"id"});
  EXPECT_EQ(Ranges({}, {Number("7")}), "id>7 | id\n");
  EXPECT_EQ(Ranges({}, {Number("7")}, true), "id<7 | id DESC\n");
  EXPECT_EQ(Ranges({}, {Number("7")}, false, EqualRows::kFirst), "id>=7 | id\n");
  EXPECT_EQ(Ranges({.sort = {{"id", true}}}, {Number("7")}), "id<7 | id DESC\n");
}

TEST_F(ExactOrderTest, IsCutWhereAColumnIsConstant) {
  AddKey({"id"});
  EXPECT_EQ(Ranges({.sort = {{"t", false}}}, {Text("it's"), Number("7")}),
            "t='it''s' AND id>7 | id\n"
            "t>'it''s' | t, id\n");
  EXPECT_EQ(Ranges({.sort = {{"t", false}}}, {Text("x"), Number("7")}, true),
            "t='x' AND id<7 | id DESC\n"
            "t<'x' | t DESC, id DESC\n");
  EXPECT_EQ(Ranges({.sort = {{"t", true}, {"a", false}}}, {Text("x"), Number("1"), Number("7")}),
            "t='x' AND a=1 AND id>7 | id\n"
            "t='x' AND a>1 | a, id\n"
            "t='x' AND a IS NULL | id\n"
            "t<'x' | t DESC, a, id\n");
}

TEST_F(ExactOrderTest, GivesNullsTheRangeWhereTheProductHasThem) {
  AddKey({"id"});
  const WantedOrder byA = {.sort = {{"a", false}}};
  EXPECT_EQ(Ranges(byA, {Number("1"), Number("7")}), "a=1 AND id>7 | id\na>1 | a, id\na IS NULL | id\n");
  EXPECT_EQ(Ranges(byA, {Number("1"), Number("7")}, true), "a=1 AND id<7 | id DESC\na<1 | a DESC, id DESC\n");
  EXPECT_EQ(Ranges(byA, {kNull, Number("7")}), "a IS NULL AND id>7 | id\n");
  EXPECT_EQ(Ranges(byA, {kNull, Number("7")}, true), "a IS NULL AND id<7 | id DESC\na IS NOT NULL | a DESC, id DESC\n");
  fake.session.exact->nullOrder = NullOrder::kFirst;
  EXPECT_EQ(Ranges(byA, {Number("1"), Number("7")}), "a=1 AND id>7 | id\na>1 | a, id\n");
  EXPECT_EQ(Ranges(byA, {kNull, Number("7")}), "a IS NULL AND id>7 | id\na IS NOT NULL | a, id\n");
  EXPECT_EQ(Ranges({.sort = {{"a", true}}}, {Number("1"), Number("7")}),
            "a=1 AND id<7 | id DESC\na<1 | a DESC, id DESC\na IS NULL | id DESC\n");
}

TEST_F(ExactOrderTest, NestsWhatNoIndexServes) {
  // Sorted by `b`, then all columns: id, a, t.
  EXPECT_EQ(Ranges({.sort = {{"b", false}}}, {Number("1"), Number("2"), kNull, Text("x")}),
            "b=1 AND id>=2 AND (id>2 OR id=2 AND (a IS NULL AND (t>'x'))) | id, a, t\n"
            "b>1 | b, id, a, t\n"
            "b IS NULL | id, a, t\n");
  // Nothing but all columns is one range, with the equal rows in front.
  EXPECT_EQ(Ranges({}, {Number("2"), Number("3"), kNull, Text("x")}, false, EqualRows::kFirst),
            "id>=2 AND (id>2 OR id=2 AND (a>3 OR a IS NULL OR a=3 AND (b IS NULL AND (t>'x' OR t='x')))) | id, a, b, "
            "t\n");
}

TEST_F(ExactOrderTest, GivesEqualRowsARangeOfTheirOwn) {
  known.columns = {MakeColumn("a", true), MakeColumn("b", true)};
  EXPECT_EQ(Ranges({.sort = {{"a", false}}}, {kNull, Number("2")}, false, EqualRows::kAlone),
            "a IS NULL AND b=2 | \n"
            "a IS NULL AND (b>2 OR b IS NULL) | b\n");
  EXPECT_EQ(Ranges({.sort = {{"a", false}, {"b", false}}}, {Number("1"), kNull}, false, EqualRows::kFirst),
            "a=1 AND b IS NULL | \n"
            "a>1 | a, b\n"
            "a IS NULL | b\n");
}

TEST_F(ExactOrderTest, WritesEqualityAsARangeWhereAnIndexServesNoneElse) {
  fake.session.exact->product = &ExactProductOf("MariaDB");
  known.columns = {MakeColumn("a", true), MakeColumn("b", false)};
  AddKey({"b"});
  EXPECT_EQ(Ranges({.sort = {{"a", false}}}, {Number("1"), Number("2")}),
            "a>=1 AND a<=1 AND b>2 | a, b\n"
            "a>1 | a, b\n"
            "(a IS NULL OR a<NULL) | a, b\n");
  EXPECT_EQ(Ranges({.sort = {{"a", false}}}, {kNull, Number("2")}, true),
            "(a IS NULL OR a<NULL) AND b<2 | a DESC, b DESC\n"
            "a IS NOT NULL | a DESC, b DESC\n");
}

TEST_F(ExactOrderTest, CutsOnlySoOften) {
  known.columns.clear();
  std::vector<std::string> fields;
  std::vector<ExactValue> values;
  for (const char* name : {"c1", "c2", "c3", "c4", "c5"}) {
    known.columns.push_back(MakeColumn(name, false));
    fields.emplace_back(name);
    values.push_back(Number("1"));
  }
  AddKey(fields);
  EXPECT_EQ(Ranges({}, values),
            "c1=1 AND c2=1 AND c3=1 AND c4>=1 AND (c4>1 OR c4=1 AND (c5>1)) | c4, c5\n"
            "c1=1 AND c2=1 AND c3>1 | c3, c4, c5\n"
            "c1=1 AND c2>1 | c2, c3, c4, c5\n"
            "c1>1 | c1, c2, c3, c4, c5\n");
}

}  // namespace
}  // namespace ods
