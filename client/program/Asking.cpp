#include "Asking.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "Clauses.h"
#include "ExitStatus.h"
#include "Names.h"

namespace odbc_data {

namespace {

/// What every server knows.
constexpr auto kPlainOperators =
    std::to_array<std::string_view>({"eq", "lt", "gt", "lteq", "gteq", "not", "like", "flowfilter"});

bool IsExact(const KnownTable& table) { return !table.fields.empty() && table.fields.front().exact; }

}  // namespace

std::string FindTableId(Client& client, const std::string& name) {
  // An identifier needs no list, which may be long.
  return name.starts_with('[') ? name : FindTable(client.Tables(), name);
}

KnownTable LookUpTable(Client& client, const std::string& name) {
  KnownTable table;
  table.id = FindTableId(client, name);
  table.fields = client.Fields(table.id);
  if (table.fields.empty()) throw UsageError("The table \"" + table.id + "\" has no fields.");
  return table;
}

Question QuestionOf(const Options& options, const KnownTable& table) {
  Question question{.table = table.id, .fields = {}};
  if (options.fields.empty()) {
    for (const Field& field : table.fields) question.fields.push_back(field.id);
  } else {
    question.fields = ParseFieldList(table.fields, options.fields);
  }
  if (!options.sort.empty()) question.sort = ParseSort(table.fields, options.sort);
  for (const std::string& filter : options.filters) {
    question.conditions.push_back(ParseCondition(table.fields, filter));
  }
  question.search = options.search;
  if (!options.search.empty()) {
    question.searchFields =
        options.searchIn.empty() ? SearchableFields(table) : ParseFieldList(table.fields, options.searchIn);
  } else if (!options.searchIn.empty()) {
    throw UsageError("--in tells where to search: it needs --search.");
  }
  RequireAnswerable(question, table);
  return question;
}

void RequireAnswerable(const Question& question, const KnownTable& table) {
  if (IsExact(table)) return;
  const auto refuse = [](const std::string& why) {
    throw UsageError("The server does not page exactly (it runs without \"exact\"): " + why);
  };
  if (question.sort.size() > 1) refuse("it sorts by one field only.");
  for (const Condition& condition : question.conditions) {
    if (std::ranges::find(kPlainOperators, condition.filterOperator) == kPlainOperators.end()) {
      refuse("it has no operator \"" + condition.filterOperator + "\".");
    }
    for (const std::string& value : condition.values) {
      if (value.find('|') != std::string::npos) {
        refuse("a value of a filter cannot have a \"|\" in it: \"" + value + "\".");
      }
    }
  }
}

std::vector<std::string> SearchableFields(const KnownTable& table) {
  std::vector<std::string> texts;
  std::vector<std::string> all;
  for (const Field& field : table.fields) {
    all.push_back(field.id);
    if (IsTextType(field.type)) texts.push_back(field.id);
  }
  return texts.empty() ? all : texts;
}

void TakeConstructedKey(Client& client, const Options& options, Question& question) {
  if (!options.useConstructedKey) return;
  const PrimaryKey key = client.FindPrimaryKey(question.table);
  if (key.constructed) question.primaryKey = key.id;
}

std::vector<SheetColumn> ColumnsOf(const Question& question, const KnownTable& table) {
  std::vector<SheetColumn> columns;
  for (const std::string& id : question.fields) {
    const auto field = std::ranges::find(table.fields, id, &Field::id);
    columns.push_back({id, field == table.fields.end() ? ColumnKind::kText : KindOf(*field)});
  }
  return columns;
}

}  // namespace odbc_data
