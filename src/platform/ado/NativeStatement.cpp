#include "platform/ado/NativeStatement.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Hex.h"
#include "platform/ado/SqlLexer.h"

namespace ods {

namespace {

using odbc::NativeForm;
using odbc::SqlLexer;
using odbc::SqlToken;
using Kind = SqlToken::Kind;

// All in upper case.
constexpr std::array<std::string_view, 2> kQueryWords = {"SELECT", "VALUES"};
constexpr std::string_view kWith = "WITH";
/// Words that forbid a limit clause where they stand outside all parentheses.
constexpr std::array<std::string_view, 5> kLimitingWords = {"LIMIT", "FETCH", "INTO", "FOR", "LOCK"};
/// Words that make a statement beginning with WITH something else than a query.
constexpr std::array<std::string_view, 4> kChangingWords = {"INSERT", "UPDATE", "DELETE", "MERGE"};

char UpperOf(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsHexDigit(char c) { return HexDigitValue(c) >= 0; }

bool Is(std::string_view word, std::string_view upper) {
  return word.size() == upper.size() && std::ranges::equal(word, upper, {}, UpperOf);
}

template <std::size_t kCount>
bool IsOneOf(std::string_view word, const std::array<std::string_view, kCount>& upperWords) {
  return std::ranges::any_of(upperWords, [&](std::string_view upper) { return Is(word, upper); });
}

/// "0x" and whole bytes.
bool IsBinaryLiteral(std::string_view number) {
  return number.size() >= 2 && number.size() % 2 == 0 && number[0] == '0' && UpperOf(number[1]) == 'X' &&
         std::ranges::all_of(number.substr(2), IsHexDigit);
}

/// Watches the tokens of a statement for whether a limit may be put behind them.
class LimitPlace {
 public:
  /// `qualified` tells that a point stands before the token. True when the token is of a statement itself: no comment,
  /// and no semicolon behind one.
  bool Take(const SqlToken& token, bool qualified) {
    if (token.IsSymbol(';') && depth_ <= 0) {
      semicolons_.push_back(token.text.data());
      return false;
    }
    last_ = token.kind;
    if (token.kind == Kind::kLineComment || token.kind == Kind::kBlockComment) return false;
    if (token.kind == Kind::kExecutedComment || token.kind == Kind::kUnterminated || !semicolons_.empty()) {
      statement_ = Statement::kWithoutLimit;
    } else if (statement_ == Statement::kNone) {
      statement_ = BeginningWith(token);
    } else if (token.kind == Kind::kWord && !qualified && depth_ <= 0) {
      statement_ = After(token.text);
    }
    if (token.IsSymbol('(')) ++depth_;
    if (token.IsSymbol(')')) --depth_;
    end_ = token.text.data() + token.text.size();
    return token.kind != Kind::kExecutedComment;
  }

  [[nodiscard]] bool MayLimit() const { return statement_ == Statement::kQuery || statement_ == Statement::kWithQuery; }
  /// Behind the last token of the statement. Then come only blanks, comments and semicolons.
  [[nodiscard]] const char* End() const { return end_; }
  [[nodiscard]] const std::vector<const char*>& Semicolons() const { return semicolons_; }
  /// True when what is put behind all would belong to a comment.
  [[nodiscard]] bool EndsInLineComment() const { return last_ == Kind::kLineComment; }

 private:
  enum class Statement {
    kNone,  ///< nothing has come
    kQuery,
    kWithQuery,     ///< one that begins with WITH, and so may turn out to change something
    kWithoutLimit,  ///< no query, one that has a limit of its own, or more than one statement
  };

  [[nodiscard]] static Statement BeginningWith(const SqlToken& token) {
    if (token.IsSymbol('(')) return Statement::kQuery;
    if (token.kind != Kind::kWord) return Statement::kWithoutLimit;
    if (Is(token.text, kWith)) return Statement::kWithQuery;
    return IsOneOf(token.text, kQueryWords) ? Statement::kQuery : Statement::kWithoutLimit;
  }

  /// What the statement is when it goes on with this word, outside all parentheses.
  [[nodiscard]] Statement After(std::string_view word) const {
    const bool changes = statement_ == Statement::kWithQuery && IsOneOf(word, kChangingWords);
    return changes || IsOneOf(word, kLimitingWords) ? Statement::kWithoutLimit : statement_;
  }

  Statement statement_ = Statement::kNone;
  int depth_ = 0;  ///< of parentheses
  const char* end_ = nullptr;
  Kind last_ = Kind::kEnd;  ///< of the last token that is no semicolon behind a statement
  std::vector<const char*> semicolons_;
};

/// A text that is copied with some places of it replaced, from the front to the back. Nothing is copied before the
/// first replacement.
class Rewriting {
 public:
  explicit Rewriting(std::string_view original) : original_(original), copied_(original.data()) {}

  void CopyUpTo(const char* place) {
    rewritten_.append(copied_, place);
    copied_ = place;
  }
  void Replace(std::string_view piece, std::initializer_list<std::string_view> replacement) {
    CopyUpTo(piece.data());
    for (const std::string_view part : replacement) rewritten_ += part;
    copied_ = piece.data() + piece.size();
  }
  [[nodiscard]] bool IsTouched() const { return copied_ != original_.data(); }
  std::string Finish() {
    CopyUpTo(original_.data() + original_.size());
    return std::move(rewritten_);
  }

 private:
  std::string_view original_;
  const char* copied_;  ///< the original up to here is in `rewritten_`
  std::string rewritten_;
};

/// The statement with its limit clause, for which the semicolons behind it go.
std::string Limited(Rewriting& rewriting, const LimitPlace& place, std::string_view clause, std::int32_t maxRecords) {
  rewriting.CopyUpTo(place.End());
  for (const char* const semicolon : place.Semicolons()) rewriting.Replace({semicolon, 1}, {});
  std::string sql = rewriting.Finish();
  while (IsBlank(sql.back())) sql.pop_back();
  sql += place.EndsInLineComment() ? '\n' : ' ';
  return sql.append(clause).append(std::to_string(maxRecords));
}

}  // namespace

std::string NativeStatement(const NativeForm& form, std::string sql, std::int32_t maxRecords) {
  if (form.nameQuotes.empty()) return sql;
  Rewriting rewriting(sql);
  LimitPlace place;
  SqlLexer lexer(sql, form.lexis, form.nameQuotes);
  bool qualified = false;  // a point stands before the token
  for (SqlToken token = lexer.Next(), next; token.kind != Kind::kEnd; token = next) {
    next = lexer.Next();
    if (token.kind == Kind::kWord && !qualified && next.IsSymbol('(') && Is(token.text, "UCASE")) {
      if (!form.upperFunction.empty()) rewriting.Replace(token.text, {form.upperFunction});
    } else if (token.kind == Kind::kNumber && !qualified && IsBinaryLiteral(token.text)) {
      const bool hasFraction = next.IsSymbol('.') && next.text.data() == token.text.data() + token.text.size();
      if (!hasFraction && !form.binaryPrefix.empty()) {
        rewriting.Replace(token.text, {form.binaryPrefix, token.text.substr(2), form.binarySuffix});
      }
    }
    if (place.Take(token, qualified)) qualified = token.IsSymbol('.');
  }
  if (maxRecords > 0 && !form.limitClause.empty() && place.MayLimit()) {
    return Limited(rewriting, place, form.limitClause, maxRecords);
  }
  return rewriting.IsTouched() ? rewriting.Finish() : std::move(sql);
}

}  // namespace ods
