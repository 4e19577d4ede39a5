// Prints the rows of the sample trading company as INSERT statements for one product: the same bytes every time and on
// every machine. So there are no library distributions and no floating-point arithmetic in here: numbers with a
// fraction are counted in their smallest unit and written digit by digit.
//
// The tables are in schema-<product>.sql. The rows are chosen to be awkward: names with quotes, markup, wild cards,
// braces and characters beyond the basic plane, nulls in every column that allows them, and numbers and dates at the
// ends of their ranges.
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Row = std::vector<std::string>;

enum class Product { kSqlite, kPostgresql, kMariadb };

constexpr int kCustomers = 2000;
constexpr int kItems = 300;
constexpr int kOrders = 5000;
constexpr int kEmployees = 60;
constexpr int kJournalRows = 400;
constexpr int kTypeRows = 40;
constexpr int kOddRows = 30;

/// The keys of the rows at `index` (from 0). The numbers have gaps.
constexpr int CustomerNo(int index) { return 1000 + 3 * index; }
constexpr int OrderNo(int index) { return 100000 + 2 * index; }

/// How many lines an order has: 20,000 lines in all, between 1 and 7 an order.
constexpr int LineCount(int orderIndex) {
  constexpr std::array<int, 7> kPattern{5, 3, 1, 7, 2, 6, 4};
  return kPattern[static_cast<std::size_t>(orderIndex) % kPattern.size()];
}

/// A small generator of evenly spread numbers (the SplitMix64 step).
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }
  /// A number from `low` to `high`, both included.
  std::int64_t Between(std::int64_t low, std::int64_t high) {
    const auto span = static_cast<std::uint64_t>(high - low) + 1;
    return low + static_cast<std::int64_t>((Next() >> 1U) % span);
  }
  bool OneIn(int count) { return Between(1, count) == 1; }
  std::string_view Pick(std::span<const std::string_view> texts) {
    return texts[static_cast<std::size_t>(Between(0, static_cast<std::int64_t>(texts.size()) - 1))];
  }

 private:
  std::uint64_t state_;
};

// ---------------------------------------------------------------------------------------------------------- literals

const std::string kNull = "NULL";

std::string Quoted(std::string_view text, char quote) {
  std::string result(1, quote);
  for (const char character : text) {
    result += character;
    if (character == quote) {
      result += quote;
    }
  }
  result += quote;
  return result;
}

std::string Text(std::string_view text) { return Quoted(text, '\''); }
std::string Name(std::string_view name) { return Quoted(name, '"'); }
std::string Integer(std::int64_t number) { return std::to_string(number); }
std::string Boolean(bool value) { return value ? "TRUE" : "FALSE"; }

/// `number` with its last `count` digits padded with zeros to the left.
std::string Digits(std::int64_t number, std::size_t count) {
  std::string digits = std::to_string(number);
  return digits.size() < count ? std::string(count - digits.size(), '0') + digits : digits;
}

/// A decimal number from its smallest units: Decimal(-12345, 2) is -123.45.
std::string Decimal(std::int64_t units, std::size_t scale) {
  std::string digits = Digits(units < 0 ? -units : units, scale + 1);
  digits.insert(digits.size() - scale, 1, '.');
  return (units < 0 ? "-" : "") + digits;
}

/// `hex` holds two digits a byte.
std::string Bytes(Product product, const std::string& hex) {
  return product == Product::kPostgresql ? "'\\x" + hex + "'" : "X'" + hex + "'";
}

std::string RandomHex(Random& random, std::int64_t bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string hex;
  for (std::int64_t i = 0; i < 2 * bytes; ++i) {
    hex += kDigits[static_cast<std::size_t>(random.Between(0, 15))];
  }
  return hex;
}

/// A day as yyyy-mm-dd, counted from `firstYear`-01-01.
std::string Day(int firstYear, std::int64_t days) {
  using std::chrono::year_month_day;
  const std::chrono::sys_days first = std::chrono::year{firstYear} / std::chrono::January / 1;
  const year_month_day day{first + std::chrono::days{days}};
  return Digits(static_cast<int>(day.year()), 4) + "-" + Digits(static_cast<unsigned>(day.month()), 2) + "-" +
         Digits(static_cast<unsigned>(day.day()), 2);
}

/// A time of day as hh:mm:ss.
std::string TimeOfDay(std::int64_t seconds) {
  return Digits(seconds / 3600, 2) + ":" + Digits(seconds / 60 % 60, 2) + ":" + Digits(seconds % 60, 2);
}

// -------------------------------------------------------------------------------------------------------- statements

void Print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
    throw std::runtime_error("cannot write to standard output");
  }
}

/// Writes rows of one table as INSERT statements of many rows each.
class Insert {
 public:
  /// Table and columns as they stand in the statement, with their quotes when they need any.
  Insert(std::string_view table, std::string_view columns)
      : head_("INSERT INTO " + std::string(table) + " (" + std::string(columns) + ") VALUES\n") {}

  void Add(const Row& row) {
    text_ += rows_ == 0 ? head_ : ",\n";
    char separator = '(';
    for (const std::string& literal : row) {
      text_ += separator;
      text_ += literal;
      separator = ',';
    }
    text_ += ')';
    if (++rows_ == kRowsPerStatement) {
      Flush();
    }
  }
  /// Ends the statement; call it after the last row.
  void Flush() {
    if (rows_ > 0) {
      Print(text_ + ";\n");
    }
    text_.clear();
    rows_ = 0;
  }

 private:
  static constexpr int kRowsPerStatement = 200;
  std::string head_;
  std::string text_;
  int rows_ = 0;
};

// ------------------------------------------------------------------------------------------------------------- texts

constexpr std::array<std::string_view, 24> kFirstNames{
    "Anna",  "Bob",    "Chloé", "Dmitri", "Eva",   "Frank", "Gül",   "Héctor", "Ingrid", "Jürgen", "Katarzyna", "Liam",
    "María", "Nicole", "Oscar", "Petra",  "Qiang", "Rosa",  "Søren", "Tomáš",  "Ursula", "Viktor", "Wen",       "Zoë"};
constexpr std::array<std::string_view, 24> kLastNames{
    "O'Brien",  "Müller",  "Smith",  "D'Angelo", "García", "Øster",  "Łukasik", "Nguyễn",
    "Ångström", "Jones",   "Weiß",   "Иванова",  "Çelik",  "Dvořák", "Rossi",   "Þórsson",
    "Fischer",  "van Dam", "Tanaka", "Brown",    "Öztürk", "Silva",  "Wang",    "Zimmermann"};
constexpr std::array<std::string_view, 8> kBusinesses{"Trading", "& Sons",        "Ltd.",      "Garden Centre",
                                                      "GmbH",    "Foods (North)", "Wholesale", "Bike Shop"};
constexpr std::array<std::string_view, 16> kCities{"Aarhus",   "Zürich",    "São Paulo", "King's Lynn", "Köln",  "Łódź",
                                                   "New York", "Malmö",     "Dublin",    "St. Ives",    "Århus", "東京",
                                                   "Kyiv",     "Reykjavík", "aarhus",    "Óbidos"};
constexpr std::array<std::string_view, 6> kStreets{"Main Street", "Bahnhofstraße", "Rue de l'Église",
                                                   "Mill Lane",   "Østergade",     "Calle 5"};
constexpr std::array<std::string_view, 10> kGoods{"Bicycle",     "Lamp \"Nova\"", "Chair, oak", "Kettle 1.5 l",
                                                  "Rope 50%",    "Mug <blue>",    "Käsemesser", "Ladder 6' tall",
                                                  "Tea & Honey", "Path C:\\"};

/// Names that have broken programs before.
constexpr std::array<std::string_view, 24> kAwkwardNames{"Smith & Sons <wholesale>",
                                                         "<&>",
                                                         "The \"Quoted\" Company",
                                                         "Backslash at the end\\",
                                                         "C:\\temp\\new",
                                                         "'",
                                                         "''",
                                                         "It''s doubled",
                                                         "Emoji \U0001F69A Logistics \U0001F600",
                                                         "\U0001F468\u200D\U0001F469\u200D\U0001F467 Family Store",
                                                         "{curly} {d '2020-01-01'}",
                                                         "[square] ]]",
                                                         "50 % off_sale",
                                                         "Ann|Bob",
                                                         "Who? Where?",
                                                         "semi;colon -- no comment",
                                                         "/* not a comment */",
                                                         "]]> not CDATA <![CDATA[",
                                                         "&amp; &#65; entity",
                                                         "{0} {1}",
                                                         " blank in front",
                                                         "e\u0301 decomposed and é composed",
                                                         "עברית and العربية",
                                                         "$$$$ dollars $1"};

/// The texts one after the other. The pieces of a braced list are made from left to right, which the operands of "+"
/// are not: pieces that draw random numbers are joined with this.
std::string Joined(std::initializer_list<std::string_view> texts) {
  std::string result;
  for (const std::string_view text : texts) {
    result += text;
  }
  return result;
}

std::string PersonName(Random& random) { return Joined({random.Pick(kFirstNames), " ", random.Pick(kLastNames)}); }

std::string Repeated(std::string_view text, std::size_t bytes) {
  std::string result;
  while (result.size() + text.size() <= bytes) {
    result += text;
  }
  return result;
}

// ------------------------------------------------------------------------------------------------------------ tables

std::string CustomerNote(Random& random, int index) {
  switch (index % 40) {
    case 0:
      return Text("Pays late.\nCall first:\n\tmornings only");
    case 1:
      return Text("");
    case 2:
      return Text("Note with 'quotes', \"quotes\", <tags/> & a backslash \\");
    case 3:
      return Text(Repeated("Long note, ähnlich lang. ", static_cast<std::size_t>(random.Between(300, 900))));
    default:
      return kNull;
  }
}

std::string Balance(Random& random, int index) {
  switch (index) {
    case 10:
      return "1E+20";
    case 11:
      return "1E-05";
    case 12:
      return "-0.1";
    case 13:
      return "123456789012345.6";
    default:
      return random.OneIn(8) ? "0" : Decimal(random.Between(-500'000, 2'000'000), 2);
  }
}

void Customers() {
  Random random(1);
  Insert insert("customer", "no,name,city,address,phone,created,credit_limit,blocked,balance,note");
  for (int i = 0; i < kCustomers; ++i) {
    const bool awkward = i % 25 == 7;
    const std::string name = awkward
                                 ? std::string(kAwkwardNames[static_cast<std::size_t>(i / 25) % kAwkwardNames.size()])
                                 : Joined({PersonName(random), " ", random.Pick(kBusinesses)});
    const std::string street = Joined({random.Pick(kStreets), " ", Integer(random.Between(1, 199))});
    std::string creditLimit = Decimal(random.Between(0, 40) * 250'000, 2);
    if (i == 20) {
      creditLimit = "9999999999.99";
    } else if (i == 21) {
      creditLimit = "-0.01";
    }
    // A note that needs reading in pieces, whatever a driver's block is.
    const std::string note =
        i == 30 ? Text(Repeated("Ein sehr langer Text – 20 000 Zeichen. ", 20'000)) : CustomerNote(random, i);
    insert.Add({Integer(CustomerNo(i)), Text(name), random.OneIn(12) ? kNull : Text(random.Pick(kCities)),
                random.OneIn(9) ? kNull : Text(street),
                random.OneIn(4) ? kNull
                                : Text(Joined({"+", Integer(random.Between(10, 99)), " ",
                                               Digits(random.Between(0, 9'999'999), 7)})),
                Text(Day(1998, random.Between(0, 9000))), random.OneIn(6) ? kNull : creditLimit,
                Boolean(random.OneIn(10)), Balance(random, i), note});
  }
  insert.Flush();
}

/// The key of an item: different in its number, so different under every collation.
std::string ItemNo(int index) {
  constexpr std::array<std::string_view, 10> kTails{" A/b", " a/B",   "-Ä.ö", "",     " 'q'",
                                                    " %_",  " \"x\"", "\\z",  " <&>", " [1] {2}"};
  return "IT-" + Digits(index + 1, 4) + std::string(kTails[static_cast<std::size_t>(index) % kTails.size()]);
}

void Items(Product product) {
  Random random(2);
  Insert insert("item", "no,description,unit_price,weight,picture");
  for (int i = 0; i < kItems; ++i) {
    const std::string picture = Bytes(product, RandomHex(random, i % 50 == 0 ? 0 : random.Between(1, 40)));
    insert.Add({Text(ItemNo(i)), Text(Joined({random.Pick(kGoods), " ", Integer(random.Between(1, 90))})),
                Decimal(random.Between(1, 9'999'999), 4),
                random.OneIn(5) ? kNull : Decimal(random.Between(1, 99'999), 2), i % 3 == 1 ? kNull : picture});
  }
  insert.Flush();
}

void OrderLines(Random& random) {
  Insert lines("order_line", "order_no,line_no,item_no,quantity,amount");
  for (int i = 0; i < kOrders; ++i) {
    for (std::int64_t line = 1; line <= LineCount(i); ++line) {
      const std::int64_t quantity = random.Between(1, 50);
      lines.Add({Integer(OrderNo(i)), Integer(line * 10), Text(ItemNo(static_cast<int>(random.Between(0, kItems - 1)))),
                 Integer(quantity), Decimal(quantity * random.Between(10, 99'999), 2)});
    }
  }
  lines.Flush();
}

void Orders() {
  Random random(3);
  Insert orders("sales_order", "order_no,order_code,customer_no,order_date,shipped,status");
  constexpr int kFirstYear = 2015;
  constexpr std::array<std::string_view, 4> kStatuses{"O", "S", "C", "R"};
  for (int i = 0; i < kOrders; ++i) {
    // About two orders in three days; the code is not in the order of the number.
    const std::int64_t day = i * 2 / 3;
    const std::string_view status = i % 10 == 0 ? kStatuses[0] : random.Pick(kStatuses);
    const bool shipped = status == "S" || status == "R";
    const std::string shippedAt = Joined({Day(kFirstYear, day + random.Between(0, 20)), " ",
                                          TimeOfDay(random.OneIn(10) ? 0 : random.Between(0, 86'399))});
    orders.Add({Integer(OrderNo(i)), Text("SO-" + Digits((i * 1999) % kOrders + 1, 5) + (i % 2 == 0 ? "/a" : "/B")),
                Integer(CustomerNo(static_cast<int>(random.Between(0, kCustomers - 1)))), Text(Day(kFirstYear, day)),
                shipped ? Text(shippedAt) : kNull, Text(status)});
  }
  orders.Flush();
  OrderLines(random);
}

void Employees() {
  Random random(4);
  Insert insert("employee", "no,code,name,manager_no,hired,lunch");
  for (int i = 0; i < kEmployees; ++i) {
    const std::string letters{static_cast<char>('A' + i * 7 % 26), static_cast<char>('A' + i * 11 % 26)};
    const std::string manager = Integer(i / 6 + 1);
    insert.Add({Integer(i + 1), Text(letters + Digits(i + 1, 2)), Text(PersonName(random)), i < 6 ? kNull : manager,
                Text(Day(1990, random.Between(0, 12'000))),
                random.OneIn(7) ? kNull : Text(TimeOfDay(41'400 + 900 * random.Between(0, 10)))});
  }
  insert.Flush();
}

void Journal() {
  Random random(5);
  Insert insert("journal", "entry_no,posting_date,account,description,amount");
  std::int64_t entry = 0;
  std::int64_t entriesOfDay = 0;
  std::int64_t day = 0;
  for (int i = 0; i < kJournalRows; ++i) {
    // The entries are numbered anew every posting day: number and date are unique only together.
    if (entry == entriesOfDay) {
      entry = 0;
      entriesOfDay = random.Between(3, 15);
      day += random.Between(1, 4);
    }
    ++entry;
    insert.Add({Integer(entry), Text(Day(2023, day)),
                random.OneIn(9) ? kNull : Text(Digits(random.Between(1, 60) * 100, 6)),
                random.OneIn(5) ? kNull : Text("Entry " + PersonName(random)),
                random.OneIn(10) ? kNull : Decimal(random.Between(-9'999'999, 9'999'999), 2)});
  }
  insert.Flush();
}

/// The values that one column of `all_types` takes in turn.
struct TypeColumn {
  std::string name;
  std::vector<std::string> literals;
};

std::vector<std::string> Texts(std::initializer_list<std::string_view> texts) {
  std::vector<std::string> literals;
  for (const std::string_view text : texts) {
    literals.push_back(Text(text));
  }
  return literals;
}

/// `count` numbers, each a whole number over the range given.
std::vector<std::string> Integers(Random& random, std::int64_t low, std::int64_t high, int count) {
  std::vector<std::string> literals{Integer(low), Integer(high), "0"};
  for (int i = 3; i < count; ++i) {
    literals.push_back(Integer(random.Between(low / 2, high / 2)));
  }
  return literals;
}

std::vector<TypeColumn> NumberColumns(Random& random) {
  return {
      {"smallint_value", Integers(random, -32768, 32767, 9)},
      {"integer_value", Integers(random, INT32_MIN, INT32_MAX, 11)},
      {"bigint_value", Integers(random, INT32_MIN, INT32_MAX, 13)},
      {"large_value",
       {"5000000000", "-5000000000", "9223372036854775807", "-9223372036854775807", "2147483648", "-2147483649"}},
      {"real_value", {"0.5", "1.25", "-2.5", "0", "0.1", "123456.7", "1E+20", "1E-05", "3.4E+38"}},
      {"double_value",
       {"0.1", "2.5", "-1E-05", "1E+20", "0", "123456789.125", "1.7976931348623157E+308", "2.2250738585072014E-308",
        "0.30000000000000004", "1E+15", "999999999999999"}},
      {"decimal_value",
       {"999999999999.999999", "-999999999999.999999", "0.000001", "-0.500000", "0", "12345.678900", "100"}},
      {"numeric_value", {"9999999.99", "-9999999.99", "0.01", "0", "12.50"}},
      {"boolean_value", {Boolean(true), Boolean(false), Boolean(true)}},
  };
}

std::vector<TypeColumn> DateColumns() {
  return {
      {"date_value", Texts({"2009-03-05", "1899-12-30", "1899-12-31", "1000-01-01", "9999-12-31", "2000-02-29",
                            "1970-01-01", "2024-12-31"})},
      {"time_value", Texts({"14:07:09", "00:00:00", "23:59:59", "12:00:00", "00:00:01"})},
      {"timestamp_value",
       Texts({"2009-03-05 14:07:09", "1899-12-30 00:00:00", "1899-12-30 06:00:00", "1000-01-01 00:00:00",
              "9999-12-31 23:59:59", "2000-02-29 12:30:00", "2024-12-31 00:00:00"})},
      {"fraction_value", Texts({"2009-03-05 14:07:09.123456", "2009-03-05 14:07:09.500000",
                                "2009-03-05 14:07:09.000000", "2024-12-31 23:59:59.999999"})},
  };
}

std::vector<TypeColumn> TextColumns() {
  return {
      {"char_value", Texts({"abc", "12345678", "", "O'Brien", "Ä ö", "x\\"})},
      {"varchar_value", Texts({"Plain", "", "O'Brien", "<&>", "\"quoted\"", "Back\\slash\\", "Emoji \U0001F600",
                               "  blanks  ", "{braces}", "line\nbreak", "Łódź", "0x0A1B", "NULL"})},
      {"text_value",
       {Text("Short"), Text(""), Text("Two\nlines, a\ttab and 'quotes'"), Text(Repeated("ä€\U0001F600 ", 12'000)),
        Text(Repeated("0123456789", 300)), Text("<a href=\"x\">&</a>")}},
  };
}

std::vector<TypeColumn> BinaryColumns(Product product, Random& random) {
  const auto bytes = [product](const std::string& hex) { return Bytes(product, hex); };
  std::string every;
  for (int byte = 0; byte < 256; ++byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    every += kDigits[static_cast<std::size_t>(byte) / 16];
    every += kDigits[static_cast<std::size_t>(byte) % 16];
  }
  return {
      {"binary_value", {bytes("0A1B2C3D"), bytes("00000000"), bytes("FFFFFFFF"), bytes("00FF00FF"), bytes("41424344")}},
      {"varbinary_value",
       {bytes("0A1B"), bytes(""), bytes("00"), bytes("00112233445566778899AABBCCDDEEFF"), bytes("27")}},
      {"blob_value", {bytes(every), bytes(""), bytes("0A1B"), bytes(RandomHex(random, 10'000)), bytes("C3A4")}},
  };
}

const std::vector<std::string>& Guids() {
  static const std::vector<std::string> kGuids =
      Texts({"00000000-0000-0000-0000-000000000000", "ffffffff-ffff-ffff-ffff-ffffffffffff",
             "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9", "6f9619ff-8b86-d011-b42d-00c04fc964ff"});
  return kGuids;
}

/// The columns that only one product offers.
std::vector<TypeColumn> ProductColumns(Product product, Random& random) {
  switch (product) {
    case Product::kSqlite:
      return {{"tinyint_value", Integers(random, -128, 127, 7)},
              {"float_value", {"0.5", "-1E+20", "0", "2.5"}},
              {"nvarchar_value", Texts({"Plain", "Łódź", "Emoji \U0001F600", "", "O'Brien"})}};
    case Product::kPostgresql:
      return {
          {"uuid_value", Guids()},
          {"timestamptz_value", Texts({"2009-03-05 14:07:09+00", "2024-06-30 12:00:00+02", "1970-01-01 00:00:00+00"})},
          {"interval_value", Texts({"1 day", "02:03:04", "-3 days"})}};
    case Product::kMariadb:
      return {{"tinyint_value", Integers(random, -128, 127, 7)},
              {"unsigned_tinyint_value", {"0", "255", "128"}},
              {"unsigned_smallint_value", {"0", "65535", "32768"}},
              {"mediumint_value", {"-8388608", "8388607", "0"}},
              {"unsigned_integer_value", {"0", "4294967295", "2147483648"}},
              {"unsigned_bigint_value", {"0", "18446744073709551615", "9223372036854775808"}},
              {"year_value", {"1901", "2155", "2024"}},
              {"zoned_value", Texts({"2009-03-05 14:07:09", "1970-01-02 00:00:00", "2037-12-31 23:59:59"})},
              {"uuid_value", Guids()},
              {"enum_value", Texts({"small", "medium", "large"})}};
  }
  return {};
}

void AllTypes(Product product) {
  Random random(6);
  std::vector<TypeColumn> columns;
  for (std::vector<TypeColumn> group : {NumberColumns(random), DateColumns(), TextColumns(),
                                        BinaryColumns(product, random), ProductColumns(product, random)}) {
    columns.insert(columns.end(), group.begin(), group.end());
  }
  std::string names = "id";
  for (const TypeColumn& column : columns) {
    names += "," + column.name;
  }
  Insert insert("all_types", names);
  for (int row = 0; row < kTypeRows; ++row) {
    Row literals{row == kTypeRows - 1 ? Integer(INT32_MAX) : row == 0 ? Integer(INT32_MIN) : Integer(row)};
    for (std::size_t column = 0; column < columns.size(); ++column) {
      // Two or three values of a column are null, in other rows for each (17 is longer than every list of values, so no
      // value is hidden behind a null every time), and the row of the number 20 has nothing else.
      const bool null = row == 20 || (static_cast<std::size_t>(row) + 3 * column) % 17 == 16;
      const std::vector<std::string>& values = columns[column].literals;
      literals.push_back(null ? kNull : values[static_cast<std::size_t>(row) % values.size()]);
    }
    insert.Add(literals);
  }
  insert.Flush();
}

void OddTable() {
  Random random(7);
  constexpr std::array<std::string_view, 6> kColumns{"key no",      "it's",      "say \"hi\"",
                                                     "a [bracket]", "back`tick", "größe"};
  std::string names;
  for (const std::string_view column : kColumns) {
    names += (names.empty() ? "" : ",") + Name(column);
  }
  Insert insert(Name("Odd \"Table\" [Name]"), names);
  for (int i = 0; i < kOddRows; ++i) {
    insert.Add({Integer(i + 1), Text(kAwkwardNames[static_cast<std::size_t>(i) % kAwkwardNames.size()]),
                i % 4 == 1 ? kNull : Text(PersonName(random)), i % 5 == 2 ? kNull : Integer(random.Between(-100, 100)),
                i % 6 == 3 ? kNull : Text("`" + Integer(i) + "`"),
                i % 3 == 0 ? kNull : Decimal(random.Between(1, 99'999), 2)});
  }
  insert.Flush();
}

// -------------------------------------------------------------------------------------------------------------- main

/// What a product needs first: its way to begin a transaction, UTF-8, and backslashes that are just backslashes.
std::string_view Prelude(Product product) {
  switch (product) {
    case Product::kSqlite:
      return "BEGIN;\n";
    case Product::kPostgresql:
      return "SET client_encoding TO 'UTF8';\nSET standard_conforming_strings TO on;\nBEGIN;\n";
    case Product::kMariadb:
      return "SET NAMES utf8mb4;\nSET SESSION time_zone = '+00:00';\n"
             "SET SESSION sql_mode = CONCAT(@@sql_mode, ',ANSI_QUOTES,NO_BACKSLASH_ESCAPES');\nSTART TRANSACTION;\n";
  }
  return {};
}

void PrintAll(Product product) {
  Print(Prelude(product));
  Customers();
  Items(product);
  Orders();
  Employees();
  Journal();
  AllTypes(product);
  OddTable();
  Print("COMMIT;\n");
  if (std::fflush(stdout) != 0) {
    throw std::runtime_error("cannot write to standard output");
  }
}

std::optional<Product> ProductFromName(std::string_view name) {
  constexpr std::array<std::pair<std::string_view, Product>, 3> kProducts{{
      {"sqlite", Product::kSqlite},
      {"postgresql", Product::kPostgresql},
      {"mariadb", Product::kMariadb},
  }};
  for (const auto& [known, product] : kProducts) {
    if (known == name) {
      return product;
    }
  }
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
    const std::optional<Product> product = arguments.size() == 2 ? ProductFromName(arguments[1]) : std::nullopt;
    if (!product) {
      std::fputs("Usage: odbc-sample-data sqlite|postgresql|mariadb\n", stderr);
      return 2;
    }
    PrintAll(*product);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "odbc-sample-data: %s\n", error.what());
    return 1;
  }
  return 0;
}
