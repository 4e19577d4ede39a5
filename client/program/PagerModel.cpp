#include "PagerModel.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>
#include <utility>

#include "Clauses.h"
#include "Names.h"
#include "Progress.h"
#include "TableText.h"
#include "Width.h"

namespace odbc_data {

namespace {

constexpr std::size_t kLinesBesideRows = 3;  // title, names, last line
constexpr std::size_t kGap = 2;
/// A column that is cut at the right edge shows at least so much.
constexpr std::size_t kNarrowest = 6;
constexpr std::string_view kHint =
    "n next  p prev  g first  G last  / search  s sort  f filter  \xE2\x86\x90\xE2\x86\x92 columns  q quit";
constexpr std::string_view kShortHint = "n p g G  / s f  \xE2\x86\x90\xE2\x86\x92  q";

std::string SortText(const std::vector<SortColumn>& sort) {
  std::string text;
  for (const SortColumn& column : sort) {
    text += (text.empty() ? "" : ", ") + column.field + (column.descending ? " desc" : "");
  }
  return text;
}

std::string ConditionText(const Condition& condition) {
  std::string text = condition.field + " " + condition.filterOperator;
  for (std::size_t i = 0; i < condition.values.size(); ++i) text += (i == 0 ? " " : "|") + condition.values[i];
  return text;
}

/// Takes the last character off.
void RemoveLast(std::string& text) {
  while (!text.empty()) {
    const bool inside = (static_cast<unsigned char>(text.back()) & 0xC0U) == 0x80U;
    text.pop_back();
    if (!inside) return;
  }
}

}  // namespace

PagerModel::PagerModel(KnownTable table, Question question, Ask ask)
    : table_(std::move(table)),
      question_(std::move(question)),
      ask_(std::move(ask)),
      columns_(ColumnsOf(question_, table_)) {}

std::size_t PagerModel::RowsOnScreen() const { return std::max(height_, kLinesBesideRows + 1) - kLinesBesideRows; }

void PagerModel::Resize(std::size_t width, std::size_t height) {
  const std::size_t before = RowsOnScreen();
  width_ = std::max<std::size_t>(width, 1);
  height_ = std::max<std::size_t>(height, 1);
  if (RowsOnScreen() != before && !page_.first.empty()) Try([this] { Go(Navigate::kSame); });
}

void PagerModel::Start(bool atEnd) {
  question_.count = true;
  question_.pageSize = RowsOnScreen();
  Page page = ask_(question_, atEnd ? Navigate::kLast : Navigate::kFirst, {});
  question_.count = false;
  total_ = page.total;
  Take(std::move(page));
  firstRow_ = 1;
  if (atEnd) firstRow_ = total_ ? std::optional(*total_ - std::ssize(page_.rows) + 1) : std::nullopt;
}

void PagerModel::Take(Page page) {
  CutRows(page.rows, columns_.size());
  page_ = std::move(page);
}

void PagerModel::Try(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::exception& error) {
    message_ = VisibleText(error.what());
    isError_ = true;
  }
}

void PagerModel::Go(Navigate navigate) {
  question_.pageSize = RowsOnScreen();
  Page page = ask_(question_, navigate, {.first = page_.first, .last = page_.last});
  const std::int64_t rowsBefore = std::ssize(page_.rows);
  if (page.again) {
    message_ = navigate == Navigate::kNext ? "This is the last page." : "This is the first page.";
    return;
  }
  Take(std::move(page));
  const std::int64_t rows = std::ssize(page_.rows);
  switch (navigate) {
    case Navigate::kFirst:
      firstRow_ = 1;
      break;
    case Navigate::kLast:
      firstRow_ = total_ ? std::optional(*total_ - rows + 1) : std::nullopt;
      break;
    case Navigate::kNext:
      if (firstRow_) *firstRow_ += rowsBefore;
      break;
    case Navigate::kPrevious:
      if (firstRow_) *firstRow_ -= rows;
      if (!page_.hasPrevious) firstRow_ = 1;
      break;
    case Navigate::kSame:
      break;
  }
}

void PagerModel::Change(Question question) {
  RequireAnswerable(question, table_);
  question.pageSize = RowsOnScreen();
  question.count = true;
  Page page = ask_(question, Navigate::kFirst, {});
  question.count = false;
  total_ = page.total;
  question_ = std::move(question);
  Take(std::move(page));
  firstRow_ = 1;
}

void PagerModel::Press(const KeyPress& press) {
  message_.clear();
  isError_ = false;
  if (prompt_ != Prompt::kNone) {
    PressInPrompt(press);
    return;
  }
  struct Action {
    KeyName key;
    std::string_view letter;
    void (*run)(PagerModel& self);
  };
  static constexpr auto kActions = std::to_array<Action>({
      {KeyName::kLetter, "n", [](PagerModel& self) { self.Go(Navigate::kNext); }},
      {KeyName::kLetter, " ", [](PagerModel& self) { self.Go(Navigate::kNext); }},
      {KeyName::kPageDown, "", [](PagerModel& self) { self.Go(Navigate::kNext); }},
      {KeyName::kDown, "", [](PagerModel& self) { self.Go(Navigate::kNext); }},
      {KeyName::kLetter, "p", [](PagerModel& self) { self.Go(Navigate::kPrevious); }},
      {KeyName::kPageUp, "", [](PagerModel& self) { self.Go(Navigate::kPrevious); }},
      {KeyName::kUp, "", [](PagerModel& self) { self.Go(Navigate::kPrevious); }},
      {KeyName::kLetter, "g", [](PagerModel& self) { self.Go(Navigate::kFirst); }},
      {KeyName::kHome, "", [](PagerModel& self) { self.Go(Navigate::kFirst); }},
      {KeyName::kLetter, "G", [](PagerModel& self) { self.Go(Navigate::kLast); }},
      {KeyName::kEnd, "", [](PagerModel& self) { self.Go(Navigate::kLast); }},
      {KeyName::kLeft, "", [](PagerModel& self) { self.Scroll(false); }},
      {KeyName::kRight, "", [](PagerModel& self) { self.Scroll(true); }},
      {KeyName::kLetter, "/", [](PagerModel& self) { self.Open(Prompt::kSearch, self.question_.search); }},
      {KeyName::kLetter, "s", [](PagerModel& self) { self.Open(Prompt::kSort, SortText(self.question_.sort)); }},
      {KeyName::kLetter, "f", [](PagerModel& self) { self.Open(Prompt::kFilter, ""); }},
      {KeyName::kLetter, "q", [](PagerModel& self) { self.ended_ = true; }},
  });
  const auto* const found = std::ranges::find_if(
      kActions, [&](const Action& action) { return action.key == press.key && action.letter == press.letter; });
  if (found != kActions.end()) Try([&] { found->run(*this); });
}

void PagerModel::Scroll(bool right) {
  if (!right) {
    firstColumn_ -= firstColumn_ > 0 ? 1 : 0;
    return;
  }
  // Until the last column is shown whole.
  const std::vector<std::size_t> shown = ShownWidths();
  Sheet sheet{.columns = columns_, .rows = page_.rows};
  const bool all =
      firstColumn_ + shown.size() == columns_.size() && shown.back() >= std::min(NaturalWidths(sheet).back(), width_);
  if (!all) ++firstColumn_;
}

void PagerModel::Open(Prompt prompt, std::string text) {
  prompt_ = prompt;
  typed_ = std::move(text);
}

void PagerModel::PressInPrompt(const KeyPress& press) {
  switch (press.key) {
    case KeyName::kLetter:
      typed_ += press.letter;
      return;
    case KeyName::kBackspace:
      RemoveLast(typed_);
      return;
    case KeyName::kClear:
      typed_.clear();
      return;
    case KeyName::kEscape:
      prompt_ = Prompt::kNone;
      return;
    case KeyName::kEnter:
      Try([this] { AnswerPrompt(); });
      return;
    default:
      return;
  }
}

void PagerModel::AnswerPrompt() {
  const Prompt prompt = std::exchange(prompt_, Prompt::kNone);
  Question question = question_;
  if (prompt == Prompt::kSearch) {
    question.search = typed_;
    if (question.searchFields.empty()) question.searchFields = SearchableFields(table_);
  } else if (prompt == Prompt::kSort) {
    question.sort = typed_.empty() ? std::vector<SortColumn>{} : ParseSort(table_.fields, typed_);
  } else if (typed_.empty()) {
    question.conditions.clear();
  } else {
    question.conditions.push_back(ParseCondition(table_.fields, typed_));
  }
  Change(std::move(question));
}

// ------------------------------------------------------------------------------------------------------------- Drawing

std::string PagerModel::RowNumbers() const {
  const std::int64_t rows = std::ssize(page_.rows);
  if (rows == 0) return "no rows";
  const std::string of = total_ ? " of " + Grouped(*total_) : "";
  if (!firstRow_) return Grouped(rows) + " rows" + of;
  return "rows " + Grouped(*firstRow_) + " to " + Grouped(*firstRow_ + rows - 1) + of;
}

std::string PagerModel::Title() const {
  std::string text = " " + BareName(table_.id) + "  " + RowNumbers();
  if (!question_.sort.empty()) text += "  sort: " + SortText(question_.sort);
  if (!question_.search.empty()) text += "  search: " + question_.search;
  for (const Condition& condition : question_.conditions) text += "  filter: " + ConditionText(condition);
  return VisibleText(text);
}

std::vector<std::size_t> PagerModel::ShownWidths() const {
  const std::vector<std::size_t> natural = NaturalWidths({.columns = columns_, .rows = page_.rows});
  const std::size_t widest = std::max<std::size_t>(width_ / 2, 20);
  std::vector<std::size_t> widths;
  std::size_t used = 0;
  for (std::size_t i = firstColumn_; i < natural.size(); ++i) {
    const std::size_t gap = widths.empty() ? 0 : kGap;
    const std::size_t rest = width_ - std::min(width_, used + gap);
    // The last column may take what is left.
    const std::size_t wanted = i + 1 == natural.size() ? natural[i] : std::min(natural[i], widest);
    if (!widths.empty() && rest < std::min(wanted, kNarrowest)) break;
    widths.push_back(std::min(wanted, rest));
    used += gap + widths.back();
  }
  return widths;
}

std::string PagerModel::PromptText() const {
  constexpr std::array<std::string_view, 4> kPrompts = {"", "Search: ", "Sort by: ", "Filter, empty for none: "};
  return std::string(kPrompts.at(static_cast<std::size_t>(prompt_))) + VisibleText(typed_);
}

std::optional<std::size_t> PagerModel::Cursor() const {
  if (prompt_ == Prompt::kNone) return std::nullopt;
  return std::min(DisplayWidth(PromptText()), width_ - 1);
}

Line PagerModel::LastLine() const {
  if (prompt_ != Prompt::kNone) {
    const std::string text = PromptText();
    const std::size_t wide = DisplayWidth(text);
    return {{BehindWidth(text, wide - std::min(wide, width_ - 1)), LineStyle::kPlain}};
  }
  if (!message_.empty()) return {{CutToWidth(message_, width_), isError_ ? LineStyle::kError : LineStyle::kPlain}};
  return {{std::string(DisplayWidth(kHint) <= width_ ? kHint : kShortHint), LineStyle::kHint}};
}

std::vector<Line> PagerModel::Draw() const {
  std::vector<Line> lines;
  lines.push_back({{InColumn(Title(), width_, ColumnKind::kText), LineStyle::kTitle}});
  const std::vector<std::size_t> widths = ShownWidths();
  const auto append = [&](auto makeSpan) {
    Line line;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      if (i > 0) line.push_back({std::string(kGap, ' ')});
      line.push_back(makeSpan(firstColumn_ + i, widths[i]));
    }
    lines.push_back(std::move(line));
  };
  append([&](std::size_t i, std::size_t width) {
    return Span{InColumn(VisibleText(columns_[i].name), width, columns_[i].kind), LineStyle::kNames};
  });
  for (const Row& row : page_.rows) {
    append([&](std::size_t i, std::size_t width) {
      const Cell& cell = row[i];
      return Span{InColumn(ShownValue(cell), width, columns_[i].kind),
                  cell.isNull ? LineStyle::kFaint : LineStyle::kPlain};
    });
  }
  lines.resize(std::max<std::size_t>(height_, 1) - 1);
  Line last = LastLine();
  for (Span& span : last) span.text = CutToWidth(span.text, width_);
  lines.push_back(std::move(last));
  return lines;
}

}  // namespace odbc_data
