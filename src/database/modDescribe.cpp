#include "database/modDescribe.h"

#include "database/modODBC.h"
#include "database/modSelect.h"

namespace ods {

std::string DescribingStatement(const DataSession& session, const std::string& table, bool& fieldsFixed) {
  return BuildSelectOne(session, table, {.where = "1=2", .orderBy = "", .fields = "*"}, fieldsFixed);
}

std::vector<Field> DescribeTable(const DataSession& session, const std::string& table) {
  bool fieldsFixed = false;
  return ExecuteSQL(session, DescribingStatement(session, table, fieldsFixed), 1)->Fields();
}

std::vector<Field> DescribeTableExactly(const DataSession& session, const std::string& table, bool& fieldsFixed) {
  return ExecuteSQL(session, DescribingStatement(session, table, fieldsFixed), 1, {.exact = true})->Fields();
}

}  // namespace ods
