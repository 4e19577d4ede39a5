// Users: `Authorize`, `UsersAndRoles` and `Initialize` with a context document or a users file that somebody spoiled,
// and rows of a database that means harm. The first byte chooses Navision ("3") or another product, the second the
// statement that fails ("0" for none). The rest is the file, the request and the texts that the rows are made of, one
// a line, with a line "--" between them.
#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include "common/Text.h"
#include "doubles/FakeSession.h"
#include "fuzz/Fuzz.h"
#include "support/SqlTokens.h"
#include "users/modAuthorize.h"
#include "users/modInitialize.h"
#include "users/modUsersAndRoles.h"

namespace ods::test {
namespace {

/// Stands in the request's password, where no input knows it.
constexpr std::string_view kSecret = "Uncommon-Secret-7261";

/// The text up to the next separator, which goes too.
std::string_view TakePart(std::string_view& rest, std::string_view separator) {
  const std::size_t end = std::min(rest.find(separator), rest.size());
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + separator.size(), rest.size()));
  return part;
}

struct Input {
  bool isNavision;
  std::size_t failing;  ///< statement that fails, from 1; 0 for none
  std::string_view file;
  std::string_view request;
  std::string_view texts;
};

Input ReadInput(std::string_view text) {
  const auto digit = [&](std::size_t at) { return static_cast<std::size_t>(at < text.size() ? text[at] & 0x0F : 0); };
  Input input = {.isNavision = digit(0) == 3, .failing = digit(1), .file = {}, .request = {}, .texts = {}};
  text.remove_prefix(std::min<std::size_t>(2, text.size()));
  input.file = TakePart(text, "\n--\n");
  input.request = TakePart(text, "\n--\n");
  input.texts = text;
  return input;
}

/// What any statement of the users' requests returns: rows of texts, as many as there are.
std::shared_ptr<RecordSet> RowsOf(std::string_view texts) {
  const std::vector<Field> fields = TextColumns({"userid", "userpassword", "username", "roleid", "rolename"});
  std::vector<Row> rows;
  while (!texts.empty()) {
    Row& row = rows.emplace_back();
    for (std::size_t i = 0; i < fields.size(); ++i) row.emplace_back(std::string(TakePart(texts, "\n")));
  }
  return MakeRows(fields, std::move(rows));
}

FakeSession& SessionFor(const Input& input) {
  static FakeSession fake;
  fake.Use(input.isNavision ? DatabaseKind::DbNavision : DatabaseKind::DbUnknown);
  fake.connection->statements.clear();
  fake.connection->answer = [input](const std::string& sql) {
    if (fake.connection->statements.size() == input.failing) {
      throw Error(error_number::kGeneralFailure, "refused near '" + sql + "'");
    }
    return RowsOf(input.texts);
  };
  const std::string file = fake.folder.Path() + "/users.xml";
  std::ofstream(file, std::ios::binary | std::ios::trunc) << input.file;
  fake.context.Load(file);
  return fake;
}

/// The request with the secret before its password.
XmlDocument RequestOf(const Input& input) {
  XmlDocument request(input.request);
  XmlNode password = request.SelectSingleNode("/XML/Password");
  if (password) password.SetText(std::string(kSecret) + password.Text());
  return request;
}

using Handler = void (*)(const XmlDocument& request, XmlDocument& response, DataSession& session);

/// The response as text; what is raised instead, as its text.
std::string Answer(Handler handler, const XmlDocument& request, DataSession& session) {
  XmlDocument response;
  try {
    handler(request, response, session);
  } catch (const Error& error) {
    return error.Description();
  }
  return response.Xml();
}

void CheckStatements(const std::vector<std::string>& statements) {
  constexpr auto kMore = std::to_array<std::string_view>(
      {"as", "UPDATE", "SET", "userid", "userpassword", "username", "roleid", "rolename"});
  for (const std::string& sql : statements) {
    SqlTokens tokens(sql, '"', '"', kMore);
    Require(!tokens.FirstForeignText(), "only the server's own text stands outside literals and names", sql);
  }
}

/// Whoever is an administrator is authorized, and has the group that makes him one.
void CheckAuthorization(const std::string& answer, std::string_view administrators) {
  const XmlDocument response(answer);
  if (GetNodeText(response, "/XML/Authorized") == "0") {
    Require(response.SelectNodes("/XML/Groups/Group").empty(), "a stranger has no groups", answer);
  }
  const std::vector<XmlNode> groups = response.SelectNodes("/XML/Groups/Group/Id");
  const bool isOne = std::ranges::any_of(groups, [&](const XmlNode& id) { return id.Text() == administrators; });
  Require((GetNodeText(response, "/XML/Admin") == "1") == isOne, "the group makes the administrator", answer);
}

/// The test of a password writes four times: the second statement of all keeps the stored password in another column,
/// the third writes the given one, the last two put back what was there. Nothing follows the first that is refused but
/// what puts it back.
void CheckUpdates(const std::vector<std::string>& statements, std::size_t failing) {
  constexpr std::size_t kKeep = 2;
  constexpr std::size_t kPutBack = 5;
  const auto updates = std::ranges::count_if(statements, [](const auto& sql) { return sql.starts_with("UPDATE"); });
  const int whole = failing == kKeep ? 1 : failing == kPutBack ? 3 : 4;
  Require(updates == 0 || updates == whole, "the row is restored");
}

}  // namespace
}  // namespace ods::test

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ods::test;
  const Input input = ReadInput(InputText(data, size));
  FakeSession& fake = SessionFor(input);
  const ods::XmlDocument request = RequestOf(input);
  const bool knowsSecret = InputText(data, size).find(kSecret) != std::string_view::npos;

  const std::string authorized = Answer(&ods::ProcessAuthorize, request, fake.session);
  Require(knowsSecret || authorized.find(kSecret) == std::string::npos, "no answer tells a password", authorized);
  CheckAuthorization(authorized, input.isNavision ? "SUPER" : "Admins");
  CheckUpdates(fake.connection->statements, input.failing);
  CheckStatements(fake.connection->statements);

  fake.connection->statements.clear();
  const std::string list = Answer(&ods::ProcessUsersAndRoles, request, fake.session);
  const ods::XmlDocument listed(list);
  const std::size_t users = listed.SelectNodes("/XML/Users/User").size();
  CheckStatements(fake.connection->statements);

  fake.connection->statements.clear();
  const ods::XmlDocument initialized(Answer(&ods::ProcessInitialize, request, fake.session));
  const bool counted = GetNodeText(initialized, "/XML/UserManagement") == "1";
  Require(!counted || GetNodeText(initialized, "/XML/UserCount") == std::to_string(users), "all users count");
  return 0;
}
