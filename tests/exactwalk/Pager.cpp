#include "exactwalk/Pager.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "common/Error.h"
#include "server/modDispatch.h"

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

std::optional<std::string> TextOf(const XmlNode& value) {
  if (value.SelectSingleNode("Null")) return std::nullopt;
  const std::string text = value.Text();
  const std::string encoding = value.Attribute("Encoding");
  if (encoding.empty()) return text;
  if (encoding != "hex") throw std::runtime_error("unknown encoding " + encoding);
  return kHexMark + text;
}

bool Flag(const XmlDocument& answer, const char* path) {
  const std::string text = GetNodeText(answer, path);
  if (text != "0" && text != "1") throw std::runtime_error(std::string(path) + " is '" + text + "'");
  return text == "1";
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
  const XmlDocument answer(response.Xml());  // as it comes to the client
  if (const std::string message = GetNodeText(answer, "/XML/Message"); !message.empty()) {
    throw std::runtime_error(message);
  }
  Page page;
  for (const XmlNode& id : answer.SelectNodes("/XML/Columns/Column/Id")) page.columns.push_back(id.Text());
  for (const XmlNode& record : answer.SelectNodes("/XML/Records/R")) {
    TextRow& row = page.rows.emplace_back();
    for (const XmlNode& value : record.SelectNodes("V")) {
      if (row.size() >= page.columns.size() || value.Attribute("Id") != page.columns[row.size()]) {
        throw std::runtime_error("the value of " + value.Attribute("Id") + " stands in another column's place");
      }
      row.push_back(TextOf(value));
    }
    if (row.size() != page.columns.size()) throw std::runtime_error("a row with too few values");
  }
  page.hasNext = Flag(answer, "/XML/HasNextPage");
  page.hasPrevious = Flag(answer, "/XML/HasPreviousPage");
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
