#include "e2e/Sample.h"

#include <cstdlib>

#include "common/Text.h"

namespace ods::test {
namespace {

std::string Condition(const std::string& field, const std::string& filterOperator, const std::string& value) {
  return "<Filter><Condition><FieldId>" + field + "</FieldId><FilterOp>" + filterOperator + "</FilterOp><Filter>" +
         value + "</Filter></Condition></Filter>";
}

}  // namespace

std::optional<std::string> ConnectionStringOf(const SampleDatabase& database) {
  const char* value = std::getenv(database.variable);
  if (value == nullptr || *value == '\0') return std::nullopt;
  if (database.variable == kSqlite.variable) return std::string("Driver=SQLite3;Database=") + value;
  return value;
}

std::vector<SampleTable> SampleTables(const std::string& quote) {
  const std::string oddName = R"(Odd "Table" [Name])";
  const std::string oddSource = quote + ReplaceAll(oddName, quote, quote + quote) + quote;
  const auto quoted = [&quote](const std::string& name) {
    return quote + ReplaceAll(name, quote, quote + quote) + quote;
  };
  return {
      {"[TABLE]customer",
       "customer",
       {"no"},
       false,
       "name",
       "created",
       Condition("blocked", "eq", "1"),
       "blocked = '1'",
       "name",
       "n"},
      {"[TABLE]item",
       "item",
       {"no"},
       false,
       "unit_price",
       "description",
       Condition("no", "gt", "IT-0100"),
       "no > 'IT-0100'",
       "description",
       "e"},
      {"[TABLE]sales_order",
       "sales_order",
       {"order_no"},
       false,
       "order_date",
       "status",
       Condition("status", "eq", "O|S"),
       "(status = 'O' OR status = 'S')",
       "order_code",
       "1"},
      {"[TABLE]order_line",
       "order_line",
       {"order_no", "line_no"},
       false,
       "item_no",
       "quantity",
       Condition("quantity", "gteq", "5"),
       "quantity >= 5",
       "item_no",
       "7"},
      {"[TABLE]employee",
       "employee",
       {"no"},
       false,
       "code",
       "hired",
       Condition("no", "lt", "30"),
       "no < 30",
       "name",
       "a"},
      {"[TABLE]journal",
       "journal",
       {"entry_no", "posting_date"},
       true,
       "posting_date",
       "entry_no",
       Condition("entry_no", "not", "3"),
       "entry_no <> 3",
       "description",
       "e"},
      {"[TABLE]all_types",
       "all_types",
       {"id"},
       false,
       "id",
       "id",
       Condition("integer_value", "lteq", "1000"),
       "integer_value <= 1000",
       "varchar_value",
       "a"},
      {"[TABLE]" + oddName,
       oddSource,
       {"key no"},
       false,
       "it's",
       "key no",
       Condition("key no", "gt", "5"),
       quoted("key no") + " > 5",
       "it's",
       "e"},
      {"[TABLE]customer_balance",
       "customer_balance",
       {"customer_no"},
       true,
       "customer_name",
       "customer_no",
       Condition("customer_no", "lt", "4000"),
       "customer_no < 4000",
       "customer_name",
       "o"},
      {"[APPVIEW]order_totals",
       "(SELECT o.order_no AS order_no, o.order_code AS order_code, o.customer_no AS customer_no, "
       "CAST(COUNT(l.line_no) AS INTEGER) AS line_count FROM sales_order o JOIN order_line l ON l.order_no = "
       "o.order_no GROUP BY "
       "o.order_no, o.order_code, o.customer_no) totals",
       {"order_no"},
       true,
       "customer_no",
       "line_count",
       Condition("line_count", "gt", "3"),
       "line_count > 3",
       "order_code",
       "1"},
      {"[APPVIEW]open_orders",
       "(SELECT order_no, order_code, order_date, name, city FROM sales_order JOIN customer ON customer.no = "
       "sales_order.customer_no WHERE status = 'O') open_orders",
       {"order_no"},
       true,
       "order_date",
       "order_code",
       Condition("name", "like", "%a%"),
       "name LIKE '%a%'",
       "order_code",
       "1"},
  };
}

}  // namespace ods::test
