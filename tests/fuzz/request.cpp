// Request documents through the dispatcher, with a scripted connection behind it. The first byte chooses the product,
// the rest is the document. Nothing of it may reach a statement outside a literal or a quoted name.
#include <array>
#include <map>

#include "common/Error.h"
#include "common/Hex.h"
#include "fuzz/Fuzz.h"
#include "platform/xml/Xml.h"
#include "server/modDispatch.h"
#include "support/FakeSession.h"
#include "support/SqlTokens.h"

namespace ods::test {
namespace {

/// As many columns as any request of the corpus reads: one of each way to write a literal.
const std::vector<Field>& Columns() {
  static const std::vector<Field> columns = {{"No", ado_type::kInteger, 4, 0},
                                             {"Name", ado_type::kVarWChar, 50, 32},
                                             {"Blob", ado_type::kVarBinary, 16, 32},
                                             {"When", ado_type::kDBTimeStamp, 16, 0},
                                             {"Sum", ado_type::kNumeric, 16, 0},
                                             {"Is", ado_type::kBoolean, 2, 0},
                                             {"odd \"] [`' name", ado_type::kVarChar, 50, 0}};
  return columns;
}

std::shared_ptr<RecordSet> TwoRows() {
  const Bytes bytes = HexToBytes("00FF27");
  const Row row = {1, "it's \\", Value(bytes), Date(), 1.5, true, "'"};
  return MakeRows(Columns(), {row, row});
}

std::shared_ptr<RecordSet> Tables() {
  return MakeRows(TextColumns({"TABLE_CATALOG", "TABLE_SCHEMA", "TABLE_NAME", "TABLE_TYPE"}),
                  {{"", "dbo", "t", "TABLE"}, {"", "", "v'\"", "VIEW"}});
}

std::shared_ptr<RecordSet> Indexes() {
  return MakeRows(TextColumns({"INDEX_NAME", "UNIQUE", "TYPE", "COLUMN_NAME"}), {{"pk", "True", 3, "No"}});
}

/// The session of a product, as it is right after connecting.
FakeSession& SessionOf(std::size_t kind) {
  static std::map<std::size_t, FakeSession> sessions;
  FakeSession& fake = sessions.try_emplace(kind, static_cast<DatabaseKind>(kind)).first->second;
  fake.connection->answer = [](const std::string&) { return TwoRows(); };
  fake.connection->schemas[Schema::kTables] = Tables;
  fake.connection->schemas[Schema::kIndexes] = Indexes;
  fake.connection->statements.clear();
  fake.connection->limits.clear();
  fake.session.fieldCache.clear();
  fake.ui.boxes.clear();
  return fake;
}

void CheckStatements(const FakeSession& fake) {
  // What the probe of a decimal number and the test of a Navision user write.
  constexpr auto kMore = std::to_array<std::string_view>(
      {"Integer", "Number", "as", "UPDATE", "SET", "userid", "userpassword", "username", "roleid", "rolename"});
  const DataSession& session = fake.session;
  for (const std::string& sql : fake.connection->statements) {
    SqlTokens tokens(sql, session.QuotePrefix.front(), session.QuoteSuffix.front(), kMore);
    Require(!tokens.FirstForeignText(), "only the server's own text stands outside literals and names", sql);
  }
}

}  // namespace
}  // namespace ods::test

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ods::test;
  if (size == 0) return 0;
  FakeSession& fake = SessionOf(data[0] % 9);
  const ods::XmlDocument request(InputText(data + 1, size - 1));
  ods::XmlDocument response;
  try {
    const std::string type = GetNodeText(request, "/XML/Type");
    DispatchRequest(type, request, response, &fake.session, &ods::FindHandler);
  } catch (const ods::Error& error) {
    FillErrorDocument(response, error.Number(), error.Description());
  }
  StampResponse(response, "session");
  Require(ods::XmlDocument(response.Xml()).SelectSingleNode("/XML/DataSession").Text() == "session",
          "every response is a document with its session", response.Xml());
  CheckStatements(fake);
  return 0;
}
