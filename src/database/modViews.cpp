#include "database/modViews.h"

#include <filesystem>
#include <system_error>

#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"

namespace ods {
namespace {

namespace fs = std::filesystem;

/// Adds the view of one file, in place of an earlier one of the same identifier.
void AddViewFile(XmlDocument& views, const fs::path& path) {
  XmlDocument file;
  file.Load(TextOf(path));
  const std::string identifier = TextOf(path.stem());
  XmlNode root = views.SelectSingleNode("/Views");
  if (!root || !file.DocumentElement()) {
    throw Error(error_number::kObjectMissing,
                "The views cannot be read: " + (root ? TextOf(path) : std::string("views.xml")) +
                    " is not an XML document of views.");
  }
  const XmlNode earlier = views.SelectSingleNode(("/Views/View[Id=" + XPathLiteral(identifier) + "]").c_str());
  if (earlier) root.RemoveChild(earlier);
  root.AppendCopy(file.DocumentElement()).AppendElement("Id", identifier);
}

}  // namespace

XmlDocument LoadViews(const std::string& configFolder) {
  XmlDocument views("<Views/>");
  std::error_code ignored;
  const std::string mainFile = JoinPath(configFolder, "views.xml");
  if (fs::exists(PathOf(mainFile), ignored)) views.Load(mainFile);
  for (const auto& entry : fs::directory_iterator(PathOf(JoinPath(configFolder, "views")), ignored)) {
    if (ToLower(TextOf(entry.path().extension())) == ".xml") AddViewFile(views, entry.path());
  }
  return views;
}

std::optional<ViewQuery> FindViewQuery(const std::string& configFolder, std::string_view identifier) {
  const XmlDocument views = LoadViews(configFolder);
  const XmlNode query = views.SelectSingleNode(("//View/Query[../Id=" + XPathLiteral(identifier) + "]").c_str());
  if (!query) return std::nullopt;
  ViewQuery result;
  result.text = query.Text();
  result.isMacro = ToLower(Trim(query.Attribute("subquery"))) == "no";
  result.top = query.Attribute("top");
  result.where = query.Attribute("where");
  result.orderBy = query.Attribute("orderby");
  result.fields = query.Attribute("fields");
  return result;
}

}  // namespace ods
