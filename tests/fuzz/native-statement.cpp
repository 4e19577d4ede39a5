// Statements on their way to the driver. What stands in a literal is never touched, whatever it is, and the limit goes
// behind it.
#include "common/Text.h"
#include "fuzz/Fuzz.h"
#include "platform/ado/NativeStatement.h"

namespace {

std::string Native(std::string_view dbmsName, const std::string& sql, std::int32_t maxRecords) {
  return ods::NativeStatement(ods::odbc::RuleOfProduct(dbmsName).native, sql, maxRecords);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using ods::test::Require;
  const std::string text(ods::test::InputText(data, size));
  const std::string literal = "SELECT '" + ods::ReplaceAll(text, "'", "''") + "'";
  for (const char* product : {"PostgreSQL", "MariaDB", "SQLite"}) {
    (void)Native(product, text, 0);
    (void)Native(product, text, 7);
    Require(Native(product, literal, 0) == literal, "a literal is not touched", product);
    const std::string limited =
        !ods::odbc::RuleOfProduct(product).native.limitClause.empty() ? literal + " LIMIT 7" : literal;
    Require(Native(product, literal, 7) == limited, "the limit stands behind the literal", product);
  }
  Require(Native("Other", text, 7) == text, "a statement of another product stays as it is");
  return 0;
}
