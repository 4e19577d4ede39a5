#include "e2e/Sample.h"

#include <cstdlib>

#include "common/Text.h"

namespace ods::test {
namespace {

std::string Condition(const std::string& field, const std::string& filterOperator, const std::string& value) {
  return "<Filter><Condition><FieldId>" + field + "</FieldId><FilterOp>" + filterOperator + "</FilterOp><Filter>" +
         value + "</Filter></Condition></Filter>";
}

/// The queries of the server-side views, as a direct SELECT names them.
constexpr const char* kOrderTotals =
    "(SELECT o.order_no AS order_no, o.order_code AS order_code, o.customer_no AS customer_no, "
    "CAST(COUNT(l.line_no) AS INTEGER) AS line_count FROM sales_order o JOIN order_line l ON l.order_no = o.order_no "
    "WHERE o.status = 'O' AND o.order_no >= 108000 GROUP BY o.order_no, o.order_code, o.customer_no) totals";
constexpr const char* kOpenOrders =
    "(SELECT order_no, order_code, order_date, name, city FROM sales_order JOIN customer ON customer.no = "
    "sales_order.customer_no WHERE status = 'O') open_orders";

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
      {.identifier = "[TABLE]customer",
       .source = "customer",
       .givenKey = {},
       .sortColumn = "name",
       .selectedKey = "created",
       .filterElements = Condition("no", "gt", "6400"),
       .filterSql = "no > 6400",
       .searchColumn = "name",
       .searchText = "ann"},
      {.identifier = "[TABLE]item",
       .source = "item",
       .givenKey = {},
       .sortColumn = "unit_price",
       .selectedKey = "description",
       .filterElements = Condition("no", "gt", "IT-0250"),
       .filterSql = "no > 'IT-0250'",
       .searchColumn = "description",
       .searchText = "mug"},
      {.identifier = "[TABLE]sales_order",
       .source = "sales_order",
       .givenKey = {},
       .sortColumn = "order_date",
       .selectedKey = "status",
       .filterElements = Condition("order_no", "gteq", "109000"),
       .filterSql = "order_no >= 109000",
       .searchColumn = "order_code",
       .searchText = "77"},
      {.identifier = "[TABLE]order_line",
       .source = "order_line",
       .givenKey = {},
       .sortColumn = "item_no",
       .selectedKey = "quantity",
       .filterElements = Condition("quantity", "eq", "14"),
       .filterSql = "quantity = 14",
       .searchColumn = "item_no",
       .searchText = "17"},
      {.identifier = "[TABLE]employee",
       .source = "employee",
       .givenKey = {},
       .sortColumn = "code",
       .selectedKey = "hired",
       .filterElements = Condition("no", "lt", "30"),
       .filterSql = "no < 30",
       .searchColumn = "name",
       .searchText = "an"},
      {.identifier = "[TABLE]journal",
       .source = "journal",
       .givenKey = {"entry_no", "posting_date"},
       .sortColumn = "posting_date",
       .selectedKey = "entry_no",
       .filterElements = Condition("entry_no", "not", "3"),
       .filterSql = "entry_no <> 3",
       .searchColumn = "description",
       .searchText = "a"},
      {.identifier = "[TABLE]all_types",
       .source = "all_types",
       .givenKey = {},
       .sortColumn = "id",
       .selectedKey = "id",
       .filterElements = Condition("integer_value", "lteq", "1000"),
       .filterSql = "integer_value <= 1000",
       .searchColumn = "varchar_value",
       .searchText = "a"},
      {.identifier = "[TABLE]" + oddName,
       .source = oddSource,
       .givenKey = {},
       .sortColumn = "it's",
       .selectedKey = "key no",
       .filterElements = Condition("key no", "gt", "5"),
       .filterSql = quoted("key no") + " > 5",
       .searchColumn = "it's",
       .searchText = "e"},
      {.identifier = "[TABLE]customer_balance",
       .source = "customer_balance",
       .givenKey = {"customer_no"},
       .sortColumn = "customer_name",
       .selectedKey = "customer_no",
       .filterElements = Condition("customer_no", "gt", "6400"),
       .filterSql = "customer_no > 6400",
       .searchColumn = "customer_name",
       .searchText = "ann"},
      {.identifier = "[APPVIEW]order_totals",
       .source = kOrderTotals,
       .givenKey = {"order_no"},
       .sortColumn = "customer_no",
       .selectedKey = "line_count",
       .filterElements = Condition("order_no", "gteq", "109000"),
       .filterSql = "order_no >= 109000",
       .searchColumn = "order_code",
       .searchText = "77"},
      {.identifier = "[APPVIEW]open_orders",
       .source = kOpenOrders,
       .givenKey = {"order_no"},
       .sortColumn = "order_date",
       .selectedKey = "order_code",
       .filterElements = Condition("name", "like", "%Ann%"),
       .filterSql = "name LIKE '%Ann%'",
       .searchColumn = "order_code",
       .searchText = "77"},
  };
}

}  // namespace ods::test
