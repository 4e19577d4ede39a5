// The statements that list the tables of a product, for what its driver's list lacks or has too much: schema ("" where
// there are none) and name.
#pragma once

namespace ods {

/// Without the tables that SQLite keeps for itself. Names that begin so are no one else's.
inline constexpr const char* kTablesOfSqlite =
    "SELECT '' AS s, name AS n FROM sqlite_master WHERE type IN ('table','view') AND "
    "lower(substr(name,1,7))<>'sqlite_'";

/// Tables, partitioned ones and partitions, foreign tables, views and materialised ones. Schemas whose names begin with
/// "pg_" are the system's own: catalogues, overflowing values and temporary tables of all sessions.
inline constexpr const char* kTablesOfPostgreSql =
    "SELECT n.nspname, c.relname FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid=c.relnamespace "
    "WHERE c.relkind IN "
    "('r','p','f','v','m') AND n.nspname<>'information_schema' AND substr(CAST(n.nspname AS text),1,3)<>'pg_'";

/// Without the sequences of the driver's list.
inline constexpr const char* kTablesOfMariaDb =
    "SELECT '', TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA=DATABASE() AND TABLE_TYPE IN ('BASE "
    "TABLE','VIEW','SYSTEM VERSIONED')";

}  // namespace ods
