#include "tabledata/modRecord.h"

#include <array>
#include <string_view>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "tabledata/modDecimalFactor.h"

namespace ods {
namespace {

/// How a column type is written. Every type that stands in no list is written as its text.
enum class Form { kEmpty, kInteger, kScaled, kDateTime, kDate, kTime, kBoolean, kText, kBinary };

Form FormOf(std::int32_t type) {
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

/// The control characters 1 to 7 of a stored date formula as the letters of its units.
std::string SpellDateFormula(std::string text) {
  constexpr std::array<std::string_view, 7> kUnits = {"C", "D", "WD", "W", "M", "Q", "Y"};
  for (std::size_t i = 0; i < kUnits.size(); ++i) {
    const char code = static_cast<char>(i + 1);
    text = ReplaceAll(text, std::string_view(&code, 1), kUnits[i]);
  }
  return text;
}

bool TrySetText(XmlNode& element, const std::string& text) {
  try {
    element.SetText(text);
    return true;
  } catch (const Error& error) {
    if (error.Number() != error_number::kGeneralFailure) throw;
    return false;
  }
}

void SetTextOrMark(XmlNode& element, const std::string& text, const DataSession& session) {
  if (TrySetText(element, text)) return;
  if (session.navisionOnSqlServer == "1" && TrySetText(element, SpellDateFormula(text))) return;
  element.SetText("?");
}

double DecimalFactor(const DataSession& session) {
  if (session.process->decimalFactor == 0) {
    session.process->ui->MessageBox("", "No decimal factor set", BoxStyle::kInformation);
  }
  return session.process->decimalFactor;
}

std::string FormatValue(const Value& value, Form form, const DataSession& session) {
  switch (form) {
    case Form::kEmpty:
      return "";
    case Form::kScaled:
      return ScaledNumber(value, DecimalFactor(session));
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

}  // namespace

XmlNode AppendFieldValue(XmlNode& record, const char* name, const Value& value, std::int32_t type,
                         const DataSession& session) {
  XmlNode element = record.AppendElement(name);
  if (value.IsNull()) {
    element.AppendElement("Null");
    return element;
  }
  const Form form = FormOf(type);
  if (form == Form::kText) {
    SetTextOrMark(element, SafeStr(value), session);
  } else {
    element.SetText(FormatValue(value, form, session));
  }
  return element;
}

}  // namespace ods
