#include "platform/ado/NativeStatement.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "common/Text.h"

namespace ods {

namespace {

/// The peculiarities of a product's SQL that decide where a literal or a comment ends.
enum class Lexis {
  kStandard,
  kPostgreSql,  ///< comments nest, E'...' has backslash escapes, and $tag$...$tag$ is a literal
  kMariaDb,     ///< "#" begins a comment, "--" only before a blank, and what stands in /*! */ is run
};

/// What distinguishes a product whose statements are rewritten.
struct Product {
  std::string_view dbmsName;
  std::string_view limitClause;    ///< stands before the number of records; empty when the driver hands the limit on
  std::string_view upperFunction;  ///< stands for UCASE; empty when the product has that
  std::string_view binaryPrefix;   ///< stands for "0x"; empty when the product knows that
  std::string_view binarySuffix;
  std::string_view quotes;  ///< characters that open a quoted name
  Lexis lexis;
};

/// The limit of MariaDB is written here because its driver appends one to every statement, also to one that has its
/// own.
constexpr std::array<Product, 3> kProducts = {{
    {"PostgreSQL", "LIMIT ", "UPPER", "'\\x", "'::bytea", "\"", Lexis::kPostgreSql},
    {"MariaDB", "LIMIT ", "", "", "", "\"`", Lexis::kMariaDb},
    {"SQLite", "", "UPPER", "X'", "'", "\"`[", Lexis::kStandard},
}};

const Product* FindProduct(std::string_view dbmsName) {
  const auto* const product = std::ranges::find(kProducts, dbmsName, &Product::dbmsName);
  return product == kProducts.end() ? nullptr : product;
}

constexpr std::array<std::string_view, 3> kQueryWords = {"SELECT", "WITH", "VALUES"};
/// Words that forbid a limit clause where they stand outside all parentheses.
constexpr std::array<std::string_view, 5> kLimitingWords = {"LIMIT", "FETCH", "INTO", "FOR", "LOCK"};
/// Words that make a statement beginning with WITH something else than a query.
constexpr std::array<std::string_view, 4> kChangingWords = {"INSERT", "UPDATE", "DELETE", "MERGE"};

template <std::size_t kCount>
bool Contains(const std::array<std::string_view, kCount>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool IsWordStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool IsWordPart(char c) { return IsWordStart(c) || IsDigit(c) || c == '$'; }

/// One pass over a statement. Positions are those of the original text; the rewritten text grows behind them.
class Scanner {
 public:
  Scanner(const Product& product, std::string sql) : product_(product), sql_(std::move(sql)) {}

  std::string Rewrite(std::int32_t maxRecords) {
    while (at_ < sql_.size()) Step();
    if (maxRecords > 0 && MayLimit()) return Limited(maxRecords);
    if (copied_ == 0) return std::move(sql_);
    CopyUpTo(sql_.size());
    return std::move(rewritten_);
  }

 private:
  [[nodiscard]] char Peek(std::size_t ahead = 0) const { return at_ + ahead < sql_.size() ? sql_[at_ + ahead] : '\0'; }

  void Step() {
    const char c = sql_[at_];
    if (IsBlank(c)) {
      ++at_;
    } else if (BeginsLineComment(c)) {
      LineComment();
    } else if (c == '/' && Peek(1) == '*') {
      BlockComment();
    } else if (c == ';' && depth_ <= 0) {
      semicolons_.push_back(at_++);
    } else {
      if (!semicolons_.empty()) severalStatements_ = true;
      Token(c);
      afterPoint_ = c == '.';
      anyToken_ = true;
      lineCommentLast_ = false;
      tokensEnd_ = at_;
    }
  }

  [[nodiscard]] bool BeginsLineComment(char c) const {
    if (product_.lexis != Lexis::kMariaDb) return c == '-' && Peek(1) == '-';
    return c == '#' || (c == '-' && Peek(1) == '-' && (static_cast<unsigned char>(Peek(2)) <= ' '));
  }

  void Token(char c) {
    if (c == '\'') {
      Quoted('\'', false);
    } else if (product_.quotes.find(c) != std::string_view::npos) {
      Quoted(c == '[' ? ']' : c, false);
    } else if (c == '$' && product_.lexis == Lexis::kPostgreSql) {
      DollarQuoted();
    } else if (IsDigit(c)) {
      Number();
    } else if (IsWordStart(c)) {
      Word();
    } else {
      if (c == '(' && !anyToken_) isQuery_ = true;
      if (c == '(') ++depth_;
      if (c == ')') --depth_;
      ++at_;
    }
  }

  void Unterminated() {
    at_ = sql_.size();
    unterminated_ = true;
  }

  /// From the opening quote to behind the closing one; a doubled closing quote stands for itself.
  void Quoted(char closing, bool backslashEscapes) {
    for (++at_; at_ < sql_.size(); ++at_) {
      const char c = sql_[at_];
      if (c == '\\' && backslashEscapes) {
        ++at_;
      } else if (c == closing) {
        if (Peek(1) != closing) {
          ++at_;
          return;
        }
        ++at_;
      }
    }
    Unterminated();
  }

  /// $$...$$ or $tag$...$tag$; a lone "$" is left behind as a token of its own.
  void DollarQuoted() {
    std::size_t tagEnd = at_ + 1;
    if (tagEnd < sql_.size() && IsWordStart(sql_[tagEnd])) {
      while (tagEnd < sql_.size() && IsWordPart(sql_[tagEnd]) && sql_[tagEnd] != '$') ++tagEnd;
    }
    if (tagEnd >= sql_.size() || sql_[tagEnd] != '$') {
      // Behind a tag that was none, so that no text is looked at again.
      at_ = tagEnd;
      return;
    }
    const std::string_view text = sql_;
    const std::string_view tag = text.substr(at_, tagEnd + 1 - at_);
    const std::size_t closing = text.find(tag, tagEnd + 1);
    if (closing == std::string_view::npos) {
      Unterminated();
    } else {
      at_ = closing + tag.size();
    }
  }

  void LineComment() {
    at_ = std::min(sql_.find_first_of(product_.lexis == Lexis::kPostgreSql ? "\r\n" : "\n", at_), sql_.size());
    lineCommentLast_ = true;
  }

  void BlockComment() {
    lineCommentLast_ = false;
    if (product_.lexis == Lexis::kMariaDb && (Peek(2) == '!' || Peek(2) == 'M')) mayNotLimit_ = true;
    int open = 0;
    while (at_ < sql_.size()) {
      if (Peek() == '/' && Peek(1) == '*' && (open == 0 || product_.lexis == Lexis::kPostgreSql)) {
        ++open;
        at_ += 2;
      } else if (Peek() == '*' && Peek(1) == '/') {
        at_ += 2;
        if (--open == 0) return;
      } else {
        ++at_;
      }
    }
    Unterminated();
  }

  void Number() {
    const std::size_t begin = at_;
    while (at_ < sql_.size() && IsWordPart(sql_[at_])) ++at_;
    const std::string_view token = std::string_view(sql_).substr(begin, at_ - begin);
    const bool alone = !afterPoint_ && Peek() != '.';
    const bool hexadecimal = token.size() >= 2 && token.size() % 2 == 0 && (token[1] == 'x' || token[1] == 'X') &&
                             token[0] == '0' && std::all_of(token.begin() + 2, token.end(), IsHexDigit);
    if (!alone || !hexadecimal || product_.binaryPrefix.empty()) return;
    CopyUpTo(begin);
    rewritten_ += product_.binaryPrefix;
    rewritten_ += token.substr(2);
    rewritten_ += product_.binarySuffix;
    copied_ = at_;
  }

  void Word() {
    const std::size_t begin = at_;
    while (at_ < sql_.size() && IsWordPart(sql_[at_])) ++at_;
    const std::size_t size = at_ - begin;
    constexpr std::size_t kLongestKnown = 6;
    if (size > kLongestKnown) return;
    const std::string word = ToUpper(std::string_view(sql_).substr(begin, size));
    if (word == "E" && product_.lexis == Lexis::kPostgreSql && Peek() == '\'') {
      Quoted('\'', true);
      return;
    }
    if (afterPoint_) return;
    if (word == "UCASE" && !product_.upperFunction.empty() && OpensParenthesis()) {
      CopyUpTo(begin);
      rewritten_ += product_.upperFunction;
      copied_ = at_;
    }
    NoteKeyword(word);
  }

  bool OpensParenthesis() {
    std::size_t next = at_;
    while (next < sql_.size() && IsBlank(sql_[next])) ++next;
    return next < sql_.size() && sql_[next] == '(';
  }

  void NoteKeyword(std::string_view word) {
    if (!anyToken_) {
      isQuery_ = Contains(kQueryWords, word);
      beginsWith_ = word == "WITH";
    }
    if (depth_ > 0) return;
    if (Contains(kLimitingWords, word) || (beginsWith_ && Contains(kChangingWords, word))) mayNotLimit_ = true;
  }

  [[nodiscard]] bool MayLimit() const {
    return !product_.limitClause.empty() && isQuery_ && !mayNotLimit_ && !severalStatements_ && !unterminated_;
  }

  void CopyUpTo(std::size_t end) {
    rewritten_.append(sql_, copied_, end - copied_);
    copied_ = end;
  }

  /// The statement with its limit clause. Behind the last token stand only blanks, comments and semicolons; the
  /// semicolons go.
  std::string Limited(std::int32_t maxRecords) {
    CopyUpTo(tokensEnd_);
    for (const std::size_t semicolon : semicolons_) {
      CopyUpTo(semicolon);
      copied_ = semicolon + 1;
    }
    CopyUpTo(sql_.size());
    while (IsBlank(rewritten_.back())) rewritten_.pop_back();
    // A line comment would swallow the clause.
    rewritten_ += lineCommentLast_ ? '\n' : ' ';
    rewritten_ += product_.limitClause;
    rewritten_ += std::to_string(maxRecords);
    return std::move(rewritten_);
  }

  const Product& product_;
  std::string sql_;
  std::string rewritten_;
  std::size_t copied_ = 0;  ///< the original up to here is in `rewritten_`
  std::size_t at_ = 0;
  std::size_t tokensEnd_ = 0;            ///< the end of the last token that is no comment
  std::vector<std::size_t> semicolons_;  ///< outside all parentheses
  int depth_ = 0;
  bool anyToken_ = false;
  bool afterPoint_ = false;
  bool isQuery_ = false;
  bool beginsWith_ = false;
  bool mayNotLimit_ = false;
  bool severalStatements_ = false;
  bool unterminated_ = false;
  bool lineCommentLast_ = false;  ///< nothing but blanks and semicolons since a line comment
};

}  // namespace

std::string NativeStatement(std::string_view dbmsName, std::string sql, std::int32_t maxRecords) {
  const Product* product = FindProduct(dbmsName);
  return product == nullptr ? std::move(sql) : Scanner(*product, std::move(sql)).Rewrite(maxRecords);
}

bool TakesLimitInText(std::string_view dbmsName) {
  const Product* product = FindProduct(dbmsName);
  return product != nullptr && !product->limitClause.empty();
}

}  // namespace ods
