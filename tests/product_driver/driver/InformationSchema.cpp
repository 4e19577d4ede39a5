#include "product_driver/driver/InformationSchema.h"

namespace ods::product_driver {
namespace {

/// Views of the session alone, so that the file's own list of tables stays as it is. A text is compared byte by byte.
constexpr const char* kViews = R"(
  CREATE TEMP VIEW "information_schema.TABLES" AS
    SELECT DATABASE() AS TABLE_SCHEMA, name AS TABLE_NAME,
           CASE type WHEN 'view' THEN 'VIEW' ELSE 'BASE TABLE' END AS TABLE_TYPE, 'InnoDB' AS ENGINE
    FROM main.sqlite_master WHERE type IN ('table', 'view');
  CREATE TEMP VIEW "information_schema.COLUMNS" AS
    SELECT DATABASE() AS TABLE_SCHEMA, t.name AS TABLE_NAME, c.name AS COLUMN_NAME,
           lower(rtrim(substr(c.type || '(', 1, instr(c.type || '(', '(') - 1))) AS DATA_TYPE,
           CASE WHEN c."notnull" THEN 'NO' ELSE 'YES' END AS IS_NULLABLE,
           CASE WHEN lower(c.type) LIKE '%char%' OR lower(c.type) LIKE '%text%' THEN 'utf8mb4_bin' END
             AS COLLATION_NAME
    FROM main.sqlite_master AS t, pragma_table_info(t.name) AS c WHERE t.type IN ('table', 'view');
  CREATE TEMP VIEW "information_schema.STATISTICS" AS
    SELECT DATABASE() AS TABLE_SCHEMA, t.name AS TABLE_NAME,
           CASE i.origin WHEN 'pk' THEN 'PRIMARY' ELSE i.name END AS INDEX_NAME, NOT i."unique" AS NON_UNIQUE,
           c.seqno + 1 AS SEQ_IN_INDEX, c.name AS COLUMN_NAME, NULL AS SUB_PART, 'BTREE' AS INDEX_TYPE
    FROM main.sqlite_master AS t, pragma_index_list(t.name) AS i, pragma_index_info(i.name) AS c
    WHERE t.type = 'table';
)";

void CurrentDatabase(sqlite3_context* context, int /*count*/, sqlite3_value** /*values*/) {
  sqlite3_result_text(context, "database", -1, SQLITE_STATIC);
}

}  // namespace

void AddInformationSchema(Database& database) {
  database.AddFunction("DATABASE", 0, CurrentDatabase);
  database.AddFunction("LEFT", 2, [](sqlite3_context* context, int /*count*/, sqlite3_value** values) {
    const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
    if (text == nullptr) return sqlite3_result_null(context);
    // The beginning ends behind a whole character.
    int bytes = 0;
    for (int characters = sqlite3_value_int(values[1]); text[bytes] != '\0'; ++bytes) {
      const bool begins = (static_cast<unsigned char>(text[bytes]) & 0xC0U) != 0x80U;
      if (begins && characters-- == 0) break;
    }
    sqlite3_result_text(context, text, bytes, SQLITE_TRANSIENT);
  });
  database.AddFunction("SHA2", 2, [](sqlite3_context* context, int /*count*/, sqlite3_value** values) {
    sqlite3_result_value(context, values[0]);
  });
  database.Run(kViews);
}

}  // namespace ods::product_driver
