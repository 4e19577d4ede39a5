#include "catalogue/modFieldList.h"

#include <string>

#include "common/Text.h"
#include "database/modODBC.h"
#include "database/modSelect.h"

namespace ods {

void ProcessFieldList(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  response.LoadXML("<XML><Fields/></XML>");
  const std::string table = GetNodeText(request, "/XML/TableId");
  bool fieldsFixed = false;
  const std::string sql = BuildSelectOne(session, table, {.where = kNoRows, .orderBy = "", .fields = "*"}, fieldsFixed);
  const auto rows = ExecuteSQL(session, sql, 1);

  const bool dotted = session.kind == DatabaseKind::DbNavision || session.kind == DatabaseKind::DbUnnamed;
  XmlNode fields = response.SelectSingleNode("/XML/Fields");
  for (const Field& column : rows->Fields()) {
    XmlNode field = fields.AppendElement("Field");
    field.AppendElement("Id", column.name);
    field.AppendElement("Name", column.name);
    field.AppendElement("Caption", dotted ? ReplaceAll(column.name, "_", ".") : column.name);
    field.AppendElement("Type", std::to_string(column.type));
    field.AppendElement("Active", "1");
  }
}

}  // namespace ods
