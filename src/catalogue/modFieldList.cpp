#include "catalogue/modFieldList.h"

#include <string>

#include "common/Text.h"
#include "database/modDescribe.h"

namespace ods {

XmlNode AppendField(XmlNode& fields, const DataSession& session, const std::string& name, std::int32_t type) {
  const bool dotted = session.dialect->underscoresAreDots;
  XmlNode field = fields.AppendElement("Field");
  field.AppendElement("Id", name);
  field.AppendElement("Name", name);
  field.AppendElement("Caption", dotted ? ReplaceAll(name, "_", ".") : name);
  field.AppendElement("Type", std::to_string(type));
  field.AppendElement("Active", "1");
  return field;
}

void ProcessFieldList(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  response.LoadXML("<XML><Fields/></XML>");
  XmlNode fields = response.SelectSingleNode("/XML/Fields");
  for (const Field& column : DescribeTable(session, GetNodeText(request, "/XML/TableId"))) {
    AppendField(fields, session, column.name, column.type);
  }
}

}  // namespace ods
