// One database value as the `V` element of a record.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/TextBuffer.h"
#include "common/UserInterface.h"
#include "platform/ado/Rows.h"

namespace ods {

/// The tags of a `V` element.
class ValueMarkup {
 public:
  /// @param field goes into the attribute `Id`; raises error 0x80004005 for a name that XML cannot carry
  explicit ValueMarkup(const std::string& field);

  void AppendNull(TextBuffer& xml) const { xml.Append(null_); }
  /// Appends an element with a text. False, with nothing appended, for a text that XML cannot carry.
  [[nodiscard]] bool Append(TextBuffer& xml, std::string_view text) const;
  /// Appends an element with a text that has nothing to escape and is not empty.
  void AppendPlain(TextBuffer& xml, std::string_view text) const {
    char* to = TextBuffer::Put(xml.Room(open_.size() + text.size() + kClose.size()), open_);
    xml.EndAt(TextBuffer::Put(TextBuffer::Put(to, text), kClose));
  }
  void AppendInteger(TextBuffer& xml, std::int64_t number) const;
  /// Appends an element with bytes as hexadecimal digits, marked so.
  void AppendHex(TextBuffer& xml, std::string_view bytes) const;

 private:
  static constexpr std::string_view kClose = "</V>";

  std::string open_;   ///< "<V Id="...">"
  std::string empty_;  ///< "<V Id="..."/>"
  std::string null_;   ///< "<V Id="..."><Null/></V>"
};

/// How values are written besides their types.
struct RecordRules {
  double decimalFactor = 1;         ///< of the process; 0 while it is not known
  bool spellsDateFormulas = false;  ///< on a Navision database within Microsoft SQL Server
  UserInterface* ui = nullptr;      ///< is told of each number that lacks its factor: by the thread that writes
};

/// Writes the values of a column. A null gets an empty child `Null`. Numbers that can have decimals are multiplied by
/// the decimal factor. A text that XML cannot carry becomes "?"; where date formulas are spelt the codes 1 to 7 first
/// become their units.
class FieldWriter {
 public:
  /// @param type ADO data type number of the column
  /// Raises as `ValueMarkup`.
  FieldWriter(const std::string& field, std::int32_t type, const RecordRules& rules);

  /// Raises error 13 for a value that cannot be in a binary column.
  void Append(TextBuffer& xml, const CellView& cell) const;

 private:
  /// How a column type is written. Every type that stands in no list is written as its text.
  enum class Form : std::uint8_t { kEmpty, kInteger, kScaled, kDateTime, kDate, kTime, kBoolean, kText, kBinary };

  [[nodiscard]] static Form FormOf(std::int32_t type);
  [[nodiscard]] bool AppendCommon(TextBuffer& xml, const CellView& cell) const;
  [[nodiscard]] bool AppendMoment(TextBuffer& xml, const Moment& moment) const;
  void AppendText(TextBuffer& xml, std::string_view text) const;
  [[nodiscard]] std::string FormatValue(const Value& value) const;
  [[nodiscard]] double DecimalFactor() const;

  ValueMarkup markup_;
  Form form_;
  RecordRules rules_;
};

}  // namespace ods
