#include "OdbcDataClient.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <utility>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/DefaultFolders.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"

namespace odbc_data {

namespace {

using ods::GetNodeText;
using ods::XmlDocument;
using ods::XmlNode;

/// Runs `action` with the errors of the parts below as failures of this library.
template <typename Action>
auto Guarded(Action action) {
  try {
    return action();
  } catch (const ods::Error& error) {
    throw Failure(error.Description());
  }
}

std::string Element(std::string_view name, std::string_view text) {
  return "<" + std::string(name) + ">" + EscapeText(text) + "</" + std::string(name) + ">";
}

std::int64_t Number(const XmlNode& node, const char* element) {
  const std::string text = GetNodeText(node, element);
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

bool Flag(const XmlNode& node, const char* element) { return GetNodeText(node, element) == "1"; }

/// The root of an answer. Raises `ErrorAnswer`, and `Failure` for what is no answer.
XmlNode RootOf(const XmlDocument& document, const std::string& answer) {
  const XmlNode root = document.SelectSingleNode("/XML");
  if (!root) {
    throw Failure("The answer of " + std::to_string(answer.size()) +
                  " bytes is no document that can be read. A smaller page may help.");
  }
  if (root.SelectSingleNode("Error")) {
    throw ErrorAnswer(static_cast<std::int32_t>(Number(root, "Error")), GetNodeText(root, "Message"), answer);
  }
  return root;
}

std::vector<std::string> Texts(const XmlNode& node, const char* path) {
  std::vector<std::string> texts;
  for (const XmlNode& each : node.SelectNodes(path)) texts.push_back(each.Text());
  return texts;
}

Cell ReadCell(const XmlNode& node) {
  Cell cell;
  cell.isNull = static_cast<bool>(node.Raw().child("Null"));
  if (!cell.isNull) cell.text = node.Text();
  cell.isHex = node.Attribute("Encoding") == "hex";
  return cell;
}

Page ReadPageFrom(const XmlNode& root) {
  Page page;
  page.first = GetNodeText(root, "FirstPosition");
  page.last = GetNodeText(root, "LastPosition");
  page.hasNext = Flag(root, "HasNextPage");
  page.hasPrevious = Flag(root, "HasPreviousPage");
  if (root.SelectSingleNode("Total")) page.total = Number(root, "Total");
  for (const XmlNode& column : root.SelectNodes("Columns/Column")) {
    page.columns.push_back({GetNodeText(column, "Id"), static_cast<std::int32_t>(Number(column, "DataType"))});
  }
  for (const XmlNode& record : root.SelectNodes("Records/R")) {
    Row& row = page.rows.emplace_back();
    row.reserve(page.columns.size());
    for (const auto value : record.Raw().children("V")) row.push_back(ReadCell(XmlNode(value)));
    if (row.size() != page.columns.size())
      throw Failure("The answer has a row with more or fewer values than columns.");
  }
  return page;
}

constexpr std::array<std::string_view, 5> kNavigations = {"gotofirst", "gotonext", "gotoprev", "gotolast", ""};

std::string_view NameOf(Navigate navigate) { return kNavigations.at(static_cast<std::size_t>(navigate)); }

/// Whether a page that should lie beyond a place is that of the place itself. A server that pages exactly says how it
/// read a page; of another one the positions tell.
bool CameAgain(const XmlNode& root, const Page& page, Navigate navigate, const Place& from) {
  if (navigate != Navigate::kNext && navigate != Navigate::kPrevious) return false;
  if (const XmlNode navigated = root.SelectSingleNode("Navigated")) return navigated.Text() != NameOf(navigate);
  if (page.rows.empty()) return false;
  return navigate == Navigate::kNext ? page.last == from.last : page.first == from.first;
}

std::string SortElements(const std::vector<SortColumn>& sort) {
  if (sort.empty()) return "";
  // A single column is understood by every server.
  if (sort.size() == 1) {
    return Element("SortColumn", sort.front().field) +
           Element("SortDirection", sort.front().descending ? "desc" : "asc");
  }
  std::string text = "<Sort>";
  for (const SortColumn& column : sort) {
    text += "<Column>" + Element("Id", column.field) + Element("Direction", column.descending ? "desc" : "asc");
    text += "</Column>";
  }
  return text + "</Sort>";
}

std::string FilterElements(const std::vector<Condition>& conditions) {
  if (conditions.empty()) return "";
  std::string text = "<Filter>";
  for (const Condition& condition : conditions) {
    text += "<Condition>" + Element("FieldId", condition.field) + Element("FilterOp", condition.filterOperator);
    // A server that does not page exactly passes over `Value`, one that does over `Filter`.
    text += Element("Filter", ods::Join(condition.values, "|"));
    for (const std::string& value : condition.values) text += Element("Value", value);
    text += "</Condition>";
  }
  return text + "</Filter>";
}

std::string SearchElements(const Question& question) {
  if (question.search.empty()) return "";
  std::string text = Element("SearchString", question.search) + "<SearchFields>";
  for (const std::string& field : question.searchFields) {
    text += "<Field>" + Element("Id", field) + "<SearchString>%{0}%</SearchString></Field>";
  }
  return text + "</SearchFields>";
}

/// How long an answer is waited for before the client is asked whether it still wants it.
constexpr std::chrono::milliseconds kBetweenStops{200};
/// How long a walk that is given up waits for the answer under way, so that it is not left in the queue.
constexpr std::chrono::milliseconds kLastWait{1000};

/// What the server says of an answer beyond its limits.
constexpr std::string_view kTooLarge = "Ask for fewer rows";
/// By how much a page is made smaller then, and how much larger than the one before it may become.
constexpr std::size_t kShrink = 16;
constexpr std::size_t kGrowth = 8;
/// The values of a page: a document may not have more than a million elements, attributes and texts.
constexpr std::size_t kMostValues = 250000;

}  // namespace

Client::Client(Exchange exchange)
    : exchange_(std::move(exchange)), queues_(Guarded([this] {
        return ods::CreateMessageClient(exchange_.requests, exchange_.results, {exchange_.timeout, exchange_.stop});
      })) {}
Client::~Client() = default;
Client::Client(Client&&) noexcept = default;
Client& Client::operator=(Client&&) noexcept = default;

std::string Client::Send(const std::string& request) {
  return Guarded([&] {
    std::string id = ods::NewGuidText();
    queues_->Send(id, request);
    return id;
  });
}

std::optional<std::string> Client::WaitFor(const std::string& id) {
  const auto end = std::chrono::steady_clock::now() + exchange_.timeout;
  while (true) {
    auto wait = std::max(std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()),
                         std::chrono::milliseconds(0));
    const bool last = !exchange_.stop || wait <= kBetweenStops;
    if (!last) wait = kBetweenStops;
    auto answer = Guarded([&] { return queues_->Receive(id, wait); });
    if (answer || last) return answer;
    if (exchange_.stop()) throw Stopped("The waiting for an answer was given up.");
  }
}

void Client::Forget(const std::string& id, std::chrono::milliseconds timeout) noexcept {
  try {
    (void)queues_->Receive(id, timeout);
  } catch (const std::exception&) {
    // The answer stays where it is, as it would if the client were gone.
    return;
  }
}

std::string Client::Receive(const std::string& id) {
  if (auto answer = WaitFor(id)) return *std::move(answer);
  const auto milliseconds = static_cast<double>(exchange_.timeout.count());
  throw NoAnswer("No answer came within " + ods::FormatDouble(milliseconds / 1000) + " seconds. The request " + id +
                 " was left in \"" + ods::WithoutPasswords(exchange_.requests) + "\".");
}

std::string Client::Ask(const std::string& request) {
  std::string answer = Receive(Send(request));
  const XmlDocument document(answer);
  (void)RootOf(document, answer);
  return answer;
}

void Client::Ping() {
  const XmlDocument answer(Ask(RequestText("Ping")));
  if (GetNodeText(answer, "/XML/Ping") != "OK") throw Failure("The answer to a ping is none.");
}

Capabilities Client::Initialize() {
  const XmlDocument answer(Ask(RequestText("Initialize", "<UserMode>DETECT</UserMode>")));
  const XmlNode root = answer.SelectSingleNode("/XML");
  Capabilities capabilities;
  capabilities.name = GetNodeText(root, "Name");
  capabilities.exact = Flag(root, "Exact");
  capabilities.filterOperators = ods::Split(GetNodeText(root, "FilterOperators"), ",");
  capabilities.userManagement = Flag(root, "UserManagement");
  capabilities.users = Number(root, "UserCount");
  return capabilities;
}

std::vector<Table> Client::Tables() {
  const XmlDocument answer(Ask(RequestText("TableList")));
  std::vector<Table> tables;
  for (const XmlNode& table : answer.SelectNodes("/XML/Tables/Table")) {
    tables.push_back({GetNodeText(table, "Id"), GetNodeText(table, "Caption")});
  }
  return tables;
}

std::vector<Field> Client::Fields(const std::string& table) {
  const XmlDocument answer(Ask(RequestText("FieldList", Element("TableId", table))));
  std::vector<Field> fields;
  for (const XmlNode& node : answer.SelectNodes("/XML/Fields/Field")) {
    Field field;
    field.id = GetNodeText(node, "Id");
    field.caption = GetNodeText(node, "Caption");
    field.type = static_cast<std::int32_t>(Number(node, "Type"));
    field.exact = static_cast<bool>(node.SelectSingleNode("TypeName"));
    field.typeName = GetNodeText(node, "TypeName");
    field.size = Number(node, "Size");
    field.digits = static_cast<std::int32_t>(Number(node, "Digits"));
    field.nullable = !node.SelectSingleNode("Nullable") || Flag(node, "Nullable");
    fields.push_back(std::move(field));
  }
  return fields;
}

std::vector<Key> Client::Keys(const std::string& table) {
  const XmlDocument answer(Ask(RequestText("KeyList", Element("TableId", table))));
  std::vector<Key> keys;
  for (const XmlNode& node : answer.SelectNodes("/XML/Keys/Key")) {
    keys.push_back({.id = GetNodeText(node, "Id"),
                    .caption = GetNodeText(node, "Caption"),
                    .fields = Texts(node, "Fields/Field/Id"),
                    .unique = Flag(node, "Unique"),
                    .primary = Flag(node, "Primary")});
  }
  return keys;
}

PrimaryKey Client::FindPrimaryKey(const std::string& table) {
  const XmlDocument answer(Ask(RequestText("PrimaryKey", Element("TableId", table))));
  const XmlNode root = answer.SelectSingleNode("/XML");
  return {.id = GetNodeText(root, "PrimaryKey"), .constructed = Flag(root, "Constructed")};
}

odbc_data::UsersAndRoles Client::UsersAndRoles() {
  const XmlDocument answer(Ask(RequestText("UsersAndRoles")));
  odbc_data::UsersAndRoles all;
  for (const XmlNode& user : answer.SelectNodes("/XML/Users/User")) {
    all.users.push_back({GetNodeText(user, "Id"), GetNodeText(user, "Name")});
  }
  for (const XmlNode& role : answer.SelectNodes("/XML/Groups/Group")) {
    all.roles.push_back(
        {.id = GetNodeText(role, "Id"), .name = GetNodeText(role, "Name"), .members = Texts(role, "Users/User/Id")});
  }
  return all;
}

Authorization Client::Authorize(const std::string& user, const std::string& password, bool authenticated) {
  const std::string elements =
      authenticated ? Element("AuthenticatedUser", user) : Element("UserId", user) + Element("Password", password);
  const XmlDocument answer(Ask(RequestText("Authorize", elements)));
  const XmlNode root = answer.SelectSingleNode("/XML");
  return {.authorized = Flag(root, "Authorized"),
          .admin = Flag(root, "Admin"),
          .userName = GetNodeText(root, "UserName"),
          .groups = Texts(root, "Groups/Group/Id")};
}

std::string Client::SendPageRequest(const Question& question, Navigate navigate, const Place& from) {
  return Send(PageRequestText(question, navigate, from));
}

Page Client::ReceivePage(const std::string& id, Navigate navigate, const Place& from) {
  const std::string answer = Receive(id);
  const XmlDocument document(answer);
  const XmlNode root = RootOf(document, answer);
  Page page = ReadPageFrom(root);
  page.again = CameAgain(root, page, navigate, from);
  page.bytes = answer.size();
  return page;
}

Page Client::ReadPage(const Question& question, Navigate navigate, const Place& from) {
  return ReceivePage(SendPageRequest(question, navigate, from), navigate, from);
}

TableWalk::TableWalk(Client& client, Question question, Walk walk)
    : client_(client), question_(std::move(question)), pageBytes_(walk.pageBytes) {
  const bool fromStart = walk.after.empty();
  AskFor(fromStart ? Navigate::kFirst : Navigate::kNext, {.first = {}, .last = std::move(walk.after)});
}

TableWalk::~TableWalk() {
  if (!pending_.empty()) client_.Forget(pending_, kLastWait);
}

void TableWalk::AskFor(Navigate navigate, Place from) {
  navigate_ = navigate;
  from_ = std::move(from);
  pending_ = client_.SendPageRequest(question_, navigate_, from_);
}

Page TableWalk::ReceivePending() {
  while (true) {
    try {
      Page page = client_.ReceivePage(pending_, navigate_, from_);
      pending_.clear();
      return page;
    } catch (const ErrorAnswer& error) {
      pending_.clear();
      const bool tooLarge = std::string_view(error.what()).find(kTooLarge) != std::string_view::npos;
      if (!tooLarge || pageBytes_ == 0 || question_.pageSize <= 1) throw;
      question_.pageSize = std::max<std::size_t>(question_.pageSize / kShrink, 1);
      AskFor(navigate_, from_);
    }
  }
}

void TableWalk::FitPageSize(const Page& page) {
  if (pageBytes_ == 0) return;
  const std::size_t wanted = pageBytes_ * page.rows.size() / std::max<std::size_t>(page.bytes, 1);
  // Rows further on may be larger than those so far.
  const std::size_t most =
      std::min(page.rows.size() * kGrowth, kMostValues / std::max<std::size_t>(page.columns.size(), 1));
  question_.pageSize = std::clamp<std::size_t>(wanted, 1, std::max<std::size_t>(most, 1));
}

std::optional<Page> TableWalk::Next() {
  if (pending_.empty()) return std::nullopt;
  Page page = ReceivePending();
  question_.count = false;
  if (page.again || page.rows.empty()) return std::nullopt;
  FitPageSize(page);
  if (page.hasNext) AskFor(Navigate::kNext, {.first = page.first, .last = page.last});
  return page;
}

std::string RequestText(std::string_view type, std::string_view elements) {
  return "<XML>" + Element("Type", type) + std::string(elements) + "</XML>";
}

std::string PageRequestText(const Question& question, Navigate navigate, const Place& from) {
  std::string text = Element("TableId", question.table);
  text += Element("Navigate", NameOf(navigate));
  text += Element("PageSize", std::to_string(question.pageSize));
  text += Element("FirstPos", from.first) + Element("LastPos", from.last);
  text += SortElements(question.sort) + FilterElements(question.conditions) + SearchElements(question);
  if (!question.primaryKey.empty()) text += Element("PrimaryKey", question.primaryKey);
  if (question.count) text += "<Count>1</Count>";
  text += "<Fields>";
  for (const std::string& field : question.fields) text += "<Field>" + Element("Id", field) + "</Field>";
  return RequestText("TableData", text + "</Fields>");
}

Exchange ExchangeOfInstance(const std::string& instance) {
  const auto defaults = ods::FindDefaultFolders(ods::FolderOf(ods::ExecutablePath()));
  const std::string queues = ods::QueueFolder(defaults, instance);
  return {.requests = ods::JoinPath(queues, ods::kRequestsFolder),
          .results = ods::JoinPath(queues, ods::kResultsFolder)};
}

std::string EscapeText(std::string_view text) {
  if (!ods::IsXmlText(text)) throw Failure("A text has characters that XML cannot carry.");
  // Otherwise a reader would take it for a line feed.
  return ods::ReplaceAll(ods::EscapeXml(text), "\r", "&#13;");
}

}  // namespace odbc_data
