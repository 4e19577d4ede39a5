#include "product_driver/driver/Unicode.h"

#include <span>
#include <sql.h>

namespace ods::product_driver {

std::string ToUtf8(const SQLWCHAR* text, SQLLEN length) {
  if (text == nullptr) return "";
  std::size_t units = 0;
  while (length == SQL_NTS ? text[units] != 0 : static_cast<SQLLEN>(units) < length) ++units;
  return odbc::ToUtf8(std::span(text, units));
}

}  // namespace ods::product_driver
