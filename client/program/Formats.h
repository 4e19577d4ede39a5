// Writes rows as CSV, JSON, lines of JSON, XML and Markdown, page after page: nothing is kept of a row that was
// written.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sheet.h"

namespace odbc_data {

enum class Format : std::uint8_t { kTable, kCsv, kJson, kNdjson, kXml, kMarkdown };

/// The formats by their names.
[[nodiscard]] const std::vector<std::pair<std::string, Format>>& FormatNames();

/// Appends rows to a text. All of them write UTF-8.
class RowWriter {
 public:
  RowWriter() = default;
  virtual ~RowWriter() = default;
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;
  RowWriter(RowWriter&&) = delete;
  RowWriter& operator=(RowWriter&&) = delete;

  /// What stands before the rows. Comes first.
  /// @param continued the rows go on where others ended that were written before: what stands before all is left out
  virtual void Begin(std::string& text, const std::vector<SheetColumn>& columns, bool continued) = 0;
  virtual void Write(std::string& text, const Row& row) = 0;
  /// What stands behind the rows.
  virtual void End(std::string& text) = 0;
};

/// CSV by RFC 4180, with a header. A null is an empty field, an empty text one in quotes.
/// @param lineEnd "\r\n", as the RFC has it, or "\n"
[[nodiscard]] std::unique_ptr<RowWriter> MakeCsvWriter(std::string lineEnd);
/// JSON (RFC 8259): an array of objects; numbers with all their digits, nulls, `true` and `false`. Of two columns of
/// one name each has its own member, as CSV has. NaN and infinite numbers are texts.
[[nodiscard]] std::unique_ptr<RowWriter> MakeJsonWriter();
/// The same objects, one a line.
[[nodiscard]] std::unique_ptr<RowWriter> MakeNdjsonWriter();
/// `<Records><R><V Id="name">…`, the way the server writes them.
[[nodiscard]] std::unique_ptr<RowWriter> MakeXmlWriter();
/// A table of Markdown as GitHub has it.
[[nodiscard]] std::unique_ptr<RowWriter> MakeMarkdownWriter();

/// The writer of a format that writes page after page: not of the table, whose widths depend on all rows.
[[nodiscard]] std::unique_ptr<RowWriter> MakeWriter(Format format);

/// The text of a JSON string with its quotes. What is no UTF-8 becomes the replacement character.
[[nodiscard]] std::string JsonText(std::string_view text);
/// True for a number as JSON writes it.
[[nodiscard]] bool IsJsonNumber(std::string_view text);

}  // namespace odbc_data
