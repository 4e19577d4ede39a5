// Statements on their way to the driver. What stands in a literal is never touched, whatever it is, and the limit goes
// behind it.
#include "common/Text.h"
#include "fuzz/Fuzz.h"
#include "platform/ado/NativeStatement.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using ods::test::Require;
  const std::string text(ods::test::InputText(data, size));
  const std::string literal = "SELECT '" + ods::ReplaceAll(text, "'", "''") + "'";
  for (const char* product : {"PostgreSQL", "MariaDB", "SQLite"}) {
    (void)ods::NativeStatement(product, text, 0);
    (void)ods::NativeStatement(product, text, 7);
    Require(ods::NativeStatement(product, literal, 0) == literal, "a literal is not touched", product);
    const std::string limited = ods::TakesLimitInText(product) ? literal + " LIMIT 7" : literal;
    Require(ods::NativeStatement(product, literal, 7) == limited, "the limit stands behind the literal", product);
  }
  Require(ods::NativeStatement("Other", text, 7) == text, "a statement of another product stays as it is");
  return 0;
}
