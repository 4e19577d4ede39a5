#include "catalogue/modFieldList.h"

#include <string>

#include "common/Text.h"
#include "database/modDescribe.h"

namespace ods {

void ProcessFieldList(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  response.LoadXML("<XML><Fields/></XML>");
  const bool dotted = session.dialect->underscoresAreDots;
  XmlNode fields = response.SelectSingleNode("/XML/Fields");
  for (const Field& column : DescribeTable(session, GetNodeText(request, "/XML/TableId"))) {
    XmlNode field = fields.AppendElement("Field");
    field.AppendElement("Id", column.name);
    field.AppendElement("Name", column.name);
    field.AppendElement("Caption", dotted ? ReplaceAll(column.name, "_", ".") : column.name);
    field.AppendElement("Type", std::to_string(column.type));
    field.AppendElement("Active", "1");
  }
}

}  // namespace ods
