#include "support/MessageSchemas.h"

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <iterator>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "platform/xml/Xml.h"

namespace ods::test {
namespace {

struct Freer {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
  void operator()(xmlSchema* schema) const { xmlSchemaFree(schema); }
  void operator()(xmlSchemaParserCtxt* context) const { xmlSchemaFreeParserCtxt(context); }
  void operator()(xmlSchemaValidCtxt* context) const { xmlSchemaFreeValidCtxt(context); }
  void operator()(xmlChar* text) const { xmlFree(text); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Freer>;

/// What is wrong with a document, by its lines from 1.
struct Complaint {
  std::size_t line = 0;
  std::string text;
};
using Complaints = std::vector<Complaint>;

/// The library's error, which is constant in later versions, as a complaint in the list at `complaints`.
template <typename LibraryError>
void Note(void* complaints, LibraryError* error) {
  std::string text = error->message;
  while (text.ends_with('\n')) text.pop_back();
  static_cast<Complaints*>(complaints)->push_back({static_cast<std::size_t>(error->line), text});
}
constexpr xmlStructuredErrorFunc kNote = &Note;

std::string SchemaPath(const std::string& name) { return std::string(ODS_SCHEMA_FOLDER) + "/" + name; }

Owned<xmlSchema> ParseSchema(const std::string& name) {
  Complaints complaints;
  const Owned<xmlSchemaParserCtxt> context(xmlSchemaNewParserCtxt(SchemaPath(name).c_str()));
  xmlSchemaSetParserStructuredErrors(context.get(), kNote, &complaints);
  Owned<xmlSchema> schema(xmlSchemaParse(context.get()));
  if (!schema || !complaints.empty()) {
    throw std::runtime_error("The schema " + name + " is none: " + (complaints.empty() ? "" : complaints.front().text));
  }
  return schema;
}

/// A schema, which is read once in a process. Documents may be held against it by several threads.
xmlSchema* SchemaOf(const std::string& name) {
  static std::mutex mutex;
  static std::map<std::string, Owned<xmlSchema>> schemas;
  const std::scoped_lock lock(mutex);
  Owned<xmlSchema>& schema = schemas[name];
  if (!schema) schema = ParseSchema(name);
  return schema.get();
}

/// Reads a document as it is, however large it is.
Owned<xmlDoc> Read(const std::string& text, Complaints& complaints) {
  constexpr int kOptions =
      XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_BIG_LINES | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  const Owned<xmlParserCtxt> context(xmlNewParserCtxt());
  Owned<xmlDoc> document(
      xmlCtxtReadMemory(context.get(), text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", kOptions));
  if (!document) {
    if (const auto* error = xmlCtxtGetLastError(context.get())) {
      Note(&complaints, error);
    } else {
      complaints.push_back({1, "There is nothing."});
    }
  }
  return document;
}

Complaints Validate(xmlDoc* document, xmlSchema* schema) {
  Complaints complaints;
  const Owned<xmlSchemaValidCtxt> context(xmlSchemaNewValidCtxt(schema));
  xmlSchemaSetValidStructuredErrors(context.get(), kNote, &complaints);
  const int result = xmlSchemaValidateDoc(context.get(), document);
  if (result != 0 && complaints.empty()) complaints.push_back({1, "It is not valid."});
  return complaints;
}

// ---- what a schema cannot say ----

bool IsCalled(const xmlNode* node, std::string_view name) { return name == reinterpret_cast<const char*>(node->name); }

xmlNode* ChildOf(xmlNode* node, std::string_view name) {
  xmlNode* child = xmlFirstElementChild(node);
  while (child != nullptr && !IsCalled(child, name)) child = xmlNextElementSibling(child);
  return child;
}

std::string TextOf(xmlNode* node) {
  const Owned<xmlChar> text(xmlNodeGetContent(node));
  return reinterpret_cast<const char*>(text.get());
}

std::string IdOf(xmlNode* value) {
  const Owned<xmlChar> text(xmlGetNoNsProp(value, reinterpret_cast<const xmlChar*>("Id")));
  return text ? reinterpret_cast<const char*>(text.get()) : "";
}

/// What is wrong with the first row that does not fit the columns.
Complaints RowsThatDoNotFit(xmlDoc* page) {
  xmlNode* const root = xmlDocGetRootElement(page);
  xmlNode* const columns = ChildOf(root, "Columns");
  xmlNode* const records = ChildOf(root, "Records");
  if (columns == nullptr || records == nullptr) return {};
  std::vector<std::string> ids;
  for (xmlNode* column = xmlFirstElementChild(columns); column != nullptr; column = xmlNextElementSibling(column)) {
    ids.push_back(TextOf(ChildOf(column, "Id")));
  }
  for (xmlNode* row = xmlFirstElementChild(records); row != nullptr; row = xmlNextElementSibling(row)) {
    const auto complain = [row](const std::string& what) {
      return Complaints{{static_cast<std::size_t>(xmlGetLineNo(row)), "Element 'R': " + what}};
    };
    std::size_t count = 0;
    for (xmlNode* value = xmlFirstElementChild(row); value != nullptr; value = xmlNextElementSibling(value), ++count) {
      if (count >= ids.size() || IdOf(value) != ids[count]) {
        return complain("the value of '" + IdOf(value) + "' stands in another column's place.");
      }
      if (xmlFirstElementChild(value) != nullptr && !TextOf(value).empty()) {
        return complain("the null of '" + ids[count] + "' has a text.");
      }
    }
    if (count != ids.size()) return complain("a column has no value.");
  }
  return {};
}

/// Holds a document against a schema, and the rows of a page against its columns.
Complaints Check(const std::string& text, const std::string& schema) {
  Complaints complaints;
  const Owned<xmlDoc> document = Read(text, complaints);
  if (!document) return complaints;
  complaints = Validate(document.get(), SchemaOf(schema));
  const bool isPage = schema.starts_with("responses/") && schema.ends_with("/TableData.xsd");
  return complaints.empty() && isPage ? RowsThatDoNotFit(document.get()) : complaints;
}

// ---- what a failure shows ----

/// The document with a line for each element that holds others.
std::string InLines(const std::string& text) {
  Complaints complaints;
  const Owned<xmlDoc> document = Read(text, complaints);
  if (!document) return text;
  xmlChar* lines = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(document.get(), &lines, &size, "UTF-8", 1);
  const Owned<xmlChar> owned(lines);
  return {reinterpret_cast<const char*>(lines), static_cast<std::size_t>(size)};
}

/// The lines about the first complaint, numbered, and what is complained about.
std::string Report(const std::string& schema, const std::string& text, const Complaints& complaints) {
  constexpr std::size_t kAbout = 30;
  constexpr std::size_t kMostOfALine = 400;
  constexpr std::size_t kMostComplaints = 10;
  std::ostringstream report;
  report << "not valid by docs/schema/" << schema << "\n";
  for (std::size_t i = 0; i < complaints.size() && i < kMostComplaints; ++i) {
    report << "line " << complaints[i].line << ": " << complaints[i].text << "\n";
  }
  std::istringstream lines(text);
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (number + kAbout < complaints.front().line || number > complaints.front().line + kAbout) continue;
    report << std::setw(5) << number << "  " << line.substr(0, kMostOfALine)
           << (line.size() > kMostOfALine ? "..." : "") << "\n";
  }
  return report.str();
}

/// A type of request, and where a server with `exact` has schemas of its own for it.
struct TypeSchemas {
  std::string_view type;
  bool exactRequest = false;
  bool exactResponse = false;
};
constexpr TypeSchemas kTypes[] = {
    {"Ping"},    {"Initialize", false, true}, {"Authorize"},  {"UsersAndRoles"},         {"TableList"},
    {"KeyList"}, {"FieldList", false, true},  {"PrimaryKey"}, {"TableData", true, true},
};

const TypeSchemas* FindType(std::string_view type) {
  const auto* const found = std::ranges::find(kTypes, type, &TypeSchemas::type);
  return found == std::end(kTypes) ? nullptr : found;
}

}  // namespace

std::string RequestType(const std::string& request) { return GetNodeText(XmlDocument(request), "/XML/Type"); }

std::string FaultOfDocument(const std::string& document, const std::string& schema) {
  const Complaints complaints = Check(document, schema);
  if (complaints.empty()) return "";
  // Messages come in one line: by the lines that they are shown in, a complaint tells the place.
  const std::string lines = InLines(document);
  const Complaints byLines = Check(lines, schema);
  return byLines.empty() ? Report(schema, document, complaints) : Report(schema, lines, byLines);
}

std::string FaultOfRequest(const std::string& request, bool exact) {
  const std::string type = RequestType(request);
  const TypeSchemas* const known = FindType(type);
  if (known == nullptr) return "of no type that there is: \"" + type.substr(0, 100) + "\"";
  return FaultOfDocument(request, (exact && known->exactRequest ? "requests/exact/" : "requests/") + type + ".xsd");
}

std::string FaultOfResponse(const std::string& response, std::string_view requestType, bool exact) {
  const TypeSchemas* const known = FindType(requestType);
  if (known == nullptr) return FaultOfDocument(response, "responses/Error.xsd");
  const std::string folder = exact && known->exactResponse ? "responses/exact/" : "responses/";
  return FaultOfDocument(response, folder + std::string(requestType) + ".xsd");
}

}  // namespace ods::test
