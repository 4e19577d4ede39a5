#include "support/HostileRequests.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "catalogue/modKeys.h"
#include "common/Dictionary.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "platform/queue/Queue.h"
#include "platform/xml/Xml.h"

namespace ods::test {
namespace {

using Names = std::vector<std::string>;

/// Random numbers that are the same on every machine (SplitMix64), which those of the standard library's distributions
/// are not.
class Dice {
 public:
  Dice(std::uint64_t seed, std::uint64_t number) : state_(seed) { state_ = Next() + number; }

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }
  /// From 0 to `bound` - 1.
  std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(Next() % bound); }
  std::size_t Between(std::size_t least, std::size_t most) { return least + Below(most - least + 1); }
  bool OneIn(std::size_t chances) { return Below(chances) == 0; }
  bool Percent(std::size_t percent) { return Below(100) < percent; }
  char Byte() { return static_cast<char>(Below(256)); }
  template <typename Container>
  const auto& Pick(const Container& container) {
    return container[Below(std::size(container))];
  }
  template <typename T>
  void Shuffle(std::vector<T>& items) {
    for (std::size_t i = items.size(); i > 1; --i) std::swap(items[i - 1], items[Below(i)]);
  }

 private:
  std::uint64_t state_;
};

// The lists stand in lines, not one text a line.
// clang-format off

/// Texts that end or hide a part of a statement in some product. "{t}" stands for the name of a table that is there, "{c}"
/// for one of its columns.
constexpr std::string_view kInjections[] = {
    "') OR 1=1; DELETE FROM {t} --", "'||(DELETE FROM {t})||'", "' INTO OUTFILE 'flooded.txt' -- ",
    "{t} WHERE 1=1; DROP TABLE {t}", "' UNION SELECT {c} FROM {t} --",
    "' OR '1'='1", "' OR 1=1 --", "\\' OR 1=1 -- ", "\\", "'", "''", "'''", "\"", "\"\"", "`", "]", "[", "]]", "].[",
    ";", "--", "-- comment", "/*", "*/", "/* comment */", "*/ OR 1=1 /*", "/*! DELETE FROM {t} */", "#",
    "{d '2000-01-01'}", "{d '2000-01-01'", "{fn USER()}", "{call x}", "{pred SetFlowFilter, 'a', 'b', 'c'}",
    "{'+'", "{", "}", "{0}", "{0}{0}{0}{0}", "?", "? OR 1=? ", ":id", "@id", "$1", "$$", "$$ OR 1=1 $$",
    "E'\\' OR 1=1'", "U&'\\0027'", "X'27'", "0x27", "0x", "CHAR(39)", "%", "_", "%%%%%%%%%%%%%%%%%%%%",
    "%_%_%_%_%_%_%_%_%_%_", "|", "||", "a|b|c", "|||||||||||||||||", "*", "NULL", "null", "1=1", "ORDER BY 1",
    "LIMIT 0", "TOP 1", "SELECT 1", "$$$$WHERE_MACRO$$$$", "$$$$TOP_MACRO$$$$ $$$$ORDERBY_MACRO$$$$",
    "$$$$FIELDLIST_MACRO$$$$", "KORVANTASUBQUERYNAME", "../../../etc/passwd", "/dev/zero", "%s%n%s%n",
    "concat('a','b')", "'] | //* | //*['", "<XML/>", "]]>", "&amp;", "&lt;!ENTITY", "true", "desc", "DESC",
    "gotonext ", "GOTOFIRST", "\t", " ", "\n", "\r\n", "a\nb"};

/// What ends a literal or a name, the statements that would come behind it, and what hides the rest.
constexpr std::string_view kOpeners[] = {"'", "'", "'", "'", "'", "\"", "\"", "`", "]", "\\'", "\\\\'", ""};
constexpr std::string_view kStatements[] = {
    "DROP TABLE {t}", "DELETE FROM {t}", "DELETE FROM {t}", "UPDATE {t} SET {c}=NULL",
    "INSERT INTO {t} SELECT * FROM {t}", "CREATE TABLE flooded (a INTEGER)", "ALTER TABLE {t} ADD flooded INTEGER",
    "COPY {t} TO 'flooded.txt'", "ATTACH 'flooded.db' AS flooded"};
constexpr std::string_view kClosers[] = {"; --", "; --", " --", "-- ", "; #", "; /*"};

/// Numbers at and beyond the ends of every type, and what only looks like a number.
constexpr std::string_view kNumbers[] = {
    "0", "-0", "1", "-1", "2147483646", "2147483647", "2147483648", "-2147483648", "-2147483649", "4294967295",
    "4294967296", "9223372036854775807", "9223372036854775808", "-9223372036854775808", "18446744073709551616",
    "1e308", "1e309", "-1e309", "1e-400", "1E5", "1e", "NaN", "inf", "-Infinity", "0.1", ".5", "5.", "1.2.3", "1,5",
    "0x7FFFFFFF", "0b1", "007", "+7", " 7 ", "7 OR 1=1", "1_000",
    "99999999999999999999999999999999999999999999999999999999999999999999",
    "0.00000000000000000000000000000000000000000000000000000000000000001", "\xD9\xA3", "true"};

constexpr std::string_view kMoments[] = {
    "2024-02-29", "2023-02-29", "0000-00-00", "0001-01-01", "9999-12-31 23:59:59", "10000-01-01", "-0001-01-01",
    "2024-01-01 24:00:00", "2024-01-01T00:00:00Z", "1899-12-30", "12:34:56", "25:61:61", "838:59:59", "2024-1-1",
    "29.02.2024", "02/29/2024", "infinity", "now", "2024-02-30' OR 1=1 --"};

/// Texts that need care in some coding: two, three and four bytes, marks of direction, what is no character, and
/// what grows or shrinks when its case is changed.
constexpr std::string_view kCharacters[] = {
    "\xC3\x98", "\xD7\x99", "\xE2\x98\x83", "\xF0\x9F\x98\x80", "\xE2\x80\xAE", "\xEF\xBB\xBF", "\xC2\x85", "\xC2\x80",
    "\xEF\xBF\xBD", "\xC5\xBF", "\xC3\x9F", "\xC4\xB0", "e\xCC\x81", "\xEF\xBC\x87", "\xCA\xBC", "\xE2\x80\x99",
    "\xF4\x8F\xBF\xBD", "\xE2\x80\xA8", "\xC2\xA0", "\xC2\xAD", "\xF0\x90\x80\x80'", "\xEF\xBD\x9C", "\xE3\x80\x80--"};

/// Byte sequences that are no UTF-8, or no character of XML.
constexpr std::string_view kBrokenBytes[] = {
    "\xFF", "\xFE\xFF", "\xC0\xA7", "\xC0\x80", "\xE0\x80\xA7", "\xF0\x80\x80\xA7", "\xED\xA0\x80", "\xED\xBF\xBF",
    "\xF5\x80\x80", "\xF4\x90\x80\x80", "\x80", "\xC3", "\xE2\x98", "\xF0\x9F\x98", "\xBF'", "\xEF\xBF\xBE",
    "\xEF\xBF\xBF", "\x01", "\x02", "\x07", "\x08", "\x0B", "\x0C", "\x1A", "\x1B", "\x1F", "\x7F", "\xC3\x28",
    "\xA0\xA1", "\xFC\x80\x80\x80\x80\xA7", {"\0", 1}, {"a\0' OR 1=1", 10}};

// clang-format on

constexpr std::string_view kTypes[] = {"Ping",    "Initialize", "Authorize", "TableList",    "FieldList",
                                       "KeyList", "PrimaryKey", "TableData", "UsersAndRoles"};

constexpr std::string_view kNavigations[] = {"gotofirst", "gotonext", "gotoprev", "gotolast", ""};
constexpr std::string_view kOperators[] = {"eq", "", "lt", "gt", "lteq", "gteq", "not", "like", "flowfilter"};

/// The same with those of exact paging.
constexpr std::string_view kExactOperators[] = {"eq",      "lt",       "gt",         "lteq",    "gteq",
                                                "not",     "like",     "null",       "notnull", "between",
                                                "between", "contains", "startswith", "endswith"};

/// Names of elements that mean something somewhere.
constexpr std::string_view kElements[] = {
    "XML",        "Type",       "TableId",       "Navigate",          "PageSize",   "FirstPos", "LastPos",
    "SortColumn", "SearchText", "SortDirection", "SearchString",      "Filter",     "Fields",   "Field",
    "Id",         "Condition",  "FieldId",       "FilterOp",          "Key",        "UserId",   "PrimaryKey",
    "UserMode",   "Password",   "SearchFields",  "AuthenticatedUser", "DataSession"};

constexpr std::string_view kExactElements[] = {"Value", "Sort", "Column", "Direction", "Count", "Condition", "Filter"};

std::string Tagged(std::string_view name, std::string_view content) {
  return std::string("<").append(name).append(">").append(content).append("</").append(name).append(">");
}

/// The pieces one after the other. They are made in this order, which operands of "+" need not be.
std::string Joined(std::initializer_list<std::string> pieces) {
  std::string text;
  for (const std::string& piece : pieces) text += piece;
  return text;
}

std::string Repeated(std::string_view text, std::size_t times) {
  std::string result;
  result.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

/// One request in the making.
class Draft {
 public:
  Draft(Dice& dice, const std::vector<KnownTable>& tables, bool exact)
      : dice_(dice),
        tables_(tables),
        table_(dice.Pick(tables)),
        page_(FindPage()),
        spoiled_(dice.Pick(kSpoiled)),
        exact_(exact) {}

  std::string Make(std::uint64_t number);

 private:
  static constexpr std::uint64_t kGiants = 8;
  /// Of a hundred values, how many are spoiled: many requests are plain, few have nothing that is right.
  static constexpr std::size_t kSpoiled[] = {0, 0, 0, 3, 8, 8, 15, 30, 100};

  // Texts.
  using TextMaker = std::string (Draft::*)();
  std::string Aimed(std::string_view text);
  std::string Stacked();
  std::string Injection();
  std::string Number() { return std::string(dice_.Pick(kNumbers)); }
  std::string Moment() { return std::string(dice_.Pick(kMoments)); }
  std::string Characters();
  std::string BrokenBytes();
  std::string LongText();
  std::string WildHex();
  std::string KnownName();
  std::string KnownValue() { return table_.values.empty() ? "" : dice_.Pick(table_.values); }
  std::string Empty() { return ""; }
  std::string Composite();
  std::string Hostile();
  std::string Mangled(std::string text);

  // Values of elements: what a client would send, unless it is spoiled.
  bool Spoils() { return spoiled_ > 0 && dice_.Percent(spoiled_); }
  std::string Or(std::string plain) { return Spoils() ? Hostile() : std::move(plain); }
  std::string Column() { return Or(dice_.Pick(table_.columns)); }
  std::string TableIdentifier();
  std::string KeyText(const std::string& plain);
  std::string WildKey();
  std::string Position(const std::string& plain);
  std::string WildPosition();
  Value WildValue();
  std::string PageSize();
  std::string FilterValue();
  std::string Operator() { return std::string(exact_ ? dice_.Pick(kExactOperators) : dice_.Pick(kOperators)); }
  std::string FilterElements(const std::string& filterOperator);
  std::string Sort();

  // Elements.
  std::string Encoded(const std::string& text);
  std::string Element(std::string_view name, const std::string& text) { return Tagged(name, Encoded(text)); }
  std::size_t Crowd(std::size_t usual);
  std::string Conditions();
  std::string SearchFields();
  std::string Fields();
  Names TableDataElements();
  Names AuthorizeElements();
  Names ElementsOf(std::string_view type);
  std::string Type();
  std::string Disturbed(Names elements);

  // Documents.
  std::string Document();
  std::string Attack();
  std::string Broken(std::string document);
  std::string Dressed(const std::string& document);
  std::string Nested(std::size_t depth);
  std::string Absurd();
  std::string Giant(std::uint64_t kind);

  const KnownPage& FindPage() {
    static const KnownPage none;
    return table_.pages.empty() ? none : dice_.Pick(table_.pages);
  }

  Dice& dice_;
  const std::vector<KnownTable>& tables_;
  const KnownTable& table_;
  const KnownPage& page_;
  std::size_t spoiled_;
  bool exact_;
};

// ---- texts ----

/// `text` with names of this database in it.
std::string Draft::Aimed(std::string_view text) {
  const std::string& identifier = dice_.Pick(tables_).identifier;
  const std::string aimed = ReplaceAll(text, "{t}", identifier.substr(identifier.find(']') + 1));
  return ReplaceAll(aimed, "{c}", dice_.Pick(table_.columns));
}

/// A statement behind the end of the server's own.
std::string Draft::Stacked() {
  // A filter of the server stands in three parentheses, a position in one, a search in five.
  constexpr std::size_t kParentheses[] = {0, 1, 2, 3, 3, 3, 4, 5};
  return Aimed(Joined({std::string(dice_.Pick(kOpeners)), std::string(dice_.Pick(kParentheses), ')'), "; ",
                       std::string(dice_.Pick(kStatements)), std::string(dice_.Pick(kClosers))}));
}

std::string Draft::Injection() { return dice_.OneIn(3) ? Stacked() : Aimed(dice_.Pick(kInjections)); }

std::string Draft::Characters() {
  std::string text;
  for (std::size_t count = dice_.Between(1, 6); count > 0; --count) text += dice_.Pick(kCharacters);
  return text;
}

std::string Draft::BrokenBytes() {
  std::string text = KnownName();
  text.insert(dice_.Below(text.size() + 1), dice_.Pick(kBrokenBytes));
  return text;
}

std::string Draft::LongText() {
  constexpr std::string_view kPieces[] = {"A",        "'", "\"", "\\", "%",    "[",  "]",  "{",
                                          "\xC3\x98", "<", "&",  "0",  "\\41", "%s", "%n", "\xF0\x9F\x98\x80"};
  constexpr std::size_t kLengths[] = {129, 256, 1000, 1001, 4097, 8192};
  std::size_t length = dice_.Pick(kLengths);
  if (dice_.OneIn(40)) length *= 16;
  return Repeated(dice_.Pick(kPieces), length);
}

std::string Draft::WildHex() {
  constexpr std::string_view kDigits = "0123456789ABCDEFabcdef";
  std::string text;
  for (std::size_t count = dice_.Below(80); count > 0; --count) text += dice_.Pick(kDigits);
  if (dice_.OneIn(4)) text += dice_.Pick(kInjections);
  return text;
}

std::string Draft::KnownName() {
  const KnownTable& table = dice_.Pick(tables_);
  return dice_.OneIn(3) ? table.identifier : dice_.Pick(table.columns);
}

std::string Draft::Composite() { return Joined({KnownValue(), Injection(), KnownName(), Injection()}); }

std::string Draft::Hostile() {
  constexpr TextMaker kMakers[] = {&Draft::Injection, &Draft::Injection,  &Draft::Injection, &Draft::Number,
                                   &Draft::Number,    &Draft::Moment,     &Draft::Empty,     &Draft::Characters,
                                   &Draft::WildHex,   &Draft::KnownName,  &Draft::KnownName, &Draft::KnownValue,
                                   &Draft::Composite, &Draft::BrokenBytes};
  if (dice_.OneIn(60)) return LongText();
  const std::string text = (this->*dice_.Pick(kMakers))();
  return dice_.OneIn(5) ? Mangled(text) : text;
}

/// A text with some bytes changed, cut, doubled or put in.
std::string Draft::Mangled(std::string text) {
  for (std::size_t rounds = dice_.Between(1, 3); rounds > 0; --rounds) {
    const std::size_t at = dice_.Below(text.size() + 1);
    const std::size_t length = std::min(text.size() - at, dice_.Between(1, 8));
    switch (dice_.Below(6)) {
      case 0:
        text.resize(at);
        break;
      case 1:
        text.erase(at, length);
        break;
      case 2:
        text.insert(at, text.substr(at, length));
        break;
      case 3:
        if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << dice_.Below(7)));
        break;
      case 4:
        text.insert(at, dice_.Pick(kInjections));
        break;
      default:
        text.insert(at, 1, static_cast<char>(dice_.Between(' ', '~')));
    }
  }
  return text;
}

// ---- values ----

std::string Draft::TableIdentifier() {
  const std::string& real = table_.identifier;
  if (!Spoils()) return real;
  std::string name = real.substr(real.find(']') + 1);
  switch (dice_.Below(10)) {
    case 0:
      return Hostile();
    case 1:
      return "[" + Hostile() + "]" + name;  // any word in brackets leads to the table
    case 2:
      return "[TABLE]" + Hostile();
    case 3:
      return "[APPVIEW]" + (dice_.OneIn(2) ? Hostile() : name);
    case 4:
      return "[VIEW]" + name;
    case 5:
      return name;
    case 6:
      return "[TABLE]" + ToUpper(name);
    case 7:
      return "[TABLE][" + Hostile() + "].[" + name + "]";
    case 8:
      return real + Hostile();
    default:
      return Mangled(real);
  }
}

std::string Draft::KeyText(const std::string& plain) { return Spoils() ? WildKey() : plain; }

std::string Draft::WildKey() {
  constexpr std::string_view kBroken[] = {"\\", "\\4", "\\4G", "\\ZZ", "a\\", "\\00", "\\09", "\\09\\09", "\\C3", "\t"};
  switch (dice_.Below(7)) {
    case 0:
      return Hostile();
    case 1:
      return KeyToText({Hostile(), Hostile()});
    case 2:
      return KeyToText(table_.columns);
    case 3:
      return Joined({dice_.Pick(table_.columns), std::string(dice_.Pick(kBroken))});
    case 4:
      return Mangled(table_.primaryKey);
    case 5:
      return dice_.Pick(tables_).primaryKey;
    default: {
      const std::string& column = dice_.Pick(table_.columns);
      Names fields(dice_.Below(60), column);
      for (std::string& field : fields) field += dice_.OneIn(2) ? "" : Number();
      return KeyToText(fields);
    }
  }
}

std::string Draft::Position(const std::string& plain) { return Spoils() ? WildPosition() : plain; }

std::string Draft::WildPosition() {
  const KnownTable& other = dice_.Pick(tables_);
  switch (dice_.Below(7)) {
    case 0:
      return Hostile();
    case 1:
      return WildHex();
    case 2:
      return page_.first.substr(0, dice_.Below(page_.first.size() + 1));
    case 3:
      return Mangled(page_.last);
    case 4:
      return other.pages.empty() ? "" : dice_.Pick(other.pages).last;
    case 5:
      return page_.first + page_.last;
    default: {
      Dictionary position;
      for (const std::string& column : table_.columns) position.Set(column, WildValue());
      const std::string stranger = Hostile();
      position.Set(stranger, WildValue());
      return BytesToHex(position.marshalldictionary());
    }
  }
}

Value Draft::WildValue() {
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kWhole[] = {0, 1, -1, 42, kLeast, -(kLeast + 1), 1LL << 31U, -(1LL << 31U), 1LL << 40U};
  constexpr double kReal[] = {0,
                              -0.0,
                              1.5,
                              1e308,
                              -1e308,
                              5e-324,
                              123456789.123456789,
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()};
  const std::int64_t whole = dice_.Pick(kWhole);
  switch (dice_.Below(10)) {
    case 0:
      return {};
    case 1:
      return Null{};
    case 2:
      return static_cast<std::int32_t>(whole);
    case 3:
      return whole;
    case 4:
      return dice_.Pick(kReal);
    case 5:
      return Currency{whole};
    case 6:
      return Decimal{dice_.OneIn(2) ? "-12345678901234567890.000000001" : Number()};
    case 7:
      return Date{whole, dice_.OneIn(2)};
    case 8:
      return dice_.OneIn(2) ? Value(dice_.OneIn(2)) : Value(HexToBytes("00FF27"));
    default:
      return dice_.OneIn(2) ? Hostile() : KnownValue();
  }
}

std::string Draft::PageSize() {
  constexpr std::string_view kHostile[] = {"0", "-1",  "-2147483648", "2147483647", "2147483648", "1e3",
                                           "",  "ten", "1000",        "2147483646", "0x10",       "5.9"};
  if (Spoils()) return std::string(dice_.OneIn(3) ? Hostile() : dice_.Pick(kHostile));
  return std::to_string(dice_.Between(1, 20));
}

std::string Draft::FilterValue() {
  if (Spoils() && dice_.OneIn(30)) {
    constexpr std::size_t kMost = 200'000;
    const std::string alternative = Hostile() + "|";
    return Repeated(alternative, std::min(dice_.Between(2, 300), kMost / alternative.size() + 1));
  }
  return Or(KnownValue());
}

// ---- elements ----

/// A text as it stands in a document: nearly always in the proper way.
std::string Draft::Encoded(const std::string& text) {
  if (dice_.OneIn(400)) return text;
  if (dice_.OneIn(60)) return "<![CDATA[" + ReplaceAll(text, "]]>", "]]]]><![CDATA[>") + "]]>";
  if (dice_.OneIn(60)) {
    std::string references;
    for (const char c : text) references += "&#" + std::to_string(static_cast<unsigned char>(c)) + ";";
    return references;
  }
  return EscapeXml(text);
}

/// How many of something there are: a handful, or thousands.
std::size_t Draft::Crowd(std::size_t usual) {
  if (spoiled_ == 0 || !dice_.OneIn(150)) return dice_.Below(usual + 1);
  return dice_.OneIn(4) ? dice_.Between(1000, 4000) : dice_.Between(50, 400);
}

std::string Draft::Conditions() {
  std::string text;
  for (std::size_t count = Crowd(2); count > 0; --count) {
    std::string condition = Element("FieldId", Column());
    const std::string filterOperator = Or(Operator());
    condition += Element("FilterOp", filterOperator);
    condition += FilterElements(filterOperator);
    if (Spoils() && dice_.OneIn(6)) condition += Tagged("Condition", condition);
    text += Tagged("Condition", condition);
  }
  return text;
}

/// `Filter`, or several `Value`, or both.
std::string Draft::FilterElements(const std::string& filterOperator) {
  if (!exact_ || dice_.OneIn(3)) return Element("Filter", FilterValue());
  std::string text = dice_.OneIn(8) ? Element("Filter", FilterValue()) : "";
  const std::size_t usual = filterOperator == "between" && !Spoils() ? 2 : 1 + Crowd(3);
  for (std::size_t count = usual; count > 0; --count) text += Element("Value", FilterValue());
  return text;
}

std::string Draft::Sort() {
  constexpr std::string_view kDirections[] = {"asc", "desc", ""};
  std::string text;
  for (std::size_t count = Crowd(3); count > 0; --count) {
    text += Tagged("Column",
                   Joined({Element("Id", Column()), Element("Direction", Or(std::string(dice_.Pick(kDirections))))}));
  }
  return Tagged("Sort", text);
}

std::string Draft::SearchFields() {
  constexpr std::string_view kPatterns[] = {"%{0}%", "{0}%", "{0}", "%"};
  std::string text;
  for (std::size_t count = Crowd(2); count > 0; --count) {
    const std::string pattern = Or(std::string(dice_.Pick(kPatterns)));
    text += Tagged("Field", Joined({Element("Id", Column()), Element("SearchString", pattern)}));
  }
  return text;
}

std::string Draft::Fields() {
  std::string text;
  const std::size_t least = Spoils() ? 0 : 1;
  for (std::size_t count = least + Crowd(4); count > 0; --count) text += Tagged("Field", Element("Id", Column()));
  return text;
}

Names Draft::TableDataElements() {
  Names elements = {Element("TableId", TableIdentifier()), Element("PageSize", PageSize()),
                    Element("Navigate", Or(std::string(dice_.Pick(kNavigations)))), Tagged("Fields", Fields())};
  // A position goes with its sort column; now and then with another.
  const std::string sort = Or(dice_.OneIn(20) ? dice_.Pick(table_.columns) : page_.sortColumn);
  if (!sort.empty()) elements.push_back(Element("SortColumn", sort));
  if (dice_.OneIn(3)) elements.push_back(Element("SortDirection", Or("desc")));
  if (!dice_.OneIn(4)) elements.push_back(Element("FirstPos", Position(page_.first)));
  if (!dice_.OneIn(4)) elements.push_back(Element("LastPos", Position(page_.last)));
  if (!dice_.OneIn(6)) elements.push_back(Element("PrimaryKey", KeyText(table_.primaryKey)));
  if (dice_.OneIn(6)) {
    elements.push_back(Element("Key", KeyText(table_.keys.empty() ? table_.primaryKey : dice_.Pick(table_.keys))));
  }
  if (dice_.OneIn(3)) elements.push_back(Tagged("Filter", Conditions()));
  if (dice_.OneIn(4)) {
    elements.push_back(Element("SearchString", Or("a")));
    elements.push_back(Tagged("SearchFields", SearchFields()));
  }
  // One that is sorted otherwise has no positions yet.
  if (exact_ && dice_.OneIn(4)) {
    if (!dice_.OneIn(4))
      std::erase_if(elements, [](const std::string& element) { return element.find("Pos>") != std::string::npos; });
    elements.push_back(Sort());
  }
  if (exact_ && dice_.OneIn(4)) elements.push_back(Element("Count", Or("1")));
  return elements;
}

Names Draft::AuthorizeElements() {
  constexpr std::string_view kUsers[] = {"ann", "bob", "ANN", "BOB", "nobody"};
  Names elements = {Element("UserId", Or(std::string(dice_.Pick(kUsers)))), Element("Password", Or("open sesame"))};
  if (dice_.OneIn(2)) elements.push_back(Element("AuthenticatedUser", Or(std::string(dice_.Pick(kUsers)))));
  return elements;
}

Names Draft::ElementsOf(std::string_view type) {
  if (type == "TableData") return TableDataElements();
  if (type == "Authorize") return AuthorizeElements();
  if (type == "Initialize") return {Element("UserMode", Or("DETECT"))};
  if (type.ends_with("Key") || type.ends_with("List")) return {Element("TableId", TableIdentifier())};
  return Spoils() ? TableDataElements() : Names();
}

std::string Draft::Type() {
  constexpr std::string_view kUnknownTypes[] = {"Status", "ping", "TABLEDATA", "TableData ", "", "Nonsense", "Halt"};
  if (dice_.OneIn(40)) return dice_.OneIn(2) ? Hostile() : std::string(dice_.Pick(kUnknownTypes));
  return std::string(dice_.Percent(65) ? "TableData" : dice_.Pick(kTypes));
}

/// Elements in their order, or in disorder: shuffled, repeated, missing, one inside the other, under wrong names.
std::string Draft::Disturbed(Names elements) {
  if (spoiled_ > 0 && dice_.OneIn(6)) {
    for (std::size_t rounds = dice_.Between(1, 3); rounds > 0 && !elements.empty(); --rounds) {
      const std::string one = dice_.Pick(elements);
      const std::string_view name = exact_ && dice_.OneIn(2) ? dice_.Pick(kExactElements) : dice_.Pick(kElements);
      switch (dice_.Below(7)) {
        case 0:
          dice_.Shuffle(elements);
          break;
        case 1:
          elements.push_back(one);
          break;
        case 2:
          elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(dice_.Below(elements.size())));
          break;
        case 3:
          elements.push_back(Tagged(name, one));
          break;
        case 4:
          elements.insert(elements.begin(), Element(name, Hostile()));
          break;
        case 5:
          elements.push_back(Tagged(name, Repeated(one, dice_.Between(2, 100))));
          break;
        default:
          elements.push_back("<!-- " + ReplaceAll(EscapeXml(Injection()), "-", "") + " --><?a b?>text");
      }
    }
  }
  std::string text;
  for (const std::string& element : elements) text += element;
  return text;
}

// ---- documents ----

std::string Draft::Document() {
  const std::string type = Type();
  Names elements = ElementsOf(type);
  elements.insert(elements.begin(), Element("Type", type));
  return Tagged("XML", Disturbed(std::move(elements)));
}

/// A plain request but for one value, which carries a statement.
std::string Draft::Attack() {
  const std::string attack = Stacked();
  const std::string shown = EscapeXml(attack);
  const std::string column = EscapeXml(dice_.Pick(table_.columns));
  std::string table = table_.identifier;
  std::string field = column;
  std::string more;
  const std::string_view valueName = exact_ && dice_.OneIn(2) ? "Value" : "Filter";
  const auto condition = [&](const std::string& fieldId, std::string_view op, const std::string& value) {
    return Tagged("Filter",
                  Tagged("Condition", Tagged("FieldId", fieldId) + Tagged("FilterOp", op) + Tagged(valueName, value)));
  };
  const auto search = [&](const std::string& text, const std::string& pattern) {
    return Tagged("SearchString", text) +
           Tagged("SearchFields", Tagged("Field", Tagged("Id", column) + Tagged("SearchString", pattern)));
  };
  switch (dice_.Below(12)) {
    case 0:
    case 1:
    case 2:
      more = condition(column, Operator(), shown);
      break;
    case 3:
      more = condition(shown, "eq", "1");
      break;
    case 4:
      more = search(shown, "%{0}%");
      break;
    case 5:
      more = search("a", shown);
      break;
    case 6:
      more = exact_ && dice_.OneIn(2) ? Tagged("Sort", Tagged("Column", Tagged("Id", shown)))
                                      : Tagged("SortColumn", shown);
      break;
    case 7:
      more = Tagged("Key", KeyToText({attack}));
      break;
    case 8:
      field = shown;
      break;
    case 9:
      table += attack;
      break;
    default: {
      Dictionary position;
      for (const std::string& key : TextToKey(table_.primaryKey)) position.Set(key, attack);
      more = "<Navigate>gotonext</Navigate>" + Tagged("LastPos", BytesToHex(position.marshalldictionary()));
    }
  }
  return Tagged("XML", "<Type>TableData</Type><PageSize>5</PageSize>" + Tagged("TableId", EscapeXml(table)) +
                           Tagged("PrimaryKey", table_.primaryKey) + more +
                           Tagged("Fields", Tagged("Field", Tagged("Id", field))));
}

/// A document that something happened to on its way.
std::string Draft::Broken(std::string document) {
  for (std::size_t rounds = dice_.Between(1, 4); rounds > 0; --rounds) {
    const std::size_t at = dice_.Below(document.size() + 1);
    switch (dice_.Below(7)) {
      case 0:
        document.resize(at);
        break;
      case 1:
        document.erase(at, dice_.Between(1, 40));
        break;
      case 2:
        document.insert(at, document.substr(at, dice_.Between(1, 60)));
        break;
      case 3:
        if (at < document.size()) document[at] = dice_.Byte();
        break;
      case 4:
        document.insert(at, dice_.Pick(kBrokenBytes));
        break;
      case 5:
        document.insert(at, Joined({"<", std::string(dice_.Pick(kElements)), dice_.OneIn(2) ? ">" : "/>"}));
        break;
      default:
        document += document.substr(0, at);
    }
  }
  return document;
}

/// A document in a form that XML has, or nearly has.
std::string Draft::Dressed(const std::string& document) {
  const std::string attribute = " a=\"" + ReplaceAll(EscapeXml(Injection()), "\"", "&quot;") + "\"";
  switch (dice_.Below(14)) {
    case 0:
      return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + document;
    case 1:
      return "\xEF\xBB\xBF" + document;
    case 2:
      return "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + document;
    case 3:
      return "<!DOCTYPE XML [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>" +
             ReplaceAll(document, "</XML>", "<UserId>&e;</UserId></XML>");
    case 4:
      return "<!DOCTYPE XML SYSTEM \"http://127.0.0.1:9/x.dtd\">" + document;
    case 5:
      return ReplaceAll(document, "<XML>", "<XML" + attribute + attribute + ">");
    case 6:
      return ReplaceAll(document, "<XML>", "<XML xmlns=\"urn:x\" xml:space=\"preserve\"" + attribute + ">\n ");
    case 7:
      return ReplaceAll(document, "XML>", "xml>");
    case 8:
      return document + document;
    case 9:
      return Tagged("Outer", document);
    case 10:
      return ReplaceAll(document, "<", "\n  <");
    case 11:
      return document + " " + Hostile();
    case 12: {
      std::string wide;  // each byte as a character of UTF-16
      for (const char c : document) wide.append(1, c).append(1, '\0');
      return "\xFF\xFE" + wide;
    }
    default:
      return ReplaceAll(document, "</Type>", "</Type><!-- <Type>Ping</Type> -->");
  }
}

std::string Draft::Nested(std::size_t depth) {
  const std::string name(dice_.Pick(kElements));
  const std::string closing = dice_.OneIn(8) ? "" : Repeated("</" + name + ">", depth);
  return Tagged("XML", Joined({Element("Type", std::string(dice_.Pick(kTypes))), Repeated("<" + name + ">", depth),
                               dice_.OneIn(2) ? Element("TableId", TableIdentifier()) : "", closing}));
}

/// What is no request at all, or one of absurd proportions.
std::string Draft::Absurd() {
  constexpr std::string_view kScraps[] = {"",
                                          " ",
                                          "\n\n",
                                          "<XML/>",
                                          "<XML></XML>",
                                          "<a/>",
                                          "<",
                                          "&",
                                          "<!---->",
                                          "<?xml?>",
                                          "<XML>",
                                          "</XML>",
                                          "[]",
                                          "{\"a\":1}",
                                          "Type=Ping",
                                          "<![CDATA[",
                                          "<XML><Type/></XML>"};
  constexpr std::size_t kDepths[] = {100, 250, 255, 256, 257, 1000, 20'000};
  constexpr std::size_t kMany[] = {10, 255, 256, 257, 2000};
  const std::string type = Element("Type", std::string(dice_.Pick(kTypes)));
  const std::size_t many = dice_.Pick(kMany);
  switch (dice_.Below(8)) {
    case 0:
    case 1:
      return std::string(dice_.Pick(kScraps));
    case 2: {
      std::string bytes;
      for (std::size_t count = dice_.Below(600); count > 0; --count) bytes += dice_.Byte();
      return bytes;
    }
    case 3:
      return Nested(dice_.Pick(kDepths));
    case 4: {
      std::string attributes;
      for (std::size_t i = 0; i < many; ++i) attributes += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
      return "<XML" + attributes + ">" + type + "</XML>";
    }
    case 5: {
      // Entities that would grow without end.
      std::string entities = "<!ENTITY a \"aaaaaaaaaa\">";
      for (char name = 'b'; name < 'k'; ++name) {
        const std::string before = std::string("&") + static_cast<char>(name - 1) + ";";
        entities += std::string("<!ENTITY ") + name + " \"" + Repeated(before, 10) + "\">";
      }
      return "<!DOCTYPE XML [" + entities + "]>" + Tagged("XML", type + "<TableId>&j;</TableId>");
    }
    case 6:
      return Tagged("XML", type + Tagged(std::string(dice_.Between(900, 1100), 'n'), "x"));
    default:
      return Tagged("XML", Repeated(type, many) + Repeated("<b/>", 10 * many));
  }
}

/// Megabytes: of elements, of a position, of a name, of text; and one message that is larger than any may be.
std::string Draft::Giant(std::uint64_t kind) {
  constexpr std::size_t kSize = 1'500'000;
  const auto oneField = [](const std::string& field) { return Tagged("Fields", Tagged("Field", Tagged("Id", field))); };
  const std::string field = EscapeXml(table_.columns.front());
  const std::string identifier = EscapeXml(table_.identifier);
  const std::string page = "<Type>TableData</Type><PageSize>2</PageSize>" + Tagged("TableId", identifier) +
                           Tagged("PrimaryKey", table_.primaryKey) + oneField(field);
  const std::string type = Element("Type", std::string(dice_.Pick(kTypes)));
  switch (kind) {
    case 0:
      return Tagged("XML", page + Repeated("<b/>", kSize / 4));
    case 1:
      return Tagged("XML", page + Tagged("LastPos", Repeated("0F", kSize / 2)) + "<Navigate>gotonext</Navigate>");
    case 2:
      return Tagged("XML", type + Tagged("TableId", "[" + std::string(kSize, 'x') + "]" +
                                                        identifier.substr(identifier.find(']') + 1)));
    case 3:
      return Tagged("XML", type + Tagged("TableId", "[TABLE]" + std::string(kSize, 't')));
    case 4:
      return Tagged("XML", "<Type>Authorize</Type>" + Tagged("UserId", std::string(kSize, '\'')));
    case 5:
      return Tagged("XML", Tagged("Type", std::string(kSize, 'T')));
    case 6:
      // Twice as long in the statement, which is longer than all others then: drivers keep a buffer of that size. An
      // exact filter takes any text of any column for what a value contains only.
      return Tagged("XML",
                    page + Tagged("Filter", Tagged("Condition", Tagged("FieldId", field) +
                                                                    (exact_ ? Tagged("FilterOp", "contains") : "") +
                                                                    Tagged("Filter", std::string(3 * kSize, '\'')))));
    default:
      return Tagged("XML", "<Type>Ping</Type>" + std::string(kMaxMessageBytes, ' '));
  }
}

std::string Draft::Make(std::uint64_t number) {
  // The largest come at the beginning of every two thousand: whatever they leave behind is there early.
  if (number % 2000 < kGiants) return Giant(number % 2000);
  if (dice_.OneIn(25)) return Absurd();
  if (dice_.OneIn(6)) return Attack();
  const std::string document = Document();
  if (spoiled_ > 0 && dice_.OneIn(12)) return Broken(document);
  return dice_.OneIn(20) ? Dressed(document) : document;
}

}  // namespace

HostileRequests::HostileRequests(std::uint64_t seed, std::vector<KnownTable> tables, bool exact)
    : seed_(seed), tables_(std::move(tables)), exact_(exact) {}

std::string HostileRequests::Make(std::uint64_t number) const {
  Dice dice(seed_, number);
  return Draft(dice, tables_, exact_).Make(number);
}

}  // namespace ods::test
