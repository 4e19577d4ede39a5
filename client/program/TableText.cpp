#include "TableText.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "Width.h"

namespace odbc_data {

namespace {

constexpr std::size_t kColumnGap = 2;
constexpr std::size_t kNarrowestColumn = 10;
constexpr std::string_view kRule = "\xE2\x94\x80";
constexpr std::string_view kBold = "\x1B[1m";
constexpr std::string_view kFaint = "\x1B[2m";
constexpr std::string_view kPlain = "\x1B[0m";

std::size_t Total(const std::vector<std::size_t>& widths) {
  if (widths.empty()) return 0;
  return std::accumulate(widths.begin(), widths.end(), kColumnGap * (widths.size() - 1));
}

std::vector<std::size_t> Capped(const std::vector<SheetColumn>& columns, std::vector<std::size_t> widths,
                                std::size_t cap) {
  for (std::size_t i = 0; i < widths.size(); ++i) {
    if (columns[i].kind == ColumnKind::kText) widths[i] = std::min(widths[i], cap);
  }
  return widths;
}

/// Hands the columns left over to those that gave way.
void FillUp(std::vector<std::size_t>& widths, const std::vector<std::size_t>& natural, std::size_t width) {
  std::size_t rest = width - std::min(width, Total(widths));
  for (std::size_t i = 0; i < widths.size() && rest > 0; ++i) {
    if (widths[i] >= natural[i]) continue;
    ++widths[i];
    --rest;
  }
}

void AppendLine(std::string& text, const std::vector<std::string>& parts) {
  std::string line;
  for (const std::string& part : parts) line += (line.empty() ? "" : std::string(kColumnGap, ' ')) + part;
  const std::size_t last = line.find_last_not_of(' ');
  text.append(line, 0, last == std::string::npos ? 0 : last + 1);
  text += '\n';
}

std::string Styled(const std::string& text, std::string_view style, bool coloured) {
  return coloured ? std::string(style) + text + std::string(kPlain) : text;
}

}  // namespace

std::string ShownValue(const Cell& cell) { return cell.isNull ? "NULL" : VisibleText(PlainText(cell)); }

TableLayout LayOut(const std::vector<SheetColumn>& columns, std::vector<std::size_t> natural, std::size_t width) {
  TableLayout layout;
  if (width == 0 || Total(natural) <= width) {
    layout.widths = std::move(natural);
    return layout;
  }
  while (natural.size() > 1 && Total(Capped(columns, natural, kNarrowestColumn)) > width) {
    natural.pop_back();
    ++layout.hidden;
  }
  std::size_t low = kNarrowestColumn;
  std::size_t high = width;
  while (low < high) {
    const std::size_t middle = (low + high + 1) / 2;
    if (Total(Capped(columns, natural, middle)) <= width) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  layout.widths = Capped(columns, natural, low);
  FillUp(layout.widths, natural, width);
  for (std::size_t& each : layout.widths) each = std::min(each, width);
  return layout;
}

std::vector<std::size_t> NaturalWidths(const Sheet& sheet) {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < sheet.columns.size(); ++i) {
    std::size_t widest = std::max<std::size_t>(DisplayWidth(VisibleText(sheet.columns[i].name)), 1);
    for (const Row& row : sheet.rows) widest = std::max(widest, DisplayWidth(ShownValue(row[i])));
    widths.push_back(widest);
  }
  return widths;
}

std::string InColumn(const std::string& text, std::size_t width, ColumnKind kind) {
  std::string cut = CutToWidth(text, width);
  const std::string blanks(width - std::min(width, DisplayWidth(cut)), ' ');
  return kind == ColumnKind::kNumber ? blanks + cut : cut + blanks;
}

std::string FormatTable(const Sheet& sheet, const TableStyle& style) {
  const TableLayout layout = LayOut(sheet.columns, NaturalWidths(sheet), style.width);
  const std::size_t shown = layout.widths.size();
  std::string text;
  std::vector<std::string> parts(shown);
  for (std::size_t i = 0; i < shown; ++i) {
    const SheetColumn& column = sheet.columns[i];
    parts[i] = Styled(InColumn(VisibleText(column.name), layout.widths[i], column.kind), kBold, style.coloured);
  }
  AppendLine(text, parts);
  for (std::size_t i = 0; i < shown; ++i) {
    parts[i].clear();
    for (std::size_t j = 0; j < layout.widths[i]; ++j) parts[i] += kRule;
  }
  AppendLine(text, parts);
  for (const Row& row : sheet.rows) {
    for (std::size_t i = 0; i < shown; ++i) {
      const bool faint = style.coloured && row[i].isNull;
      parts[i] = Styled(InColumn(ShownValue(row[i]), layout.widths[i], sheet.columns[i].kind), kFaint, faint);
    }
    AppendLine(text, parts);
  }
  if (layout.hidden == 0) return text;
  std::string names;
  for (std::size_t i = shown; i < sheet.columns.size(); ++i) {
    names += (names.empty() ? "" : ", ") + VisibleText(sheet.columns[i].name);
  }
  const std::string note = "Not shown: " + names;
  return text + Styled(CutToWidth(note, style.width), kFaint, style.coloured) + "\n";
}

}  // namespace odbc_data
