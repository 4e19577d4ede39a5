#include "tabledata/modRecord.h"

#include <array>
#include <charconv>
#include <variant>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "platform/ado/Ado.h"
#include "platform/xml/Xml.h"
#include "tabledata/modDecimalFactor.h"

namespace ods {
namespace {

/// The control characters 1 to 7 of a stored date formula as the letters of its units.
std::string SpellDateFormula(std::string_view formula) {
  constexpr std::array<std::string_view, 7> kUnits = {"C", "D", "WD", "W", "M", "Q", "Y"};
  std::string text(formula);
  for (std::size_t i = 0; i < kUnits.size(); ++i) {
    const char code = static_cast<char>(i + 1);
    text = ReplaceAll(text, std::string_view(&code, 1), kUnits[i]);
  }
  return text;
}

/// The text of an element "V" without content, without its end "/>".
std::string OpenTag(const std::string& field) {
  constexpr std::string_view kEnd = "/>";
  const bool isPlain = IsXmlText(field) && field.find_first_of("&<>\"\t\r\n") == std::string::npos;
  if (isPlain) return "<V Id=\"" + field + "\"";
  XmlDocument document;
  document.Node().AppendElement("V").SetAttribute("Id", field);
  std::string text = document.Xml();
  text.resize(text.size() - kEnd.size());
  return text;
}

}  // namespace

ValueMarkup::ValueMarkup(const std::string& field) {
  const std::string tag = OpenTag(field);
  open_ = tag + ">";
  empty_ = tag + "/>";
  null_ = open_ + "<Null/>" + std::string(kClose);
}

bool ValueMarkup::Append(TextBuffer& xml, std::string_view text) const {
  if (text.empty()) {
    xml.Append(empty_);
    return true;
  }
  return AppendXmlText(xml, text, open_, kClose);
}

void ValueMarkup::AppendInteger(TextBuffer& xml, std::int64_t number) const {
  constexpr std::size_t kMostDigits = 24;
  char* const to = TextBuffer::Put(xml.Room(open_.size() + kMostDigits + kClose.size()), open_);
  xml.EndAt(TextBuffer::Put(std::to_chars(to, to + kMostDigits, number).ptr, kClose));
}

void ValueMarkup::AppendHex(TextBuffer& xml, std::string_view bytes) const {
  xml.Append(std::string_view(open_).substr(0, open_.size() - 1));
  xml.Append(" Encoding=\"hex\"");
  if (bytes.empty()) return xml.Append("/>");
  xml.Append(">");
  xml.Append(BytesToHex(Bytes(bytes.begin(), bytes.end())));
  xml.Append(kClose);
}

FieldWriter::FieldWriter(const std::string& field, std::int32_t type, const RecordRules& rules)
    : markup_(field), form_(FormOf(type)), rules_(rules) {}

FieldWriter::Form FieldWriter::FormOf(std::int32_t type) {
  switch (type) {
    case ado_type::kEmpty:
      return Form::kEmpty;
    case ado_type::kSmallInt:
    case ado_type::kInteger:
    case ado_type::kTinyInt:
    case ado_type::kUnsignedTinyInt:
    case ado_type::kUnsignedSmallInt:
    case ado_type::kUnsignedInt:
    case ado_type::kBigInt:
    case ado_type::kUnsignedBigInt:
      return Form::kInteger;
    case ado_type::kDate:
      return Form::kDateTime;
    case ado_type::kDBDate:
      return Form::kDate;
    case ado_type::kDBTime:
      return Form::kTime;
    case ado_type::kBoolean:
      return Form::kBoolean;
    case 9:    // object
    case 10:   // error
    case 13:   // unknown object
    case 64:   // file time
    case 128:  // binary
    case 132:  // user-defined
    case 136:  // chapter
    case 138:  // property variant
    case 139:  // variable numeric
    case 204:  // variable binary
    case 205:  // long binary
      return Form::kBinary;
    default:
      return HasDecimals(type) ? Form::kScaled : Form::kText;
  }
}

void FieldWriter::Append(TextBuffer& xml, const CellView& cell) const {
  if (std::holds_alternative<Null>(cell)) {
    markup_.AppendNull(xml);
  } else if (!AppendCommon(xml, cell)) {
    AppendText(xml, FormatValue(ValueOf(cell)));
  }
}

/// Writes what columns mostly hold, without a value of its own; false, with nothing written, for anything else.
bool FieldWriter::AppendCommon(TextBuffer& xml, const CellView& cell) const {
  if (const auto* const moment = std::get_if<Moment>(&cell)) return AppendMoment(xml, *moment);
  switch (form_) {
    case Form::kText:
      if (const auto* const text = std::get_if<std::string_view>(&cell)) {
        AppendText(xml, *text);
        return true;
      }
      return false;
    case Form::kInteger:
      if (const auto* const number = std::get_if<std::int32_t>(&cell)) {
        markup_.AppendInteger(xml, *number);
        return true;
      }
      if (const auto* const number = std::get_if<std::int64_t>(&cell)) {
        markup_.AppendInteger(xml, *number);
        return true;
      }
      return false;
    case Form::kScaled:
      if (const auto* const decimal = std::get_if<DecimalDigits>(&cell); decimal && rules_.decimalFactor == 1) {
        markup_.AppendPlain(xml, decimal->digits);
        return true;
      }
      return false;
    default:
      return false;
  }
}

bool FieldWriter::AppendMoment(TextBuffer& xml, const Moment& moment) const {
  const MomentText text = TextOfMoment(moment.parts);
  switch (form_) {
    case Form::kDate:
      markup_.AppendPlain(xml, DayOf(text));
      return true;
    case Form::kTime:
      markup_.AppendPlain(xml, TimeOf(text));
      return true;
    case Form::kDateTime:
      markup_.AppendPlain(xml, MomentOf(text));
      return true;
    case Form::kText:
      markup_.AppendPlain(xml, moment.IsDayAlone() ? DayOf(text) : MomentOf(text));
      return true;
    default:
      return false;
  }
}

void FieldWriter::AppendText(TextBuffer& xml, std::string_view text) const {
  if (markup_.Append(xml, text)) return;
  if (form_ != Form::kText) {
    throw Error(error_number::kGeneralFailure, "The text for 'V' holds a character that XML cannot carry");
  }
  if (rules_.spellsDateFormulas && markup_.Append(xml, SpellDateFormula(text))) return;
  (void)markup_.Append(xml, "?");
}

double FieldWriter::DecimalFactor() const {
  if (rules_.decimalFactor == 0 && rules_.ui != nullptr) {
    rules_.ui->MessageBox("", "No decimal factor set", BoxStyle::kInformation);
  }
  return rules_.decimalFactor;
}

std::string FieldWriter::FormatValue(const Value& value) const {
  switch (form_) {
    case Form::kEmpty:
      return "";
    case Form::kScaled:
      return ScaledNumber(value, DecimalFactor());
    case Form::kDateTime:
      return FormatMoment(SafeDate(value));
    case Form::kDate:
      return FormatDay(SafeDate(value));
    case Form::kTime:
      return FormatTime(SafeDate(value));
    case Form::kBoolean:
      return SafeBool(value) ? "1" : "0";
    case Form::kBinary:
      return BytesToHex(value);
    case Form::kInteger:
    case Form::kText:
      break;
  }
  return SafeStr(value);
}

}  // namespace ods
