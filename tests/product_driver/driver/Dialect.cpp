#include "product_driver/driver/Dialect.h"

#include <algorithm>
#include <array>

#include "common/Text.h"
#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";
constexpr std::string_view kOperators = "=<>!";

bool IsOneOf(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }
bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsWordStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool IsWordPart(char c) { return IsWordStart(c) || IsDigit(c) || c == '$'; }

[[noreturn]] void Refuse(const std::string& what) { throw DriverError(sql_state::kSyntax, what); }

std::string Enclosed(std::string_view text, std::string_view quote) {
  return std::string(quote) + ReplaceAll(text, quote, std::string(quote) + std::string(quote)) + std::string(quote);
}

/// True when `text` has the form of `pattern`, where 0 stands for any digit.
bool HasForm(std::string_view text, std::string_view pattern) {
  return std::ranges::equal(text, pattern, [](char c, char form) { return form == '0' ? IsDigit(c) : c == form; });
}

int TwoDigits(std::string_view text, std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); }

bool IsDate(std::string_view text) {
  constexpr std::array<int, 12> kDays = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (!HasForm(text, "0000-00-00")) return false;
  const int year = TwoDigits(text, 0) * 100 + TwoDigits(text, 2);
  const int month = TwoDigits(text, 5);
  const int day = TwoDigits(text, 8);
  if (month < 1 || month > 12 || day < 1 || day > kDays[static_cast<std::size_t>(month) - 1]) return false;
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month != 2 || day < 29 || leap;
}

bool IsTime(std::string_view text) {
  return HasForm(text, "00:00:00") && TwoDigits(text, 0) < 24 && TwoDigits(text, 3) < 60 && TwoDigits(text, 6) < 60;
}

bool IsTimeStamp(std::string_view text) {
  return text.size() == 19 && text[10] == ' ' && IsDate(text.substr(0, 10)) && IsTime(text.substr(11));
}

/// The digits behind the "." that a date or time has behind its seconds; `text` is then without both.
std::string_view TakeFraction(std::string_view& text) {
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos || point < 8) return {};
  const std::string_view digits = text.substr(point + 1);
  const bool whole = !digits.empty() && digits.find_first_not_of(kDigits) == std::string_view::npos;
  if (whole) text = text.substr(0, point);
  return whole ? digits : std::string_view();
}

/// The pattern of a LIKE in which a backslash escapes, where one takes a character in brackets for itself.
std::string WithoutBrackets(std::string_view pattern) {
  std::string text;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool bracketed = pattern[i] == '[' && i + 2 < pattern.size() && pattern[i + 2] == ']';
    if (bracketed) ++i;
    if (bracketed || pattern[i] == '\\') text += '\\';
    text += pattern[i];
    if (bracketed) ++i;
  }
  return text;
}

struct TimeEscape {
  std::string_view word;
  bool hasFraction;
  bool (*isValid)(std::string_view text);
};
constexpr std::array<TimeEscape, 3> kTimeEscapes = {
    {{"d", false, IsDate}, {"t", true, IsTime}, {"ts", true, IsTimeStamp}}};

class Scanner {
 public:
  Scanner(const Product& product, std::string_view sql, const DialectContext& context)
      : product_(product), sql_(sql), context_(context) {}

  Translation Run() {
    levels_.emplace_back();
    while (at_ < sql_.size()) Step();
    if (levels_.size() > 1) Refuse("A parenthesis is not closed.");
    CloseLevel();
    return std::move(result_);
  }

 private:
  enum class Token { kNone, kSelect, kTableWord, kWord, kName, kText, kNumber, kOperator, kOpen, kOther };

  /// A pair of parentheses, or the whole statement.
  struct Level {
    std::string limit;  ///< the number behind TOP
    bool ordered = false;
    bool hasTable = false;  ///< the SELECT has a FROM
    bool unites = false;    ///< it is one of those that a UNION joins
  };

  [[nodiscard]] char Peek(std::size_t ahead = 0) const { return at_ + ahead < sql_.size() ? sql_[at_ + ahead] : '\0'; }
  void Emit(std::string_view text) { result_.sql += text; }
  void SkipBlanks() {
    while (IsBlank(Peek())) ++at_;
  }
  std::string_view TakeAll(std::string_view set) {
    const std::size_t begin = at_;
    while (at_ < sql_.size() && IsOneOf(sql_[at_], set)) ++at_;
    return sql_.substr(begin, at_ - begin);
  }
  std::string_view TakeWord() {
    const std::size_t begin = at_;
    while (at_ < sql_.size() && IsWordPart(sql_[at_])) ++at_;
    return sql_.substr(begin, at_ - begin);
  }
  /// Steps over `word` and the blanks before it, if it comes next in upper or lower case.
  bool TakeIf(std::string_view word) {
    const std::size_t before = at_;
    SkipBlanks();
    if (ToUpper(sql_.substr(at_, word.size())) == word) {
      at_ += word.size();
      return true;
    }
    at_ = before;
    return false;
  }

  void Step() {
    const char c = Peek();
    if (IsBlank(c)) {
      Emit(" ");
      ++at_;
    } else if ((c == '-' && Peek(1) == '-') || (c == '/' && Peek(1) == '*')) {
      Comment();
    } else {
      last_ = NextToken(c);
    }
  }

  void Comment() {
    if (!product_.hasComments) Refuse("Comments are not understood.");
    const std::string_view end = Peek() == '-' ? "\n" : "*/";
    const std::size_t found = sql_.find(end, at_ + 2);
    at_ = found == std::string_view::npos ? sql_.size() : found + end.size();
    Emit(" ");
  }

  Token NextToken(char c) {
    if (IsOneOf(c, product_.openers)) return QuotedName();
    if (c == '\'' || c == '"') return Text();
    if (c == 'N' && Peek(1) == '\'') {
      if (!product_.hasNationalTexts) Refuse("N'...' is not understood.");
      ++at_;
      return Text();
    }
    if (c == '{') return Escape();
    if (IsDigit(c)) return Number();
    if (IsWordStart(c)) return Word();
    if (c == '(') return Open();
    if (c == ')') return Close();
    if (c == '[' || c == '`' || c == '}' || c == ';') Refuse(std::string("Unexpected character ") + c + ".");
    if (IsOneOf(c, kOperators)) {
      compared_ = last_;
      Emit(TakeAll(kOperators));
      return Token::kOperator;
    }
    const bool joins = c == '+' && last_ == Token::kText && product_.plusJoinsTexts;
    Emit(joins ? "||" : std::string_view(&c, 1));
    ++at_;
    return Token::kOther;
  }

  Token Open() {
    Emit("(");
    ++at_;
    levels_.emplace_back();
    return Token::kOpen;
  }

  Token Close() {
    if (last_ == Token::kOpen) Refuse("Nothing stands between the parentheses.");
    if (levels_.size() == 1) Refuse("A parenthesis is closed that was not opened.");
    CloseLevel();
    Emit(")");
    ++at_;
    return Token::kOther;
  }

  void CloseLevel() {
    const Level level = levels_.back();
    levels_.pop_back();
    const bool isInner = !levels_.empty();
    if (product_.hasSchemas && isInner && level.ordered && level.limit.empty()) {
      Refuse("ORDER BY stands in a derived table without TOP.");
    }
    RequireTable(level);
    if (!level.limit.empty()) Emit(" LIMIT " + level.limit);
  }

  void RequireTable(const Level& level) const {
    if (product_.unionsNeedTables && level.unites && !level.hasTable) Refuse("A SELECT of a UNION has no table.");
  }

  /// A name in the product's quotes; `at_` stands on the opening one.
  std::string TakeQuotedName() {
    const char closer = Peek() == '[' ? ']' : Peek();
    std::string name;
    for (++at_;; ++at_) {
      if (at_ >= sql_.size()) Refuse("A quoted name is not closed.");
      if (sql_[at_] == closer) {
        if (Peek(1) != closer) break;
        ++at_;
      }
      name += sql_[at_];
    }
    ++at_;
    if (name.empty()) Refuse("A quoted name is empty.");
    return name;
  }

  Token QuotedName() {
    if (last_ == Token::kTableWord) return TableName(TakeQuotedName());
    name_ = TakeQuotedName();
    Emit(Enclosed(name_, "\""));
    return Token::kName;
  }

  /// The parts of a table name are one name in SQLite, joined by a point.
  Token TableName(std::string name) {
    bool hasSchema = false;
    while (product_.hasSchemas && Peek() == '.') {
      ++at_;
      hasSchema = true;
      name += "." + (IsOneOf(Peek(), product_.openers) ? TakeQuotedName() : std::string(TakeWord()));
    }
    if (product_.hasInformationSchema && name == "information_schema" && Peek() == '.') {
      ++at_;
      name += "." + std::string(TakeWord());
    }
    if (product_.hasSchemas && !hasSchema) name = "dbo." + name;
    Emit(Enclosed(name, "\""));
    return Token::kName;
  }

  /// A text without its quotes; `at_` stands on the opening one.
  std::string TakeText() {
    const char quote = Peek();
    std::string text;
    for (++at_;; ++at_) {
      if (at_ >= sql_.size()) Refuse("A text is not closed.");
      if (context_.backslashes && sql_[at_] == '\\' && at_ + 1 < sql_.size()) {
        ++at_;
      } else if (sql_[at_] == quote) {
        if (Peek(1) != quote) break;
        ++at_;
      }
      text += sql_[at_];
    }
    ++at_;
    const std::size_t brace = text.find('{');
    if (product_.hasFlowFilters && brace != std::string::npos && brace + 1 != text.size()) {
      Refuse("A brace in a text begins an escape.");
    }
    return text;
  }

  /// Does what comes now stand beside a column of type binary?
  [[nodiscard]] bool IsBesideBinary() const {
    return last_ == Token::kOperator && !name_.empty() && context_.isBinary && context_.isBinary(name_);
  }

  Token Text() {
    std::string text = TakeText();
    if (product_.quotesBinary && IsBesideBinary()) {
      if (text.size() % 2 != 0 || text.find_first_not_of(kHexDigits) != std::string::npos) {
        Refuse("The binary value '" + text + "' is not hexadecimal.");
      }
      Emit("X");
    }
    if (product_.likeTakesBrackets && last_ == Token::kWord && isBehindLike_) {
      Emit(Enclosed(WithoutBrackets(text), "'") + " ESCAPE '\\'");
      return Token::kText;
    }
    if (product_.padsTexts && last_ == Token::kOperator) text.erase(text.find_last_not_of(' ') + 1);
    Emit(Enclosed(text, "'"));
    // A column itself is padded, too.
    if (product_.padsTexts && last_ == Token::kOperator && compared_ == Token::kName) Emit(" COLLATE RTRIM");
    return Token::kText;
  }

  /// A text, or texts joined by "+".
  std::string TakeJoinedTexts() {
    SkipBlanks();
    if (Peek() != '\'') Refuse("An escape lacks a text.");
    std::string text = TakeText();
    while (product_.plusJoinsTexts && TakeIf("+")) {
      if (Peek() != '\'') Refuse("An escape lacks a text.");
      text += TakeText();
    }
    return text;
  }

  Token Escape() {
    ++at_;
    SkipBlanks();
    const std::string word(TakeWord());
    if (word == "pred" && product_.hasFlowFilters) return SetFlowFilter();
    const auto* const escape = std::ranges::find(kTimeEscapes, word, &TimeEscape::word);
    if (escape == kTimeEscapes.end()) Refuse("The escape {" + word + "} is not understood.");
    const std::string text = TakeJoinedTexts();
    if (!TakeIf("}")) Refuse("The escape {" + word + "} is not closed.");
    std::string_view whole = text;
    const std::string_view fraction = escape->hasFraction ? TakeFraction(whole) : std::string_view();
    if (!escape->isValid(whole) || fraction.size() > product_.fractionDigits)
      throw DriverError(sql_state::kBadDate, "There is no date or time '" + text + "'.");
    Emit(Enclosed(text, "'"));
    return Token::kText;
  }

  Token SetFlowFilter() {
    FlowFilter filter;
    const bool whole = TakeIf("SETFLOWFILTER") && TakeIf(",");
    if (!whole) Refuse("The escape {pred} knows SetFlowFilter only.");
    filter.table = TakeJoinedTexts();
    if (!TakeIf(",")) Refuse("SetFlowFilter takes three texts.");
    filter.field = TakeJoinedTexts();
    if (!TakeIf(",")) Refuse("SetFlowFilter takes three texts.");
    filter.value = TakeJoinedTexts();
    if (!TakeIf("}")) Refuse("The escape {pred} is not closed.");
    result_.flowFilters.push_back(std::move(filter));
    Emit("1");
    return Token::kOther;
  }

  Token Number() {
    if (Peek() == '0' && (Peek(1) == 'x' || Peek(1) == 'X')) return HexNumber();
    Emit(TakeAll(kDigits));
    if (Peek() == '.') {
      Emit(".");
      ++at_;
      Emit(TakeAll(kDigits));
    }
    if (Peek() == 'E' || Peek() == 'e') {
      Emit("E");
      ++at_;
      if (Peek() == '+' || Peek() == '-') Emit(sql_.substr(at_++, 1));
      const std::string_view exponent = TakeAll(kDigits);
      if (exponent.empty()) Refuse("A number lacks its exponent.");
      Emit(exponent);
    }
    if (IsWordStart(Peek())) Refuse("A number runs into a word.");
    return Token::kNumber;
  }

  Token HexNumber() {
    at_ += 2;
    const std::string_view digits = TakeAll(kHexDigits);
    if (product_.quotesBinary && IsBesideBinary()) Refuse("A value of type binary is written in apostrophes.");
    if (IsWordPart(Peek())) Refuse("A binary value is not hexadecimal.");
    Emit("X'");
    if (digits.size() % 2 != 0) Emit("0");
    Emit(digits);
    Emit("'");
    return Token::kNumber;
  }

  Token Word() {
    const bool isTable = last_ == Token::kTableWord;
    const bool behindSelect = last_ == Token::kSelect;
    const std::string_view word = TakeWord();
    const std::string upper = ToUpper(word);
    if (isTable) return TableName(std::string(word));
    if (behindSelect && upper == "TOP") return Top();
    if (upper == "LIMIT" && product_.limit != RowLimit::kLimit) Refuse("LIMIT is not understood.");
    if (upper == "CAST" && product_.quotesBinary && TakeCastOfBinary()) return Token::kName;
    if (upper == "DATABASE" && product_.hasInformationSchema && TakeIf("(") && TakeIf(")")) {
      Emit("DATABASE()");
      return Token::kName;
    }
    if (upper == "CASE" && !product_.hasCase) Refuse("CASE is not understood.");
    if (upper == "ESCAPE" && !product_.hasEscape) Refuse("ESCAPE is not understood.");
    if (upper == "ORDER") levels_.back().ordered = true;
    if (upper == "FROM") levels_.back().hasTable = true;
    if (upper == "UNION") {
      levels_.back().unites = true;
      RequireTable(levels_.back());
      levels_.back().hasTable = false;
    }
    isBehindLike_ = upper == "LIKE";
    Emit(IsFoldingCall(upper) ? "UPPER" : word);
    if (upper == "SELECT") return Token::kSelect;
    if (upper == "FROM" || upper == "JOIN") return Token::kTableWord;
    return Token::kWord;
  }

  /// Is this the product's own function that folds the case? Refuses another product's.
  [[nodiscard]] bool IsFoldingCall(const std::string& upperWord) const {
    const bool isUpper = upperWord == "UPPER";
    if ((!isUpper && upperWord != "UCASE") || Peek() != '(') return false;
    if (!(isUpper ? product_.hasUpper : product_.hasUcase)) Refuse("There is no function " + upperWord + ".");
    return true;
  }

  Token Top() {
    if (product_.limit != RowLimit::kTop) Refuse("TOP is not understood.");
    SkipBlanks();
    levels_.back().limit = TakeAll(kDigits);
    if (levels_.back().limit.empty()) Refuse("TOP lacks its number.");
    return Token::kOther;
  }

  /// CAST("name" AS BINARY(n)) of a column of type binary is the column itself. False, with nothing taken, for any
  /// other CAST.
  bool TakeCastOfBinary() {
    const std::size_t before = at_;
    if (TakeIf("(") && IsOneOf(Peek(), product_.openers)) {
      const std::string name = TakeQuotedName();
      if (context_.isBinary && context_.isBinary(name) && TakeIf("AS") && TakeIf("BINARY") && TakeIf("(") &&
          !TakeAll(kDigits).empty() && TakeIf(")") && TakeIf(")")) {
        name_ = name;
        Emit(Enclosed(name, "\""));
        return true;
      }
    }
    at_ = before;
    return false;
  }

  const Product& product_;
  std::string_view sql_;
  const DialectContext& context_;
  Translation result_;
  std::vector<Level> levels_;
  std::size_t at_ = 0;
  Token last_ = Token::kNone;
  Token compared_ = Token::kNone;  ///< what stands before the last operator
  bool isBehindLike_ = false;      ///< the last word is LIKE
  std::string name_;               ///< the last quoted name that is no table's
};

}  // namespace

Translation Translate(const Product& product, std::string_view sql, const DialectContext& context) {
  return Scanner(product, sql, context).Run();
}

}  // namespace ods::product_driver
