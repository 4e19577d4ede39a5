#include "Formats.h"

#include <array>
#include <cstdio>
#include <utility>

#include "common/Text.h"

namespace odbc_data {

namespace {

// ------------------------------------------------------------------------------------------------------------------
// CSV

class CsvWriter final : public RowWriter {
 public:
  explicit CsvWriter(std::string lineEnd) : lineEnd_(std::move(lineEnd)) {}

  void Begin(std::string& text, const std::vector<SheetColumn>& columns, bool continued) override {
    if (continued) return;
    Row names;
    for (const SheetColumn& column : columns) names.push_back({.text = column.name});
    Write(text, names);
  }
  void Write(std::string& text, const Row& row) override {
    bool first = true;
    for (const Cell& cell : row) {
      if (!first) text += ',';
      first = false;
      if (!cell.isNull) AppendField(text, cell.isHex ? PlainText(cell) : cell.text);
    }
    text += lineEnd_;
  }
  void End(std::string& /*text*/) override {}

 private:
  static void AppendField(std::string& text, std::string_view field) {
    const bool quoted = field.empty() || field.find_first_of(",\"\r\n") != std::string_view::npos;
    if (!quoted) {
      text += field;
      return;
    }
    text += '"';
    for (const char letter : field) text.append(letter == '"' ? 2 : 1, letter);
    text += '"';
  }

  std::string lineEnd_;
};

// -----------------------------------------------------------------------------------------------------------------
// JSON

void AppendJsonLetter(std::string& text, char letter) {
  switch (letter) {
    case '"':
      text += "\\\"";
      return;
    case '\\':
      text += "\\\\";
      return;
    case '\n':
      text += "\\n";
      return;
    case '\r':
      text += "\\r";
      return;
    case '\t':
      text += "\\t";
      return;
    default:
      break;
  }
  const auto code = static_cast<unsigned char>(letter);
  if (code >= 0x20 && code != 0x7F) {
    text += letter;
    return;
  }
  std::array<char, 8> escape{};
  std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(code));
  text += escape.data();
}

/// Appends rows as objects.
class JsonObjects {
 public:
  void SetColumns(const std::vector<SheetColumn>& columns) {
    for (const SheetColumn& column : columns) {
      names_.push_back(JsonText(column.name) + ":");
      kinds_.push_back(column.kind);
    }
  }
  void Append(std::string& text, const Row& row) const {
    text += '{';
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i > 0) text += ',';
      text += names_[i];
      AppendValue(text, row[i], kinds_[i]);
    }
    text += '}';
  }

 private:
  static void AppendValue(std::string& text, const Cell& cell, ColumnKind kind) {
    if (cell.isNull) {
      text += "null";
    } else if (kind == ColumnKind::kNumber && IsJsonNumber(cell.text)) {
      text += cell.text;
    } else if (kind == ColumnKind::kBoolean && (cell.text == "1" || cell.text == "0")) {
      text += cell.text == "1" ? "true" : "false";
    } else {
      text += JsonText(PlainText(cell));
    }
  }

  std::vector<std::string> names_;
  std::vector<ColumnKind> kinds_;
};

class JsonWriter final : public RowWriter {
 public:
  void Begin(std::string& text, const std::vector<SheetColumn>& columns, bool continued) override {
    objects_.SetColumns(columns);
    first_ = !continued;
    if (!continued) text += '[';
  }
  void Write(std::string& text, const Row& row) override {
    text += first_ ? "\n" : ",\n";
    first_ = false;
    objects_.Append(text, row);
  }
  void End(std::string& text) override { text += "\n]\n"; }

 private:
  JsonObjects objects_;
  bool first_ = true;
};

class NdjsonWriter final : public RowWriter {
 public:
  void Begin(std::string& /*text*/, const std::vector<SheetColumn>& columns, bool /*continued*/) override {
    objects_.SetColumns(columns);
  }
  void Write(std::string& text, const Row& row) override {
    objects_.Append(text, row);
    text += '\n';
  }
  void End(std::string& /*text*/) override {}

 private:
  JsonObjects objects_;
};

// ------------------------------------------------------------------------------------------------------------------
// XML

class XmlWriter final : public RowWriter {
 public:
  void Begin(std::string& text, const std::vector<SheetColumn>& columns, bool continued) override {
    for (const SheetColumn& column : columns) {
      names_.push_back(ods::ReplaceAll(EscapeText(column.name), "\"", "&quot;"));
    }
    if (!continued) text += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Records>\n";
  }
  void Write(std::string& text, const Row& row) override {
    text += "<R>";
    for (std::size_t i = 0; i < row.size(); ++i) {
      text += "<V Id=\"" + names_[i] + (row[i].isHex ? "\" Encoding=\"hex\">" : "\">");
      text += (row[i].isNull ? "<Null/>" : EscapeText(row[i].text)) + "</V>";
    }
    text += "</R>\n";
  }
  void End(std::string& text) override { text += "</Records>\n"; }

 private:
  std::vector<std::string> names_;
};

// -------------------------------------------------------------------------------------------------------------
// Markdown

/// A text that Markdown takes as it is, in one line.
std::string MarkdownText(std::string_view text) {
  std::string escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char letter = text[i];
    if (letter == '\r' || letter == '\n') {
      if (letter == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      escaped += "<br>";
    } else if (letter == '<') {
      escaped += "&lt;";
    } else if (letter == '&') {
      escaped += "&amp;";
    } else {
      if (std::string_view("\\|*_`[]~").find(letter) != std::string_view::npos) escaped += '\\';
      escaped += letter;
    }
  }
  return escaped;
}

class MarkdownWriter final : public RowWriter {
 public:
  void Begin(std::string& text, const std::vector<SheetColumn>& columns, bool continued) override {
    if (continued) return;
    for (const SheetColumn& column : columns) text += "| " + MarkdownText(column.name) + " ";
    text += "|\n";
    for (const SheetColumn& column : columns) text += column.kind == ColumnKind::kNumber ? "| ---: " : "| --- ";
    text += "|\n";
  }
  void Write(std::string& text, const Row& row) override {
    for (const Cell& cell : row) text += "| " + (cell.isNull ? "*null*" : MarkdownText(PlainText(cell))) + " ";
    text += "|\n";
  }
  void End(std::string& /*text*/) override {}
};

bool TakeDigits(std::string_view& text) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(end);
  return end > 0;
}

bool TakeLetter(std::string_view& text, std::string_view letters) {
  if (text.empty() || letters.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

}  // namespace

const std::vector<std::pair<std::string, Format>>& FormatNames() {
  static const std::vector<std::pair<std::string, Format>> kNames = {
      {"table", Format::kTable},   {"csv", Format::kCsv}, {"json", Format::kJson},
      {"ndjson", Format::kNdjson}, {"xml", Format::kXml}, {"markdown", Format::kMarkdown}};
  return kNames;
}

std::unique_ptr<RowWriter> MakeCsvWriter(std::string lineEnd) {
  return std::make_unique<CsvWriter>(std::move(lineEnd));
}
std::unique_ptr<RowWriter> MakeJsonWriter() { return std::make_unique<JsonWriter>(); }
std::unique_ptr<RowWriter> MakeNdjsonWriter() { return std::make_unique<NdjsonWriter>(); }
std::unique_ptr<RowWriter> MakeXmlWriter() { return std::make_unique<XmlWriter>(); }
std::unique_ptr<RowWriter> MakeMarkdownWriter() { return std::make_unique<MarkdownWriter>(); }

std::unique_ptr<RowWriter> MakeWriter(Format format) {
  switch (format) {
    case Format::kJson:
      return MakeJsonWriter();
    case Format::kNdjson:
      return MakeNdjsonWriter();
    case Format::kXml:
      return MakeXmlWriter();
    case Format::kMarkdown:
      return MakeMarkdownWriter();
    case Format::kTable:
    case Format::kCsv:
      break;
  }
  return MakeCsvWriter("\r\n");
}

std::string JsonText(std::string_view text) {
  std::string quoted = "\"";
  while (!text.empty()) {
    const std::size_t plain = ods::AsciiPrefix(text);
    for (const char letter : text.substr(0, plain)) AppendJsonLetter(quoted, letter);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const std::string_view before = text;
    if (ods::NextCharacter(text)) {
      quoted += before.substr(0, before.size() - text.size());
    } else {
      quoted += "\xEF\xBF\xBD";
      text.remove_prefix(1);
    }
  }
  return quoted + '"';
}

bool IsJsonNumber(std::string_view text) {
  (void)TakeLetter(text, "-");
  if (!TakeLetter(text, "0") && !TakeDigits(text)) return false;
  if (TakeLetter(text, ".") && !TakeDigits(text)) return false;
  if (TakeLetter(text, "eE")) {
    (void)TakeLetter(text, "+-");
    if (!TakeDigits(text)) return false;
  }
  return text.empty();
}

}  // namespace odbc_data
