// The product's SQL: refuses what the product would refuse and turns the rest into what SQLite understands.
//
// A small scanner, not a grammar: it knows literals, quoted names, numbers, words, parentheses and ODBC escapes, and
// leaves the rest of the checking to SQLite. A table name is one that stands right behind FROM or JOIN.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "product_driver/driver/Products.h"

namespace ods::product_driver {

/// A flow filter that a statement sets, as its escape names it.
struct FlowFilter {
  std::string table;
  std::string field;
  std::string value;

  bool operator==(const FlowFilter&) const = default;
};

/// What the meaning of a statement hangs on besides the product.
struct DialectContext {
  bool backslashes = false;  ///< a backslash in a text escapes the next character
  std::function<bool(std::string_view column)> isBinary = nullptr;  ///< is there a column of type binary of this name?
};

struct Translation {
  std::string sql;
  std::vector<FlowFilter> flowFilters;
};

/// Raises DriverError 42000 for what the product does not understand, 22007 for a date or time that does not exist.
[[nodiscard]] Translation Translate(const Product& product, std::string_view sql, const DialectContext& context = {});

}  // namespace ods::product_driver
