#include "exactwalk/Pager.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "common/Error.h"
#include "server/modDispatch.h"
#include "support/MessageSchemas.h"

namespace ods::test {
namespace {

/// A connection that remembers the statements that go through it.
class RecordingConnection final : public Connection {
 public:
  explicit RecordingConnection(std::shared_ptr<std::vector<std::string>> statements)
      : statements_(std::move(statements)) {}
  void SetLimits(ConnectionLimits limits) override { real_->SetLimits(std::move(limits)); }
  [[nodiscard]] bool IsLost() const override { return real_->IsLost(); }
  [[nodiscard]] bool IsStuck() const override { return real_->IsStuck(); }
  void Open(const std::string& connectionString) override { real_->Open(connectionString); }
  [[nodiscard]] const std::vector<ConnectionProperty>& Properties() const override { return real_->Properties(); }
  [[nodiscard]] std::string DefaultDatabase() const override { return real_->DefaultDatabase(); }
  [[nodiscard]] bool HasSchemas() const override { return real_->HasSchemas(); }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenSchema(Schema schema, const std::vector<Value>& restrictions) override {
    return real_->OpenSchema(schema, restrictions);
  }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenRecordSet(const std::string& sql, std::int32_t maxRecords) override {
    Remember(sql, maxRecords);
    return real_->OpenRecordSet(sql, maxRecords);
  }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenExactRecordSet(const std::string& sql,
                                                              std::int32_t maxRecords) override {
    Remember(sql, maxRecords);
    return real_->OpenExactRecordSet(sql, maxRecords);
  }

 private:
  void Remember(const std::string& sql, std::int32_t maxRecords) {
    statements_->push_back(maxRecords > 0 ? sql + " LIMIT " + std::to_string(maxRecords) : sql);
  }

  std::shared_ptr<std::vector<std::string>> statements_;
  std::shared_ptr<Connection> real_ = CreateOdbcConnection();
};

constexpr const char* kSession = "0A1B2C3D-0000-4000-8000-000000000001";

std::optional<std::string> TextOf(const XmlNode& value) {
  if (value.SelectSingleNode("Null")) return std::nullopt;
  return value.Attribute("Encoding").empty() ? value.Text() : kHexMark + value.Text();
}

}  // namespace

Pager::Pager(const std::string& connectionString, bool exact) {
  process_.ui = &ui_;
  process_.tracer = &tracer_;
  process_.components = &components_;
  process_.configFolder = folder_.Path();
  process_.programFolder = folder_.Path();
  process_.context = &context_;
  process_.exact = exact;
  components_.Register("ADODB.Connection", [this] { return std::make_shared<RecordingConnection>(statements_); });
  std::filesystem::create_directory(folder_.Path() + "/views");
  std::ofstream(folder_.Path() + "/views.xml") << "<Views/>";
  database_ = ConnectDatabase(process_, connectionString);
}

Pager::~Pager() = default;

Page Pager::Ask(const std::string& elements, unsigned pageSize, const std::string& navigate, const Page& from) {
  lastRequest_ = "<XML><Type>TableData</Type>" + elements + "<PageSize>" + std::to_string(pageSize) +
                 "</PageSize><Navigate>" + navigate + "</Navigate><FirstPos>" + from.first + "</FirstPos><LastPos>" +
                 from.last + "</LastPos></XML>";
  const XmlDocument request(lastRequest_);
  if (!request.DocumentElement()) throw std::runtime_error("no request: " + lastRequest_);
  statements_->clear();
  XmlDocument response;
  FindHandler("TableData", process_.exact)(request, response, *database_.session);
  StampResponse(response, kSession);
  const std::string text = response.Xml();
  for (const std::string& fault :
       {FaultOfRequest(lastRequest_, process_.exact), FaultOfResponse(text, "TableData", process_.exact)}) {
    if (!fault.empty()) throw std::runtime_error("a message is " + fault);
  }
  const XmlDocument answer(text);  // as it comes to the client
  if (const std::string message = GetNodeText(answer, "/XML/Message"); !message.empty()) {
    throw std::runtime_error(message);
  }
  Page page;
  for (const XmlNode& id : answer.SelectNodes("/XML/Columns/Column/Id")) page.columns.push_back(id.Text());
  for (const XmlNode& record : answer.SelectNodes("/XML/Records/R")) {
    TextRow& row = page.rows.emplace_back();
    for (const XmlNode& value : record.SelectNodes("V")) row.push_back(TextOf(value));
  }
  page.hasNext = GetNodeText(answer, "/XML/HasNextPage") == "1";
  page.hasPrevious = GetNodeText(answer, "/XML/HasPreviousPage") == "1";
  page.first = GetNodeText(answer, "/XML/FirstPosition");
  page.last = GetNodeText(answer, "/XML/LastPosition");
  page.navigated = GetNodeText(answer, "/XML/Navigated");
  page.total = GetNodeText(answer, "/XML/Total");
  return page;
}

void Pager::AddView(const std::string& id, const std::string& query) {
  std::ofstream(folder_.Path() + "/views/" + id + ".xml")
      << "<View><Name>" << id << "</Name><Query>" << EscapeXml(query) << "</Query></View>";
}

std::vector<std::string> Pager::TakeStatements() { return std::exchange(*statements_, {}); }

}  // namespace ods::test
