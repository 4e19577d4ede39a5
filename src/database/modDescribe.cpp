#include "database/modDescribe.h"

#include "database/modODBC.h"
#include "database/modSelect.h"

namespace ods {

std::vector<Field> DescribeTable(const DataSession& session, const std::string& table) {
  bool fieldsFixed = false;
  const std::string sql = BuildSelectOne(session, table, {.where = "1=2", .orderBy = "", .fields = "*"}, fieldsFixed);
  return ExecuteSQL(session, sql, 1)->Fields();
}

}  // namespace ods
