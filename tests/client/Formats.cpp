#include "Formats.h"

#include <gtest/gtest.h>

namespace odbc_data {
namespace {

const std::vector<SheetColumn> kColumns = {
    {"no", ColumnKind::kNumber}, {"na\"me", ColumnKind::kText}, {"on", ColumnKind::kBoolean}};

std::string Written(RowWriter& writer, const std::vector<Row>& rows, bool continued = false) {
  std::string text;
  writer.Begin(text, kColumns, continued);
  for (const Row& row : rows) writer.Write(text, row);
  writer.End(text);
  return text;
}

const Cell kNull = {.text = "", .isNull = true};

TEST(Csv, QuotesWhatNeedsItAndTellsNullFromEmpty) {
  const auto writer = MakeCsvWriter("\r\n");
  EXPECT_EQ(Written(*writer, {{{.text = "1"}, {.text = "plain text"}, {.text = "1"}},
                              {{.text = "-2.50"}, {.text = "a,b"}, {.text = "0"}},
                              {{.text = "3"}, {.text = "say \"hi\""}, kNull},
                              {kNull, {.text = "two\nlines\r\n"}, kNull},
                              {kNull, {.text = ""}, kNull},
                              {kNull, kNull, kNull}}),
            "no,\"na\"\"me\",on\r\n"
            "1,plain text,1\r\n"
            "-2.50,\"a,b\",0\r\n"
            "3,\"say \"\"hi\"\"\",\r\n"
            ",\"two\nlines\r\n\",\r\n"
            ",\"\",\r\n"
            ",,\r\n");
}

TEST(Csv, GoesOnWithoutAHeaderAndEndsLinesAsTold) {
  EXPECT_EQ(Written(*MakeCsvWriter("\n"), {{{.text = "1"}, {.text = "x"}, kNull}}, true), "1,x,\n");
}

TEST(Json, KeepsNumbersNullsAndBooleans) {
  EXPECT_EQ(Written(*MakeJsonWriter(), {{{.text = "12345678901234567890.123450"}, {.text = "12"}, {.text = "1"}},
                                        {{.text = "1E-05"}, kNull, {.text = "0"}},
                                        {{.text = "NaN"}, {.text = ""}, kNull},
                                        {kNull, {.text = "x"}, {.text = "2"}}}),
            "[\n"
            "{\"no\":12345678901234567890.123450,\"na\\\"me\":\"12\",\"on\":true},\n"
            "{\"no\":1E-05,\"na\\\"me\":null,\"on\":false},\n"
            "{\"no\":\"NaN\",\"na\\\"me\":\"\",\"on\":null},\n"
            "{\"no\":null,\"na\\\"me\":\"x\",\"on\":\"2\"}\n"
            "]\n");
  EXPECT_EQ(Written(*MakeJsonWriter(), {}), "[\n]\n");
}

TEST(Json, GoesOnInTheMiddleOfAnArray) {
  std::string text;
  auto first = MakeJsonWriter();
  first->Begin(text, kColumns, false);
  first->Write(text, {{.text = "1"}, kNull, kNull});
  auto second = MakeJsonWriter();
  second->Begin(text, kColumns, true);
  second->Write(text, {{.text = "2"}, kNull, kNull});
  second->End(text);
  EXPECT_EQ(text, "[\n{\"no\":1,\"na\\\"me\":null,\"on\":null},\n{\"no\":2,\"na\\\"me\":null,\"on\":null}\n]\n");
}

TEST(Json, EscapesText) {
  EXPECT_EQ(JsonText(""), "\"\"");
  EXPECT_EQ(JsonText("\"\\/\b\f\n\r\t\x01\x1F\x7F"), "\"\\\"\\\\/\\u0008\\u000c\\n\\r\\t\\u0001\\u001f\\u007f\"");
  EXPECT_EQ(JsonText("\xC3\x85 \xF0\x9F\x98\x80"), "\"\xC3\x85 \xF0\x9F\x98\x80\"");
  EXPECT_EQ(JsonText(std::string_view("a\0b", 3)), "\"a\\u0000b\"");
  EXPECT_EQ(JsonText("a\xFF\xC3"), "\"a\xEF\xBF\xBD\xEF\xBF\xBD\"") << "no UTF-8";
}

TEST(Json, KnowsItsNumbers) {
  for (const char* number : {"0", "-0", "1", "-12", "0.5", "1.50", "1E-05", "1e5", "1E+400", "-1.5e10"}) {
    EXPECT_TRUE(IsJsonNumber(number)) << number;
  }
  for (const char* text : {"", "-", "01", "+1", ".5", "1.", "1e", "1E+", "0x1", "NaN", "Infinity", "1 ", " 1", "1,5"}) {
    EXPECT_FALSE(IsJsonNumber(text)) << text;
  }
}

TEST(Ndjson, IsAnObjectALine) {
  EXPECT_EQ(Written(*MakeNdjsonWriter(), {{{.text = "1"}, {.text = "a\nb"}, kNull}, {kNull, kNull, kNull}}),
            "{\"no\":1,\"na\\\"me\":\"a\\nb\",\"on\":null}\n{\"no\":null,\"na\\\"me\":null,\"on\":null}\n");
}

TEST(Xml, IsWrittenAsTheServerWritesIt) {
  EXPECT_EQ(Written(*MakeXmlWriter(), {{{.text = "1"}, {.text = "<&>\r\n"}, kNull},
                                       {{.text = "2"}, {.text = "00", .isNull = false, .isHex = true}, {.text = ""}}}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Records>\n"
            "<R><V Id=\"no\">1</V><V Id=\"na&quot;me\">&lt;&amp;&gt;&#13;\n</V><V Id=\"on\"><Null/></V></R>\n"
            "<R><V Id=\"no\">2</V><V Id=\"na&quot;me\" Encoding=\"hex\">00</V><V Id=\"on\"></V></R>\n"
            "</Records>\n");
}

TEST(Markdown, StaysInItsCells) {
  EXPECT_EQ(Written(*MakeMarkdownWriter(), {{{.text = "1"}, {.text = "a|b*c\r\nd<e>\ne\\"}, kNull}}),
            "| no | na\"me | on |\n| ---: | --- | --- |\n| 1 | a\\|b\\*c<br>d&lt;e><br>e\\\\ | *null* |\n");
}

TEST(PlainText, TurnsBackWhatXmlCouldNotCarry) {
  EXPECT_EQ(PlainText({.text = "6100", .isNull = false, .isHex = true}), std::string("a\0", 2));
  EXPECT_EQ(PlainText({.text = "FF", .isNull = false, .isHex = true}), "FF") << "bytes that are no text stay digits";
  EXPECT_EQ(PlainText({.text = "6100"}), "6100");
  EXPECT_EQ(Written(*MakeNdjsonWriter(), {{kNull, {.text = "6101", .isNull = false, .isHex = true}, kNull}}),
            "{\"no\":null,\"na\\\"me\":\"a\\u0001\",\"on\":null}\n");
}

}  // namespace
}  // namespace odbc_data
