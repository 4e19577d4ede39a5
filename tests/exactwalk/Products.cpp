#include "exactwalk/Products.h"

#include <utility>

#include "common/Text.h"

namespace ods::test {
namespace {

using Values = std::vector<std::string>;

Values With(Values values, const Values& more) {
  values.insert(values.end(), more.begin(), more.end());
  return values;
}

const Values kTexts = {"'a'",       "''",
                       "'A'",       "'a '",
                       "' a'",      "'it''s \"quoted\" \\ | [x] `y`'",
                       "'50%_{0}'", "'\xC3\x98resund \xE2\x82\xAC \xF0\x9F\x98\x80'",
                       "'NULL'",    "'\xC3\xA4'",
                       "'ab'",      "'AB  '"};

const Values kLineBreaks = {"'a\tb'", "'a\nb'", "'a\rb'"};

ColumnType Text(std::string declaration, const Values& values, std::string more = "'v$'") {
  return {.declaration = std::move(declaration), .values = values, .more = std::move(more), .searched = true};
}

/// A type that the product cannot order by.
ColumnType Unordered(std::string declaration, const Values& values, std::string text = "$") {
  return {.declaration = std::move(declaration),
          .values = values,
          .text = std::move(text),
          .ordered = false,
          .keyable = false,
          .filtered = false,
          .ranged = false};
}

const Values kColumnNames = {"id",         "a b", "A.b", "Upper", "quote\"x", "it's",  "rowid", "select",
                             "\xC3\xBCml", "a|b", "[x]", "`y`",   "%n_",      "Order", "oid",   "c1",
                             "_rowid_",    "1st", "a,b", "null",  "back\\sl", "{0}",   "?",     "<&>"};

}  // namespace

std::string WalkProduct::Quoted(const std::string& identifier) const {
  return quoteBefore + ReplaceAll(identifier, quoteAfter, quoteAfter + quoteAfter) + quoteAfter;
}

WalkProduct SqliteProduct() {
  const Values integers = {
      "1", "0", "-1", "2147483648", "9223372036854775807", "-9223372036854775808", "9007199254740993"};
  const Values reals = {"1.5",
                        "0.0",
                        "0.1",
                        "1e300",
                        "-1e-300",
                        "5e-324",
                        "0.30000000000000004",
                        "1.7976931348623157e308",
                        "9e999",
                        "-9e999",
                        "3.0",
                        "123456789012345678.0"};
  const Values bytes = {"x'00'", "x''", "x'0A1B00FF'", "x'61'", "zeroblob(300)"};
  const Values texts =
      With(With(kTexts, kLineBreaks), {"CAST(x'610062' AS TEXT)", "CAST(x'6100' AS TEXT)", "char(1)", "'1'", "'1.0'",
                                       "replace(hex(zeroblob(150)),'0','\xE2\x82\xAC')"});
  Values mixed = With(With(integers, reals), With(bytes, texts));
  const auto plain = [](const char* declaration, const Values& values, const char* more) {
    return ColumnType{.declaration = declaration, .values = values, .more = more};
  };
  const auto anything = [&](const char* declaration) {
    return ColumnType{.declaration = declaration, .values = mixed, .more = "'v$'", .filtered = false, .ranged = false};
  };
  return {
      .name = "SQLite",
      .types = {plain("INTEGER", integers, "$"),
                Text("text", texts),
                Text("text COLLATE NOCASE", texts),
                Text("varchar(20) COLLATE RTRIM", texts),
                plain("real", reals, "$ + 0.25"),
                {.declaration = "blob", .values = bytes, .more = "CAST('b$' AS BLOB)", .binary = true},
                plain("bigint", integers, "$"),
                plain("double", reals, "$ / 3.0"),
                plain("date", {"'2020-02-29'", "'0001-01-01'", "'9999-12-31'"}, "date('2020-01-01', '+$ days')"),
                plain("timestamp", {"'2020-02-29 10:11:12.987654'", "'2020-02-29 10:11:12'", "'0001-01-01 00:00:00'"},
                      "datetime('2020-01-01', '+$ seconds')"),
                plain("time", {"'10:11:12'", "'10:11:12.5'", "'00:00:00'"}, "time('10:00:00', '+$ seconds')"),
                anything(""),
                anything("anything"),
                anything("int"),
                anything("numeric(10,2)"),
                anything("decimal(20,4)"),
                anything("boolean"),
                anything("varchar(5) COLLATE NOCASE"),
                anything("timestamp"),
                anything("date"),
                anything("float"),
                {.declaration = "varbinary(20)",
                 .values = mixed,
                 .more = "'v$'",
                 .binary = true,
                 .filtered = false,
                 .ranged = false},
                anything("json")},
      .columnNames = kColumnNames,
      .insert = "INSERT OR IGNORE INTO",
      .specialTable = " WITHOUT ROWID",
      .specialNeedsKey = true,
      .partialIndexes = true,
      .indexExpression = "($ || '')",
      .indexCollation = " COLLATE NOCASE",
      .nullablePrimaryKeys = true,
      .viewsCutNames = true,
  };
}

WalkProduct PostgreSqlProduct() {
  const Values texts = With(kTexts, kLineBreaks);
  const Values doubles = {"1.5",
                          "0",
                          "0.1",
                          "-2.25",
                          "1e300",
                          "1.7976931348623157e308",
                          "2.2250738585072014e-308",
                          "'NaN'",
                          "'-0'",
                          "0.30000000000000004",
                          "'Infinity'",
                          "'-Infinity'"};
  const Values singles = {"1.5",   "0",    "0.1",        "-0.1",        "16777216", "3.4028235e38",
                          "'NaN'", "'-0'", "'Infinity'", "'-Infinity'", "1e-45",    "123456.789"};
  const auto plain = [](const char* declaration, const Values& values, const char* more, const char* text = "$") {
    return ColumnType{.declaration = declaration, .values = values, .more = more, .text = text};
  };
  const auto number = [](const char* declaration, Form form, const Values& values) {
    return ColumnType{.declaration = declaration, .form = form, .values = values, .more = "$ / 3.0"};
  };
  // LIKE does not go by the collation.
  const auto folded = [&texts](const char* declaration) {
    return ColumnType{.declaration = declaration, .values = texts, .more = "'v$'"};
  };
  return {
      .name = "PostgreSQL",
      .types = {plain("integer", {"1", "0", "-1", "2147483647", "-2147483648"}, "$"),
                Text("text", With(texts, {"repeat('\xE2\x82\xAC', 9000)"})),
                plain("bigint", {"1", "0", "9223372036854775807", "-9223372036854775808", "9007199254740993"}, "$"),
                plain("smallint", {"1", "0", "32767", "-32768"}, "$"),
                plain("numeric",
                      {"1.5", "1.50", "0", "-0.000000000000000000000000000000000001", "'NaN'", "'Infinity'",
                       "12345678901234567890123456789.123456789", "repeat('9', 300)::numeric"},
                      "$ / 7.0"),
                plain("numeric(30,10)", {"1.5", "12345678901234567890.0123456789", "0", "'NaN'"}, "$ / 7.0"),
                number("real", Form::kSingle, singles),
                number("double precision", Form::kDouble, doubles),
                plain("money", {"0", "'12.5'", "'-92233720368547758.08'", "'92233720368547758.07'"}, "$::money",
                      "$::numeric"),
                plain("boolean", {"true", "false"}, "", "CASE $ WHEN true THEN '1' WHEN false THEN '0' END"),
                plain("date",
                      {"'2020-02-29'", "'0001-01-01'", "'9999-12-31'", "'infinity'", "'-infinity'", "'0044-03-15 BC'"},
                      "date '2020-01-01' + $"),
                plain("time", {"'10:11:12'", "'23:59:59.999999'", "'24:00:00'", "'00:00:00'", "'10:11:12.000001'"},
                      "time '10:00' + interval '$ s'"),
                plain("timetz", {"'10:11:12+00'", "'11:11:12+01'", "'23:59:59.5-10'", "'10:11:12.5+05:30'"},
                      "timetz '10:00+01' + interval '$ s'"),
                plain("timestamp",
                      {"'2020-02-29 10:11:12.987654'", "'2020-02-29 10:11:12.987653'", "'2020-02-29 10:11:12'",
                       "'infinity'", "'-infinity'", "'0044-03-15 10:00 BC'"},
                      "timestamp '2020-01-01' + interval '$ h'"),
                plain("timestamp(0)", {"'2020-02-29 10:11:12'", "'1970-01-01'"},
                      "timestamp '2020-01-01' + interval '$ s'"),
                plain("timestamptz",
                      {"'2020-02-29 10:11:12.987654+02'", "'1970-01-01+00'", "'infinity'", "'-infinity'"},
                      "timestamptz '2020-01-01' + interval '$ h'"),
                plain("interval", {"'1 month'", "'30 days'", "'720:00:00'", "'-3 years 2 mons 10:11:12.5'", "'0'"},
                      "interval '$ h'"),
                plain("char(5)", {"'a'", "''", "'A'", "'a  '", "'ab'", "'it''s'"}, "'v$'", "rpad($::text, 5)"),
                plain("char(1)", {"'x'", "'X'", "'\xF0\x9F\x98\x80'"}, ""),
                Text("varchar(50)", texts),
                Text("text COLLATE \"en-x-icu\"", texts),
                folded("text COLLATE walk_nocase"),
                folded("citext"),
                Text("name", {"'a'", "''", "'A'", "' a'"}),
                plain("\"char\"", {"'x'", "'y'"}, ""),
                plain("bpchar", {"'a'", "''", "'a  '", "'A'"}, "'v$'", "concat($)"),
                plain("bytea", {"'\\x00'", "''", "'\\x0A1B00FF27'", "decode(repeat('00ff', 3000), 'hex')"},
                      "'\\x616263'::bytea || '$'::bytea", "upper(encode($, 'hex'))"),
                plain("uuid", {"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'", "'00000000-0000-0000-0000-000000000000'"},
                      "md5('$')::uuid", "'{' || upper($::text) || '}'"),
                plain("jsonb", {"'{\"a\" : 1}'", "'{\"a\" : 1.0}'", "'null'", "'[]'", "'1'", "'1.00'"}, "'[$]'::jsonb",
                      "concat($)"),
                plain("inet", {"'127.0.0.1'", "'127.0.0.1/24'", "'::1/64'"}, "inet '10.0.0.0' + $", "concat($)"),
                plain("cidr", {"'10.0.0.0/8'", "'10.0.0.0/16'"}, "", "concat($)"),
                plain("macaddr", {"'08:00:2b:01:02:03'"}, "", "concat($)"),
                plain("bit(3)", {"B'010'", "B'111'"}, "", "concat($)"),
                plain("varbit", {"B'010'", "B''", "B'01'"}, "$::bit(8)::varbit", "concat($)"),
                plain("integer[]", {"'{1,NULL,3}'", "'{}'", "'[2:3]={1,2}'", "'{1,2}'"}, "ARRAY[$,1]", "concat($)"),
                plain("text[]", {"'{a,\"b c\",NULL}'", "'{}'"}, "ARRAY['v$']", "concat($)"),
                plain("int4range", {"'[1,5)'", "'empty'", "'[1,)'"}, "int4range($,$+1)", "concat($)"),
                plain("walk_mood", {"'sad'", "'happy \xE2\x82\xAC'", "'Angry'"}, "", "concat($)"),
                {.declaration = "walk_pair",
                 .values = {"'(1,\"b c\")'", "'(,)'", "'(1,)'"},
                 .more = "ROW($,'x')::walk_pair",
                 .text = "CAST($ AS text)",
                 .order = "CAST($ AS text) COLLATE \"C\"",
                 .ranged = false},
                plain("walk_positive", {"1", "2147483647"}, "$ + 1"),
                plain("oid", {"1", "0", "4294967295"}, "$"),
                plain("pg_lsn", {"'16/B374D848'", "'0/0'"}, "", "concat($)"),
                plain("tsvector", {"'a b:3 c'", "''"}, "'v$'", "concat($)"),
                Unordered("json", {"'{\"a\" : 1}'", "'{\"a\":1}'", "'null'"}, "concat($)"),
                Unordered("xml", {"'<a>\xE2\x82\xAC</a>'", "'text'"}, "concat($)"),
                Unordered("point", {"'(1.5,2)'", "'(1,2)'"}, "concat($)"),
                Unordered("polygon", {"'((1,2),(3,4),(5,6))'"}, "concat($)"),
                Unordered("box", {"'(3,4),(1,2)'"}, "concat($)"),
                Unordered("xid", {"'7'", "'0'"}, "concat($)")},
      .columnNames = With(kColumnNames, {"ID", "order"}),
      .insert = "INSERT INTO",
      .insertEnd = " ON CONFLICT DO NOTHING",
      .otherSchema = "walks \"2\"",
      .partialIndexes = true,
      .set =
          "CREATE EXTENSION IF NOT EXISTS citext;"
          "CREATE COLLATION IF NOT EXISTS walk_nocase (provider=icu, locale='und-u-ks-level2', deterministic=false);"
          "DO $$ BEGIN CREATE TYPE walk_mood AS ENUM ('sad', 'happy \xE2\x82\xAC', 'Angry');"
          " CREATE DOMAIN walk_positive AS integer CHECK (VALUE > 0);"
          " CREATE TYPE walk_pair AS (a integer, b text); EXCEPTION WHEN duplicate_object THEN NULL; END $$;"
          "CREATE SCHEMA IF NOT EXISTS \"walks \"\"2\"\"\";",
  };
}

WalkProduct MariaDbProduct() {
  const Values texts = With(With(kTexts, kLineBreaks), {"'a\xCC\x88'", "char(0x610062 using utf8mb4)", "char(1)"});
  const Values bytes = {"x'00'", "x''", "x'0A1B00FF'", "x'61'", "x'6120'"};
  const auto plain = [](const char* declaration, const Values& values, const char* more, const char* text = "$") {
    return ColumnType{.declaration = declaration, .values = values, .more = more, .text = text};
  };
  const auto number = [](const char* declaration, Form form, const Values& values, const char* text = "$") {
    return ColumnType{.declaration = declaration, .form = form, .values = values, .more = "$ / 3.0", .text = text};
  };
  const auto longType = [](ColumnType type) {
    type.keyable = false;
    type.order = "LEFT($, 255)";
    return type;
  };
  const auto byNumber = [](const char* declaration, const Values& values, const char* text = "$",
                           const char* viewOrder = "") {
    return ColumnType{
        .declaration = declaration, .values = values, .text = text, .viewOrder = viewOrder, .ranged = false};
  };
  const auto shownAsText = [](const char* declaration, const Values& values, const char* more) {
    return ColumnType{.declaration = declaration, .values = values, .more = more, .viewOrder = "CAST($ AS CHAR)"};
  };
  // Alike in all that MariaDB sorts a long column by, unless it is told more.
  const Values longTexts = With(texts, {"concat(repeat('x', 300), 'a')", "concat(repeat('x', 300), 'b')",
                                        "concat(repeat('x', 2000), 'a')", "concat(repeat('x', 2000), 'B')"});
  const Values longBytes = With(bytes, {"concat(repeat('x', 2000), 'a')", "concat(repeat('x', 2000), 'b')"});
  return {
      .name = "MariaDB",
      .quoteBefore = "`",
      .quoteAfter = "`",
      .types = {plain("int", {"1", "0", "-1", "2147483647", "-2147483648"}, "$"),
                Text("varchar(50)", texts),
                plain("tinyint", {"1", "0", "127", "-128"}, ""),
                plain("tinyint unsigned", {"1", "0", "255"}, "$"),
                plain("smallint unsigned", {"0", "65535"}, "$"),
                plain("mediumint", {"0", "8388607", "-8388608"}, "$"),
                plain("int unsigned", {"0", "4294967295"}, "$"),
                plain("int(5) zerofill", {"1", "42", "4294967295"}, "$", "$ + 0"),
                plain("bigint", {"1", "9223372036854775807", "-9223372036854775808", "9007199254740993"}, "$"),
                plain("bigint unsigned", {"1", "9223372036854775808", "18446744073709551615"}, "$"),
                plain("decimal(65,30)",
                      {"0", "1.5", "99999999999999999999999999999999999.999999999999999999999999999999",
                       "-0.000000000000000000000000000001"},
                      "$ / 7.0"),
                plain("decimal(10,2)", {"1.5", "0", "-12.50", "99999999.99"}, "$ / 4.0"),
                number("float", Form::kSingle,
                       {"1.5", "0", "0.1", "-0.1", "16777217", "3.4028234e38", "-1.17549435e-38", "123456.789"},
                       "CAST($ AS DOUBLE)"),
                number("double", Form::kDouble,
                       {"1.5", "0", "0.1", "-2.25", "1e300", "1.7976931348623157e308", "2.2250738585072014e-308",
                        "0.30000000000000004"}),
                plain("date", {"'2020-02-29'", "'0001-01-01'", "'9999-12-31'", "'0000-00-00'", "'2020-02-00'"},
                      "date '2020-01-01' + interval $ day", "CAST($ AS CHAR)"),
                plain("time", {"'10:11:12'", "'838:59:59'", "'-10:00:00'", "'00:00:00'"}, "sec_to_time($)",
                      "CAST($ AS CHAR)"),
                plain("time(6)", {"'10:11:12.5'", "'10:11:12'", "'-838:59:59.000001'", "'00:00:00'"},
                      "sec_to_time($ / 7)", "CAST($ AS CHAR)"),
                plain("datetime", {"'2020-02-29 10:11:12'", "'0001-01-01'", "'9999-12-31 23:59:59'", "'0000-00-00'"},
                      "timestamp '2020-01-01 00:00:00' + interval $ second", "CAST($ AS CHAR)"),
                plain("datetime(6)",
                      {"'2020-02-29 10:11:12.987654'", "'2020-02-29 10:11:12.987653'", "'9999-12-31 23:59:59.999999'",
                       "'0000-00-00'"},
                      "timestamp '2020-01-01 00:00:00' + interval $ second", "CAST($ AS CHAR)"),
                plain("timestamp", {"'2020-02-29 10:11:12'", "'2038-01-19 03:14:07'", "'0000-00-00'"},
                      "timestamp '2020-01-01 00:00:00' + interval $ second", "CAST($ AS CHAR)"),
                plain("timestamp(3)", {"'2020-02-29 10:11:12.987'", "'2020-02-29 10:11:12.988'"},
                      "timestamp '2020-01-01 00:00:00' + interval $ second", "CAST($ AS CHAR)"),
                plain("year", {"2020", "1901", "2155", "0"}, "2000 + $", "CAST($ AS CHAR)"),
                Text("char(20)", texts),
                Text("char(1)", {"'x'", "''", "'X'", "'\xF0\x9F\x98\x80'"}, ""),
                Text("varchar(50) COLLATE utf8mb4_bin", texts),
                Text("varchar(50) COLLATE utf8mb4_nopad_bin", texts),
                Text("varchar(50) COLLATE utf8mb4_unicode_ci", texts),
                Text("varchar(50) COLLATE utf8mb4_german2_ci", texts),
                Text("varchar(50) CHARACTER SET latin1", {"'a'", "''", "'A'", "'a '", "'\xC3\x98'"}),
                longType(Text("varchar(4000)", longTexts)),
                longType(Text("text", longTexts)),
                longType(Text("longtext COLLATE utf8mb4_bin", longTexts)),
                longType(plain("tinyblob", bytes, "'b$'", "HEX($)")),
                longType(plain("blob", longBytes, "'b$'", "HEX($)")),
                longType(Text("json", {"'{\"a\": 1}'", "'\"\xE2\x82\xAC\"'", "'{\"a\":1}'"}, "'[$]'")),
                byNumber("enum('b','a','A ','\xC3\x98','')", {"'a'", "'b'", "'\xC3\x98'", "''"}, "$",
                         "CAST($ AS CHAR)"),
                byNumber("set('b','a','\xE2\x82\xAC')", {"'a'", "'b'", "'a,b'", "''", "'b,a,\xE2\x82\xAC'"}, "$",
                         "CAST($ AS CHAR)"),
                byNumber("bit(1)", {"1", "0"}, "$ + 0"),
                byNumber("bit(8)", {"1", "0", "255"}, "$ + 0"),
                byNumber("bit(64)", {"1", "18446744073709551615", "0"}, "$ + 0"),
                shownAsText("uuid",
                            {"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'", "'00000000-0000-0000-0000-000000000000'"},
                            "md5('$')"),
                shownAsText("inet4", {"'127.0.0.1'", "'255.255.255.255'"}, "concat('10.0.0.', $)"),
                shownAsText("inet6", {"'::1'", "'ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff'", "'::'"}, "concat('::', $)"),
                plain("binary(5)", {"x'00'", "x'61'", "x'FFFFFFFFFF'"}, "'b$'", "HEX($)"),
                plain("varbinary(50)", bytes, "'b$'", "HEX($)"),
                Unordered("point", {"ST_GeomFromText('POINT(1 2)')", "ST_GeomFromText('POINT(0 2)')"}, "HEX($)"),
                Unordered("geometry", {"ST_GeomFromText('POINT(1 2)')", "ST_GeomFromText('LINESTRING(1 2,3 4)')"},
                          "HEX($)")},
      .columnNames = kColumnNames,
      .insert = "INSERT IGNORE INTO",
      .meantTable = " ENGINE=MyISAM",  // made quicker than others
      .specialTable = " ENGINE=Aria",
  };
}

WalkProduct StandInProduct() {
  const Values texts = {"'a'", "''", "'A'", "' a'", "'it''s'", "'ab'", "'|'", "'50%_'", "'\xC3\x98'"};
  const auto plain = [](const char* declaration, const Values& values, const char* more) {
    return ColumnType{.declaration = declaration, .values = values, .more = more};
  };
  return {
      .name = "stand-in",
      .types = {plain("integer", {"1", "0", "-1", "2147483647", "-2147483648"}, "$"),
                plain("varchar(50)", texts, "'v$'"),
                plain("smallint", {"1", "0", "32767", "-32768"}, "$"),
                plain("bigint", {"1", "0", "9223372036854775807", "-9223372036854775808"}, "$"),
                plain("double", {"1.5", "0.0", "0.1", "1e300", "0.30000000000000004"}, "$ / 3.0"),
                plain("real", {"1.5", "0.0", "-0.25"}, "$ + 0.25"),
                plain("bit", {"1", "0"}, ""),
                plain("date", {"'2020-02-29'", "'1900-01-01'", "'9999-12-31'"}, "date('2020-01-01', '+$ days')"),
                plain("time", {"'10:11:12'", "'00:00:00'", "'23:59:59'"}, "time('10:00:00', '+$ seconds')"),
                plain("datetime", {"'2020-02-29 10:11:12'", "'1900-01-01 00:00:00'"},
                      "datetime('2020-01-01', '+$ seconds')"),
                {.declaration = "varbinary(20)",
                 .values = {"x'00'", "x'0A1B00FF'", "x'61'"},
                 .more = "CAST('b$' AS BLOB)",
                 .binary = true}},
      .columnNames = {"id", "Name", "a b", "c1", "Upper", "quantity", "Order"},
      .insert = "INSERT OR IGNORE INTO",
      .onlyTables = true,
      .set = "CREATE TABLE Integer (Number integer); INSERT INTO Integer VALUES (1);",  // Navision has it
  };
}

WalkProduct StandInProductWithSchemas() {
  WalkProduct product = StandInProduct();
  product.namePrefix = "dbo.";
  product.identifierBefore = "[TABLE][dbo].[";
  product.identifierAfter = "]";
  return product;
}

}  // namespace ods::test
