#include "Clauses.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "ExitStatus.h"
#include "Names.h"

namespace odbc_data {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

bool IsWordLetter(char letter) {
  const auto code = static_cast<unsigned char>(letter);
  return (Lower(letter) >= 'a' && Lower(letter) <= 'z') || (letter >= '0' && letter <= '9') || letter == '_' ||
         code >= 0x80U;
}

void SkipBlanks(std::string_view& text) { text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size())); }

std::string_view WithoutBlanks(std::string_view text) {
  SkipBlanks(text);
  const std::size_t last = text.find_last_not_of(kBlanks);
  return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

bool StartsWithoutCase(std::string_view text, std::string_view beginning) {
  return text.size() >= beginning.size() &&
         std::ranges::equal(text.substr(0, beginning.size()), beginning, {}, Lower, Lower);
}

/// Takes `phrase` off the front of the text: its words as whole words, with any blanks between them.
bool TakePhrase(std::string_view& text, std::string_view phrase) {
  std::string_view rest = text;
  while (!phrase.empty()) {
    const std::string_view word = phrase.substr(0, phrase.find(' '));
    SkipBlanks(rest);
    if (!StartsWithoutCase(rest, word)) return false;
    const bool ends = rest.size() == word.size() || !IsWordLetter(word.back()) || !IsWordLetter(rest[word.size()]);
    if (!ends) return false;
    rest.remove_prefix(word.size());
    phrase.remove_prefix(std::min(word.size() + 1, phrase.size()));
  }
  text = rest;
  return true;
}

/// A text in quotes at the front, which is taken off; nothing when there are none.
std::optional<std::string> TakeQuoted(std::string_view& text, std::string_view whole) {
  if (text.empty() || (text.front() != '"' && text.front() != '\'')) return std::nullopt;
  const char quote = text.front();
  std::string value;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] != quote) {
      value += text[i];
    } else if (i + 1 < text.size() && text[i + 1] == quote) {
      value += text[i++];
    } else {
      text.remove_prefix(i + 1);
      return value;
    }
  }
  throw UsageError("A quote is not closed in: " + std::string(whole));
}

/// The name of a field at the front, which is taken off.
/// @param ends letters that end a name which no field has
std::string TakeField(const std::vector<Field>& fields, std::string_view& text, std::string_view whole,
                      std::string_view ends) {
  SkipBlanks(text);
  if (const auto quoted = TakeQuoted(text, whole)) return FindField(fields, *quoted);
  const std::string* longest = nullptr;
  for (const Field& field : fields) {
    for (const std::string* name : {&field.id, &field.caption}) {
      if (name->empty() || !StartsWithoutCase(text, *name)) continue;
      const bool whole_name =
          text.size() == name->size() || !IsWordLetter(name->back()) || !IsWordLetter(text[name->size()]);
      if (whole_name && (longest == nullptr || name->size() > longest->size())) longest = name;
    }
  }
  const std::size_t size = longest != nullptr ? longest->size() : std::min(text.find_first_of(ends), text.size());
  const std::string name(text.substr(0, size));
  text.remove_prefix(size);
  if (name.empty()) throw UsageError("A field is missing in: " + std::string(whole));
  return FindField(fields, name);
}

/// After an item of a list: true when another one follows.
bool TakeComma(std::string_view& text, std::string_view whole) {
  SkipBlanks(text);
  if (text.empty()) return false;
  if (text.front() != ',') {
    throw UsageError("\"" + std::string(text) + "\" is not understood in: " + std::string(whole));
  }
  text.remove_prefix(1);
  return true;
}

enum class Values : std::uint8_t { kNone, kAlternatives, kList, kTwo, kRefused };

struct Operator {
  std::string_view phrase;
  std::string_view keyword;
  Values values = Values::kAlternatives;
};

/// Those that begin like another one stand before it.
constexpr std::array kOperators = std::to_array<Operator>({
    {"is not null", "notnull", Values::kNone},
    {"not null", "notnull", Values::kNone},
    {"notnull", "notnull", Values::kNone},
    {"is null", "null", Values::kNone},
    {"null", "null", Values::kNone},
    {"is not in", "not", Values::kList},
    {"is in", "eq", Values::kList},
    {"is not", "not"},
    {"is", "eq"},
    {"not in", "not", Values::kList},
    {"not like", "", Values::kRefused},
    {"not between", "", Values::kRefused},
    {"not contains", "", Values::kRefused},
    {"not starts with", "", Values::kRefused},
    {"not startswith", "", Values::kRefused},
    {"not ends with", "", Values::kRefused},
    {"not endswith", "", Values::kRefused},
    {"in", "eq", Values::kList},
    {"not", "not"},
    {"ne", "not"},
    {"eq", "eq"},
    {"lteq", "lteq"},
    {"le", "lteq"},
    {"lt", "lt"},
    {"gteq", "gteq"},
    {"ge", "gteq"},
    {"gt", "gt"},
    {"like", "like"},
    {"between", "between", Values::kTwo},
    {"contains", "contains"},
    {"starts with", "startswith"},
    {"startswith", "startswith"},
    {"begins with", "startswith"},
    {"ends with", "endswith"},
    {"endswith", "endswith"},
    {"flowfilter", "flowfilter"},
    {"<>", "not"},
    {"!=", "not"},
    {"<=", "lteq"},
    {">=", "gteq"},
    {"==", "eq"},
    {"=", "eq"},
    {"<", "lt"},
    {">", "gt"},
});

const Operator& TakeOperator(std::string_view& text, std::string_view whole) {
  for (const Operator& one : kOperators) {
    if (TakePhrase(text, one.phrase)) return one;
  }
  std::vector<std::string> names;
  names.reserve(kOperators.size());
  for (const Operator& one : kOperators) names.emplace_back(one.phrase);
  SkipBlanks(text);
  const std::string word(text.substr(0, std::min(text.find_first_of(kBlanks), text.size())));
  if (word.empty()) throw UsageError("An operator is missing in: " + std::string(whole));
  std::string hint;
  for (const std::string& near : NearNames(names, word)) hint += (hint.empty() ? "" : " or ") + ("\"" + near + "\"");
  throw UsageError("There is no operator \"" + word + "\" (in: " + std::string(whole) + ")." +
                   (hint.empty() ? "" : " Did you mean " + hint + "?"));
}

/// The place where an "and" between two values stands, as a word of its own.
std::size_t FindAnd(std::string_view text) {
  for (std::size_t i = 1; i < text.size(); ++i) {
    std::string_view rest = text.substr(i);
    if (kBlanks.find(text[i - 1]) != std::string_view::npos && TakePhrase(rest, "and") && !rest.empty() &&
        kBlanks.find(rest.front()) != std::string_view::npos) {
      return i;
    }
  }
  return std::string_view::npos;
}

struct Taken {
  std::string value;
  bool more = false;  ///< a separator stood behind it
};

/// A value at the front, in quotes or up to one of the separators, which is taken off with it.
Taken TakeValue(std::string_view& text, std::string_view separators, std::string_view whole) {
  SkipBlanks(text);
  Taken taken;
  if (auto quoted = TakeQuoted(text, whole)) {
    taken.value = *std::move(quoted);
    SkipBlanks(text);
    if (!text.empty() && separators.find(text.front()) == std::string_view::npos) {
      throw UsageError("Something stands behind a closing quote in: " + std::string(whole) +
                       " (a quote inside of quotes is doubled)");
    }
  } else {
    const std::size_t end = std::min(text.find_first_of(separators), text.size());
    taken.value = WithoutBlanks(text.substr(0, end));
    text.remove_prefix(end);
    if (taken.value.empty()) {
      throw UsageError("A value is missing in: " + std::string(whole) + " (an empty text is \"\")");
    }
  }
  taken.more = !text.empty();
  text.remove_prefix(taken.more ? 1 : 0);
  return taken;
}

std::vector<std::string> TakeAlternatives(std::string_view text, std::string_view separators, std::string_view whole) {
  std::vector<std::string> values;
  Taken taken{.value = {}, .more = true};
  while (taken.more) {
    taken = TakeValue(text, separators, whole);
    values.push_back(std::move(taken.value));
  }
  return values;
}

std::vector<std::string> TakeTwo(std::string_view text, std::string_view whole) {
  SkipBlanks(text);
  std::string_view rest = text;
  std::optional<std::string> first = TakeQuoted(rest, whole);
  if (first) {
    if (!TakePhrase(rest, "and"))
      throw UsageError("\"between\" takes two values with \"and\" between: " + std::string(whole));
  } else {
    const std::size_t place = FindAnd(text);
    if (place == std::string_view::npos) {
      throw UsageError("\"between\" takes two values with \"and\" between: " + std::string(whole));
    }
    first = std::string(WithoutBlanks(text.substr(0, place)));
    rest = text.substr(place + 3);
  }
  return {*std::move(first), TakeValue(rest, "", whole).value};
}

}  // namespace

std::vector<std::string> ParseFieldList(const std::vector<Field>& fields, std::string_view text) {
  std::vector<std::string> ids;
  std::string_view rest = text;
  do {
    ids.push_back(TakeField(fields, rest, text, ","));
  } while (TakeComma(rest, text));
  return ids;
}

std::vector<SortColumn> ParseSort(const std::vector<Field>& fields, std::string_view text) {
  std::vector<SortColumn> columns;
  std::string_view rest = text;
  do {
    SortColumn column{.field = TakeField(fields, rest, text, ", \t")};
    column.descending = TakePhrase(rest, "descending") || TakePhrase(rest, "desc");
    if (!column.descending && !TakePhrase(rest, "ascending")) (void)TakePhrase(rest, "asc");
    columns.push_back(std::move(column));
  } while (TakeComma(rest, text));
  return columns;
}

Condition ParseCondition(const std::vector<Field>& fields, std::string_view text) {
  text = WithoutBlanks(text);
  std::string_view rest = text;
  Condition condition{.field = TakeField(fields, rest, text, " \t=<>!"), .filterOperator = {}, .values = {}};
  const Operator& found = TakeOperator(rest, text);
  condition.filterOperator = found.keyword;
  rest = WithoutBlanks(rest);
  switch (found.values) {
    case Values::kNone:
      if (!rest.empty()) throw UsageError("\"" + std::string(found.phrase) + "\" takes no value: " + std::string(text));
      break;
    case Values::kAlternatives:
      condition.values = TakeAlternatives(rest, "|", text);
      break;
    case Values::kList:
      if (rest.size() >= 2 && rest.front() == '(' && rest.back() == ')') {
        rest = WithoutBlanks(rest.substr(1, rest.size() - 2));
      }
      condition.values = TakeAlternatives(rest, ",|", text);
      break;
    case Values::kRefused:
      throw UsageError("The server has no operator \"" + std::string(found.phrase) + "\": " + std::string(text));
    case Values::kTwo:
      condition.values = TakeTwo(rest, text);
      break;
  }
  return condition;
}

std::string OperatorHelp() {
  constexpr std::array<std::string_view, 14> kKeywords = {"eq",       "not",     "lt",      "lteq",      "gt",
                                                          "gteq",     "between", "like",    "contains",  "startswith",
                                                          "endswith", "null",    "notnull", "flowfilter"};
  std::string text;
  for (const std::string_view keyword : kKeywords) {
    std::string others;
    for (const Operator& one : kOperators) {
      if (one.keyword != keyword || one.phrase == keyword) continue;
      others += (others.empty() ? "" : ", ") + std::string(one.phrase);
    }
    text += keyword;
    if (!others.empty()) text += std::string(12 - keyword.size(), ' ') + others;
    text += '\n';
  }
  return text;
}

}  // namespace odbc_data
