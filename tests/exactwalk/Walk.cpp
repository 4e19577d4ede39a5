#include "exactwalk/Walk.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string_view>

#include "catalogue/modKeys.h"
#include "common/Text.h"

namespace ods::test {
namespace {

using Rows = std::vector<std::string>;

std::string Escaped(const std::string& text) { return ReplaceAll(EscapeXml(text), "\r", "&#13;"); }

std::string SqlText(const std::string& text) { return "'" + ReplaceAll(text, "'", "''") + "'"; }

/// `text` in a LIKE with ESCAPE '!'.
std::string LikeText(std::string text) {
  for (const char* special : {"!", "%", "_"}) text = ReplaceAll(text, special, std::string("!") + special);
  return text;
}

struct Operation {
  std::string_view keyword;
  std::string_view sql;  ///< with {c} for the column, {1} and {2} for the values
  enum class Values { kNone, kOne, kSome, kTwo, kFragment } values;
  bool ranged = false;
};

constexpr std::array kOperations = {
    Operation{"notnull", "{c} IS NOT NULL", Operation::Values::kNone},
    Operation{"null", "{c} IS NULL", Operation::Values::kNone},
    Operation{"eq", "{c} = {1}", Operation::Values::kSome},
    Operation{"gteq", "{c} >= {1}", Operation::Values::kOne, true},
    Operation{"not", "{c} <> {1}", Operation::Values::kOne},
    Operation{"lteq", "{c} <= {1}", Operation::Values::kOne, true},
    Operation{"lt", "{c} < {1}", Operation::Values::kOne, true},
    Operation{"gt", "{c} > {1}", Operation::Values::kOne, true},
    Operation{"between", "{c} BETWEEN {1} AND {2}", Operation::Values::kTwo, true},
    Operation{"contains", "%{1}%", Operation::Values::kFragment},
    Operation{"startswith", "{1}%", Operation::Values::kFragment},
    Operation{"endswith", "%{1}", Operation::Values::kFragment},
};

const std::vector<std::string> kFragments = {"a", "A", "v1", "%", "_", "'", "|", "\"", "{0}", "it's", "!"};

/// Puts a question together.
class Asking {
 public:
  Asking(const WalkTable& table, const Question& question) : table_(table), question_(question) {}

  AskedQuestion Ask() {
    asked_.pageSize = question_.pageSize + 1;
    asked_.count = question_.count;
    asked_.elements = "<TableId>" + Escaped(table_.Identifier()) + "</TableId>";
    if (question_.count) asked_.elements += "<Count>1</Count>";
    AddSort();
    AddKeys();
    AddFilters();
    AddSearch();
    AddFields();
    return asked_;
  }

 private:
  [[nodiscard]] const WalkColumn& Column(std::size_t index) const { return table_.Columns()[index]; }
  /// The columns of a choice by which the database can order, each once.
  [[nodiscard]] std::optional<std::size_t> Ordered(unsigned choice, std::set<std::size_t>& taken) const {
    const std::size_t column = choice % table_.Columns().size();
    if (!Column(column).type->ordered || !taken.insert(column).second) return std::nullopt;
    return column;
  }
  void AddOrder(std::size_t column, bool descending) {
    if (!asked_.order.empty()) asked_.order += ", ";
    asked_.order += table_.OrderSql(column) + (descending ? " DESC" : "");
  }

  void AddSort() {
    std::set<std::size_t> taken;
    std::string columns;
    for (const SortChoice& each : question_.sort) {
      const auto column = Ordered(each.column, taken);
      if (!column) continue;
      descending_ = each.descending;
      AddOrder(*column, descending_);
      const std::string name = Escaped(Column(*column).name);
      if (question_.oldSort) {
        asked_.elements += "<SortColumn>" + name + "</SortColumn><SortDirection>" + (descending_ ? "desc" : "asc") +
                           "</SortDirection>";
        return;
      }
      columns += "<Column><Id>" + name + "</Id><Direction>" + (descending_ ? "desc" : "asc") + "</Direction></Column>";
    }
    if (!columns.empty()) asked_.elements += "<Sort>" + columns + "</Sort>";
  }

  void AddKeys() {
    for (const auto& [element, choice] : {std::pair<const char*, const std::vector<unsigned>&>{"Key", question_.key},
                                          {"PrimaryKey", question_.primaryKey}}) {
      std::set<std::size_t> taken;
      std::vector<std::string> names;
      for (const unsigned each : choice) {
        const auto column = Ordered(each, taken);
        if (!column) continue;
        names.push_back(Column(*column).name);
        AddOrder(*column, descending_);
      }
      if (names.empty()) continue;
      asked_.elements.append("<").append(element).append(">").append(Escaped(KeyToText(names)));
      asked_.elements.append("</").append(element).append(">");
    }
  }

  void AddFilters() {
    std::string conditions;
    for (const FilterChoice& each : question_.filters) conditions += Condition(each);
    if (!conditions.empty()) asked_.elements += "<Filter>" + conditions + "</Filter>";
  }
  void AddCondition(const std::string& sql) {
    asked_.condition += (asked_.condition.empty() ? "(" : " AND (") + sql + ")";
  }
  /// The text of a meant value that a request can carry.
  [[nodiscard]] std::optional<std::string> AskableText(std::size_t row, std::size_t column) const {
    const std::optional<std::string> text = table_.MeantText(row, column);
    if (!text || !IsXmlText(*text)) return std::nullopt;
    return text;
  }

  std::string Condition(const FilterChoice& choice) {
    const std::size_t column = choice.column % (table_.Columns().size() - table_.NumberColumns());
    const ColumnType& type = *Column(column).type;
    Operation operation = kOperations[choice.operation % kOperations.size()];
    using Given = Operation::Values;
    std::vector<std::size_t> rows;
    if (operation.values != Given::kNone && operation.values != Given::kFragment && table_.MeantRows() > 0) {
      rows.push_back(choice.row % table_.MeantRows());
      if (operation.values != Given::kOne) rows.push_back(choice.otherRow % table_.MeantRows());
    }
    std::erase_if(rows, [&](std::size_t row) { return !AskableText(row, column); });
    const bool lacksValue = operation.values == Given::kTwo ? rows.size() < 2 : rows.empty();
    const bool possible = operation.values == Given::kFragment
                              ? type.searched
                              : type.filtered && type.ordered && (type.ranged || !operation.ranged) && !lacksValue;
    if (operation.values != Given::kNone && !possible) operation = kOperations[0];

    std::string xml = "<Condition><FieldId>" + Escaped(Column(column).name) + "</FieldId><FilterOp>" +
                      std::string(operation.keyword) + "</FilterOp>";
    const std::string name = table_.Quoted(column);
    if (operation.values == Given::kFragment) {
      const std::string& fragment = kFragments[choice.fragment % kFragments.size()];
      AddCondition(name + " LIKE " + SqlText(ReplaceAll(std::string(operation.sql), "{1}", LikeText(fragment))) +
                   " ESCAPE '!'");
      return xml + "<Value>" + Escaped(fragment) + "</Value></Condition>";
    }
    std::string sql;
    // The column last: its name may be anything.
    const auto filled = [&](const std::string& first, const std::string& second) {
      const std::string values = ReplaceAll(ReplaceAll(std::string(operation.sql), "{1}", first), "{2}", second);
      return ReplaceAll(values, "{c}", name);
    };
    if (operation.values == Given::kNone) {
      sql = ReplaceAll(std::string(operation.sql), "{c}", table_.NullSql(column));
    } else if (operation.values == Given::kTwo) {
      sql = filled(table_.MeantValue(rows[0], column), table_.MeantValue(rows[1], column));
    } else {
      for (const std::size_t row : rows)
        sql += (sql.empty() ? "" : " OR ") + filled(table_.MeantValue(row, column), "");
    }
    if (operation.values != Given::kNone) {
      for (const std::size_t row : rows) xml += "<Value>" + Escaped(*AskableText(row, column)) + "</Value>";
    }
    AddCondition(sql);
    return xml + "</Condition>";
  }

  void AddSearch() {
    if (question_.search == 0) return;
    const std::string& fragment = kFragments[(question_.search - 1) % kFragments.size()];
    std::string fields;
    std::string sql;
    for (std::size_t i = 0; i < table_.Columns().size(); ++i) {
      if (!Column(i).type->searched) continue;
      fields += "<Field><Id>" + Escaped(Column(i).name) + "</Id><SearchString>%{0}%</SearchString></Field>";
      sql += (sql.empty() ? "UPPER(" : " OR UPPER(") + table_.Quoted(i) + ") LIKE UPPER(" +
             SqlText("%" + fragment + "%") + ")";
    }
    if (fields.empty()) return;
    asked_.elements +=
        "<SearchString>" + Escaped(fragment) + "</SearchString><SearchFields>" + fields + "</SearchFields>";
    AddCondition(sql);
  }

  void AddFields() {
    const std::size_t count = table_.Columns().size();
    asked_.fields = question_.fields == 0 ? count : (question_.fields - 1) % count + 1;
    asked_.elements += "<Fields>";
    for (std::size_t i = 0; i < asked_.fields; ++i) {
      asked_.elements += "<Field><Id>" + Escaped(Column((i + question_.fields) % count).name) + "</Id></Field>";
    }
    asked_.elements += "</Fields>";
  }

  const WalkTable& table_;
  const Question& question_;
  AskedQuestion asked_;
  bool descending_ = false;
};

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

/// The cells of a row of the database that a page has, in its order.
std::string Projected(const WalkTable& table, const WalkTable::Row& row, const std::vector<std::string>& columns) {
  TextRow cells;
  for (const std::string& name : columns) {
    const auto found = std::ranges::find(table.Columns(), name, &WalkColumn::name);
    if (found == table.Columns().end()) Fail("The page has a column " + name + " that the table lacks.");
    cells.push_back(row.cells[static_cast<std::size_t>(found - table.Columns().begin())]);
  }
  return Joined(cells);
}

std::string Difference(const Rows& found, const Rows& expected) {
  Rows surplus;
  Rows lacking;
  Rows sortedFound = found;
  Rows sortedExpected = expected;
  std::ranges::sort(sortedFound);
  std::ranges::sort(sortedExpected);
  std::ranges::set_difference(sortedFound, sortedExpected, std::back_inserter(surplus));
  std::ranges::set_difference(sortedExpected, sortedFound, std::back_inserter(lacking));
  std::string text;
  const auto show = [&text](const char* what, const Rows& rows) {
    constexpr std::size_t kMost = 5;
    text += std::string("\n") + what + " (" + std::to_string(rows.size()) + "):";
    for (std::size_t i = 0; i < std::min(kMost, rows.size()); ++i) text += "\n  " + rows[i].substr(0, 1000);
  };
  show("too many", surplus);
  show("missing", lacking);
  return text;
}

/// One question on its way.
class Walker {
 public:
  Walker(const WalkTable& table, Pager& pager, const AskedQuestion& asked)
      : table_(table), pager_(pager), asked_(asked), truth_(table.Read(asked.condition, asked.order)) {
    LeaveOutWhatTellsNothing();
  }

  void Walk(const std::vector<unsigned>& steps) {
    WalkForwards();
    if (truth_.empty()) return;
    WalkBackwards();
    WalkZigzag(steps);
  }

 private:
  Page Ask(const char* navigate, const Page& from) {
    Page page = pager_.Ask(asked_.elements, asked_.pageSize, navigate, from);
    if (page.rows.size() > asked_.pageSize) Fail("The page has " + std::to_string(page.rows.size()) + " rows.");
    if (asked_.count && page.total != std::to_string(truth_.size())) {
      Fail("The total is '" + page.total + "', there are " + std::to_string(truth_.size()) + " rows.");
    }
    if (!page.rows.empty() && page.columns.size() < asked_.fields) Fail("The page lacks columns.");
    return page;
  }
  /// Where rows differ only in what the database cannot compare, which of them comes on which page is its choice. The
  /// columns that it cannot compare are then not looked at.
  void LeaveOutWhatTellsNothing() {
    std::map<std::string, std::string> wholeRows;
    bool alike = false;
    for (const WalkTable::Row& row : truth_) {
      TextRow compared;
      for (std::size_t i = 0; i < row.cells.size(); ++i) {
        if (table_.Columns()[i].type->ordered) compared.push_back(row.cells[i]);
      }
      const std::string whole = Joined(row.cells);
      alike = alike || wholeRows.emplace(Joined(compared), whole).first->second != whole;
    }
    if (!alike) return;
    for (const WalkColumn& column : table_.Columns()) {
      if (!column.type->ordered) leftOut_.insert(column.name);
    }
  }
  [[nodiscard]] Rows Texts(const Page& page) const {
    Rows rows;
    for (const TextRow& row : page.rows) {
      TextRow cells;
      for (std::size_t i = 0; i < row.size(); ++i) {
        if (!leftOut_.contains(page.columns[i])) cells.push_back(row[i]);
      }
      rows.push_back(Joined(cells));
    }
    return rows;
  }
  static void CheckFlag(const char* name, bool found, bool wanted) {
    if (found != wanted) Fail(std::string(name) + " is " + (found ? "1" : "0") + ".");
  }
  /// The rows from `start` on are those of the page.
  void CheckPlace(const char* how, const Page& page, std::size_t start, std::size_t end, bool again = false) {
    if (Texts(page) !=
        Rows(rows_.begin() + static_cast<std::ptrdiff_t>(start), rows_.begin() + static_cast<std::ptrdiff_t>(end))) {
      std::string found;
      for (const std::string& row : Texts(page)) found += "\n  " + row;
      std::string wanted;
      for (std::size_t i = start; i < end; ++i) wanted += "\n  " + rows_[i];
      Fail(std::string(how) + " should show the rows " + std::to_string(start) + " to " + std::to_string(end) + " of " +
           std::to_string(rows_.size()) + wanted + "\nbut shows" + found);
    }
    // The page that a position begins is said to have one before it, whether it has or not.
    CheckFlag("HasPreviousPage", page.hasPrevious, start > 0 || again);
    CheckFlag("HasNextPage", page.hasNext, end < rows_.size());
  }

  void WalkForwards() {
    const std::size_t mostPages = truth_.size() / asked_.pageSize + 2;
    Page page = Ask("gotofirst", {});
    std::vector<std::string> columns = page.columns;
    for (std::size_t pages = 1;; ++pages) {
      CheckFlag("HasPreviousPage", page.hasPrevious, !rows_.empty());
      for (const std::string& row : Texts(page)) rows_.push_back(row);
      if (!page.hasNext) break;
      if (page.rows.size() != asked_.pageSize) Fail("A page that is not the last is not full.");
      if (pages > mostPages) Fail("The walk forwards does not end." + Difference(rows_, TruthRows(columns)));
      page = Ask("gotonext", page);
    }
    const Rows truth = TruthRows(columns);
    Rows sortedRows = rows_;
    Rows sortedTruth = truth;
    std::ranges::sort(sortedRows);
    std::ranges::sort(sortedTruth);
    if (sortedRows != sortedTruth)
      Fail("Forwards the rows are others than the database has." + Difference(rows_, truth));
    // In each group of rows that are equal in what is sorted by stand the rows that the database has there.
    for (std::size_t start = 0, end = 0; start < truth_.size(); start = end) {
      while (end < truth_.size() && truth_[end].rank == truth_[start].rank) ++end;
      const auto from = static_cast<std::ptrdiff_t>(start);
      const auto to = static_cast<std::ptrdiff_t>(end);
      Rows found(rows_.begin() + from, rows_.begin() + to);
      Rows wanted(truth.begin() + from, truth.begin() + to);
      std::ranges::sort(found);
      std::ranges::sort(wanted);
      if (found != wanted) {
        Fail("The rows " + std::to_string(start) + " to " + std::to_string(end) + " are out of order." +
             Difference(found, wanted));
      }
    }
  }

  [[nodiscard]] Rows TruthRows(std::vector<std::string> columns) const {
    std::erase_if(columns, [this](const std::string& column) { return leftOut_.contains(column); });
    Rows rows;
    for (const WalkTable::Row& row : truth_) rows.push_back(Projected(table_, row, columns));
    return rows;
  }

  void WalkBackwards() {
    std::size_t end = rows_.size();
    std::size_t start = end - std::min<std::size_t>(end, asked_.pageSize);
    Page page = Ask("gotolast", {});
    CheckPlace("gotolast", page, start, end);
    while (page.hasPrevious) {
      end = start;
      start = end - std::min<std::size_t>(end, asked_.pageSize);
      page = Ask("gotoprev", page);
      CheckPlace("gotoprev", page, start, end);
    }
  }

  void WalkZigzag(const std::vector<unsigned>& steps) {
    const std::size_t size = asked_.pageSize;
    std::size_t start = 0;
    std::size_t end = std::min(size, rows_.size());
    Page page = Ask("gotofirst", {});
    CheckPlace("gotofirst", page, start, end);
    for (const unsigned step : steps) {
      static constexpr std::array kNavigations = {"gotonext", "gotoprev", "",         "gotonext",
                                                  "gotoprev", "gotolast", "gotofirst"};
      const std::string_view navigation = kNavigations[step % kNavigations.size()];
      std::string_view navigated = navigation;
      if (navigation == "gotoprev" && start == 0) navigated = "gotofirst";
      if (navigation == "gotonext" && end == rows_.size()) navigated = "gotolast";
      if (navigated == "gotofirst") {
        start = 0;
        end = std::min(size, rows_.size());
      } else if (navigated == "gotolast") {
        end = rows_.size();
        start = end - std::min(end, size);
      } else if (navigation == "gotonext") {
        start = end;
        end = std::min(rows_.size(), start + size);
      } else if (navigation == "gotoprev") {
        end = start;
        start = end - std::min(end, size);
      } else {
        end = std::min(rows_.size(), start + size);
      }
      page = Ask(navigation.data(), page);
      CheckPlace(("zigzag " + std::string(navigation)).c_str(), page, start, end, navigation.empty());
      if (pager_.IsExact() && page.navigated != navigated) Fail("Navigated is '" + page.navigated + "'.");
    }
  }

  const WalkTable& table_;
  Pager& pager_;
  const AskedQuestion& asked_;
  std::vector<WalkTable::Row> truth_;
  std::set<std::string> leftOut_;  ///< columns that are not looked at
  Rows rows_;                      ///< as the walk forwards gave them
};

/// Runs a walk and adds to what it raises all that is needed to see it again.
template <typename Run>
void WithReport(const WalkTable& table, Pager& pager, const AskedQuestion& asked, Run run) {
  try {
    run();
  } catch (const std::exception& error) {
    std::string text = std::string(error.what()) + "\n" + table.Report() + "condition: " + asked.condition +
                       "\norder: " + asked.order + "\nrequest: " + pager.LastRequest();
    constexpr std::size_t kMost = 3;  // what comes before asks about the table
    const std::vector<std::string> statements = pager.TakeStatements();
    for (std::size_t i = statements.size() - std::min(kMost, statements.size()); i < statements.size(); ++i) {
      text += "\nstatement: " + statements[i];
    }
    throw std::runtime_error(text);
  }
}

}  // namespace

AskedQuestion AskOf(const WalkTable& table, const Question& question) { return Asking(table, question).Ask(); }

void WalkThrough(const WalkTable& table, Pager& pager, const Question& question) {
  if (!table.ServerViewId().empty()) pager.AddView(table.ServerViewId(), table.ServerViewQuery());
  const AskedQuestion asked = AskOf(table, question);
  WithReport(table, pager, asked, [&] { Walker(table, pager, asked).Walk(question.steps); });
}

void WalkThroughChanges(WalkTable& table, Pager& pager, const Question& question, const std::vector<Change>& changes,
                        bool backwards) {
  if (!table.ServerViewId().empty()) pager.AddView(table.ServerViewId(), table.ServerViewQuery());
  AskedQuestion asked = AskOf(table, question);
  const auto number = [&table](const WalkTable::Row& row) { return *row.cells[table.Columns().size() - 1]; };
  WithReport(table, pager, asked, [&] {
    const std::vector<WalkTable::Row> before = table.Read(asked.condition, asked.order);
    std::set<std::string> touched;
    std::vector<std::string> seen;
    Page page = pager.Ask(asked.elements, asked.pageSize, backwards ? "gotolast" : "gotofirst", {});
    std::size_t next = 0;
    for (std::size_t pages = 0;; ++pages) {
      const auto place = std::ranges::find(page.columns, WalkTable::kNumberName) - page.columns.begin();
      std::vector<std::string> numbers;
      for (const TextRow& row : page.rows) numbers.push_back(row.at(static_cast<std::size_t>(place)).value_or(""));
      if (backwards) std::ranges::reverse(numbers);
      seen.insert(seen.end(), numbers.begin(), numbers.end());
      if (!(backwards ? page.hasPrevious : page.hasNext)) break;
      if (pages > before.size() + changes.size()) Fail("The walk does not end.");
      if (next < changes.size()) {
        // The rows of the page's ends are the likeliest to matter.
        Change change = changes[next++];
        if (change.row % 2 == 0 && !numbers.empty()) change.row = static_cast<unsigned>(std::stoul(numbers.back()));
        touched.merge(table.Apply(change));
      }
      const std::string navigate = backwards ? "gotoprev" : "gotonext";
      page = pager.Ask(asked.elements, asked.pageSize, navigate, page);
      if (page.navigated != navigate) break;  // nothing is left: the last page comes again
    }
    if (backwards) std::ranges::reverse(seen);
    std::map<std::string, int> ranks;
    for (const WalkTable::Row& row : before) {
      if (touched.contains(number(row))) continue;
      ranks[number(row)] = row.rank;
      const auto count = std::ranges::count(seen, number(row));
      if (count != 1) Fail("The row " + number(row) + " came " + std::to_string(count) + " times.");
    }
    int rank = 0;
    for (const std::string& each : seen) {
      const auto found = ranks.find(each);
      if (found == ranks.end()) continue;
      if (found->second < rank) Fail("The row " + each + " is out of order.");
      rank = found->second;
    }
  });
}

std::ostream& operator<<(std::ostream& out, const Question& question) {
  return out << question.sort.size() << " sort columns, " << question.filters.size() << " filters, page size "
             << question.pageSize + 1;
}

}  // namespace ods::test
