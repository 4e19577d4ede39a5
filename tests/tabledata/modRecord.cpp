#include "tabledata/modRecord.h"

#include <cmath>
#include <gtest/gtest.h>

#include "common/Text.h"
#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"
#include "tabledata/RecordsText.h"
#include "tabledata/modDecimalFactor.h"

namespace ods::test {
namespace {

using ::testing::_;

class Record : public ::testing::Test {
 protected:
  Record() { fake_.state.decimalFactor = 1; }
  /// The element of a value, without its attribute.
  [[nodiscard]] std::string Element(std::int32_t type, const Value& value) {
    const RecordRules rules = {.decimalFactor = fake_.state.decimalFactor,
                               .spellsDateFormulas = fake_.session.navisionOnSqlServer == "1",
                               .ui = &fake_.ui};
    TextBuffer xml;
    FieldWriter("no", type, rules).Append(xml, ViewOf(value));
    return ReplaceAll(xml.View(), " Id=\"no\"", "");
  }

  FakeSession fake_;
};

struct ElementCase {
  std::int32_t type;
  Value value;
  std::string element;
};

TEST_F(Record, WritesEveryTypeOfColumn) {
  const Date early = *Date::FromParts({33, 1, 2, 3, 4, 5});
  const ElementCase cases[] = {
      {0, "ignored", "<V/>"},
      {2, 12, "<V>12</V>"},
      {3, -7, "<V>-7</V>"},
      {16, 1, "<V>1</V>"},
      {17, 255, "<V>255</V>"},
      {18, 65535, "<V>65535</V>"},
      {19, std::int64_t{4294967295}, "<V>4294967295</V>"},
      {20, std::int64_t{-9223372036854775807}, "<V>-9223372036854775807</V>"},
      {21, Decimal{"18446744073709551615"}, "<V>18446744073709551615</V>"},
      {4, 0.5, "<V>0.5</V>"},
      {5, 1e-5, "<V>1E-05</V>"},
      {5, 1e20, "<V>1E+20</V>"},
      {5, "2.50", "<V>2.5</V>"},
      {6, Currency{125000}, "<V>12.5</V>"},
      {14, Decimal{"12.50"}, "<V>12.50</V>"},
      {131, Decimal{"-0.10"}, "<V>-0.10</V>"},
      {131, "NaN", "<V>NaN</V>"},
      {131, "-Infinity", "<V>-Infinity</V>"},
      {4, std::nan(""), "<V>NaN</V>"},
      {5, std::nan(""), "<V>NaN</V>"},
      {5, HUGE_VAL, "<V>Infinity</V>"},
      {5, -HUGE_VAL, "<V>-Infinity</V>"},
      {131, "", "<V>0</V>"},
      {131, 3, "<V>3</V>"},
      {7, early, "<V>0033-01-02 03:04:05</V>"},
      {12, 2.5, "<V>2.5</V>"},
      {12, true, "<V>True</V>"},
      {8, "x", "<V>x</V>"},
      {72, "{0A}", "<V>{0A}</V>"},
      {129, "a<&>\"'b", "<V>a&lt;&amp;&gt;\"'b</V>"},
      {130, "", "<V/>"},
      {200, "line\r\nbreak", "<V>line&#13;\nbreak</V>"},
      {201, "Zoë 😀", "<V>Zoë 😀</V>"},
      {202, " ", "<V> </V>"},
      {203, Value(), "<V/>"},
      {128, Bytes{0x0A, 0x1B}, "<V>0A1B</V>"},
      {204, Bytes{}, "<V/>"},
      {205, Bytes{0xFF}, "<V>FF</V>"},
      {64, Bytes{1}, "<V>01</V>"},
      {9, Value(), "<V/>"},
      {10, Bytes{3}, "<V>03</V>"},
      {13, Bytes{4}, "<V>04</V>"},
      {132, Bytes{5}, "<V>05</V>"},
      {136, Bytes{6}, "<V>06</V>"},
      {138, Bytes{7}, "<V>07</V>"},
      {139, Bytes{2}, "<V>02</V>"},
      {1, "text", "<V>text</V>"},
      {205 + 1, 5, "<V>5</V>"},
      {999, "x", "<V>x</V>"},
  };
  for (const ElementCase& expected : cases) {
    EXPECT_EQ(Element(expected.type, expected.value), expected.element) << "type " << expected.type;
  }
}

TEST_F(Record, AMomentIsADateATimeOrBothByTheColumn) {
  const Date moment = *Date::FromParts({2024, 2, 5, 7, 8, 9});
  EXPECT_EQ(Element(7, moment), "<V>2024-02-05 07:08:09</V>");
  EXPECT_EQ(Element(133, moment), "<V>2024-02-05</V>");
  EXPECT_EQ(Element(134, moment), "<V>07:08:09</V>");
  EXPECT_EQ(Element(135, moment), "<V>2024-02-05 07:08:09</V>");
  Date day = *Date::FromParts({2024, 2, 5, 0, 0, 0});
  day.dateOnly = true;
  EXPECT_EQ(Element(133, day), "<V>2024-02-05</V>");
}

TEST_F(Record, ABooleanIsOneOrZero) {
  EXPECT_EQ(Element(11, true), "<V>1</V>");
  EXPECT_EQ(Element(11, false), "<V>0</V>");
}

TEST_F(Record, ANullInAnyColumnDiffersFromAnEmptyText) {
  for (std::int32_t type = 0; type <= 300; ++type) EXPECT_EQ(Element(type, Null()), "<V><Null/></V>") << type;
  EXPECT_EQ(Element(202, ""), "<V/>");
}

TEST_F(Record, ScalesDecimalsByTheFactor) {
  fake_.state.decimalFactor = kScaledDecimalFactor;
  for (const std::int32_t type : {4, 5, 6, 14, 131}) EXPECT_EQ(Element(type, 1250000.0), "<V>12.5</V>") << type;
  EXPECT_EQ(Element(14, Decimal{"1250000"}), "<V>12.5</V>");
  EXPECT_EQ(Element(5, 1.0), "<V>1E-05</V>");
  EXPECT_EQ(Element(5, 33000.0), "<V>0.33</V>");
  EXPECT_EQ(Element(3, 1250000), "<V>1250000</V>") << "integers are never scaled";
}

TEST_F(Record, TellsTheDesktopThatTheFactorIsMissing) {
  fake_.state.decimalFactor = 0;
  EXPECT_EQ(Element(5, 2.5), "<V>0</V>");
  EXPECT_EQ(fake_.ui.calls, std::vector<std::string>{"information: : No decimal factor set"});
}

TEST_F(Record, MarksTextThatXmlCannotCarry) {
  EXPECT_EQ(Element(200, "a\x01"), "<V>?</V>");
  EXPECT_EQ(Element(202, "\xFF"), "<V>?</V>");
  EXPECT_EQ(Element(12, "\xEF\xBF\xBF"), "<V>?</V>");
}

TEST_F(Record, SpellsDateFormulasOfNavisionInSqlServer) {
  fake_.session.navisionOnSqlServer = "1";
  EXPECT_EQ(Element(200, "1\x01+2\x02-3\x03*4\x04+5\x05-6\x06*7\x07"), "<V>1C+2D-3WD*4W+5M-6Q*7Y</V>");
  EXPECT_EQ(Element(200, "\x01\x08"), "<V>?</V>") << "what still cannot be carried stays marked";
  fake_.session.navisionOnSqlServer = "0";
  EXPECT_EQ(Element(200, "1\x02"), "<V>?</V>");
}

TEST_F(Record, RefusesATextThatXmlCannotCarryInAColumnOfNumbers) {
  EXPECT_RAISES(Element(3, "\x01"), error_number::kGeneralFailure,
                "The text for 'V' holds a character that XML cannot carry");
}

TEST(FieldWriterTest, NamesTheColumnAsAnAttribute) {
  const auto element = [](const std::string& field, const Value& value) {
    TextBuffer xml;
    xml.Append("before");
    FieldWriter(field, ado_type::kVarWChar, {}).Append(xml, ViewOf(value));
    return std::string(xml.View());
  };
  EXPECT_EQ(element("No.", "a"), "before<V Id=\"No.\">a</V>");
  EXPECT_EQ(element("No.", ""), "before<V Id=\"No.\"/>");
  EXPECT_EQ(element("No.", Null()), "before<V Id=\"No.\"><Null/></V>");
  EXPECT_EQ(element("Größe", "ß"), "before<V Id=\"Größe\">ß</V>");
  EXPECT_EQ(element("a<b>&\"c\"'", "d"), "before<V Id=\"a&lt;b>&amp;&quot;c&quot;'\">d</V>");
  EXPECT_EQ(element("a\tb\nc\rd", "e"), "before<V Id=\"a&#09;b&#10;c&#13;d\">e</V>");
  EXPECT_RAISES(element("a\x01", "b"), error_number::kGeneralFailure, _);
}

TEST(ValueMarkupTest, MarksBytes) {
  TextBuffer xml;
  const ValueMarkup markup("data");
  markup.AppendHex(xml, std::string_view("\0\xFF", 2));
  markup.AppendHex(xml, "");
  EXPECT_EQ(xml.View(), "<V Id=\"data\" Encoding=\"hex\">00FF</V><V Id=\"data\" Encoding=\"hex\"/>");
}

TEST(RecordsTextTest, RowsThatAreReadInReverseAreTurnedRound) {
  for (const bool reverse : {false, true}) {
    RecordsText records(reverse);
    for (const char* const text : {"a", "", "bcd", "ef"}) {
      records.BeginRow();
      records.AddValue([&](TextBuffer& xml) { xml.Append(text); });
      records.EndRow();
    }
    EXPECT_EQ(records.Take().View(),
              reverse ? "<R>ef</R><R>bcd</R><R></R><R>a</R>" : "<R>a</R><R></R><R>bcd</R><R>ef</R>");
    EXPECT_EQ(RecordsText(reverse).Take().Size(), 0U);
  }
}

TEST(RecordsTextTest, EndsAPageThatNoResponseCanCarry) {
  RecordsText records(false);
  records.BeginRow();
  const std::string half(kMaxResponseBytes / 2, 'x');
  records.AddValue([&](TextBuffer& xml) { xml.Append(half); });
  EXPECT_RAISES(records.AddValue([&](TextBuffer& xml) { xml.Append(half); }), error_number::kOwn,
                ::testing::StartsWith("The response is larger than"));
  RecordsText many(false);
  many.BeginRow();
  for (std::size_t i = 0; i < kMaxResponseValues; ++i) many.AddValue([](TextBuffer& /*xml*/) {});
  EXPECT_RAISES(many.AddValue([](TextBuffer& /*xml*/) {}), error_number::kOwn,
                ::testing::StartsWith("The response has more than"));
}

TEST_F(Record, RefusesAnythingButBytesInABinaryColumn) {
  EXPECT_RAISES(Element(205, 7), error_number::kTypeMismatch, _);
}

}  // namespace
}  // namespace ods::test
