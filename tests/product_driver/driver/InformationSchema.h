// The information_schema of a product that has one, over what SQLite tells of its tables.
#pragma once

#include "product_driver/driver/Database.h"

namespace ods::product_driver {

/// Adds the tables TABLES, COLUMNS and STATISTICS of information_schema, as far as they are asked for, and the
/// functions that statements on such a product may use: DATABASE(), LEFT() and SHA2(), whose digest is the value's own
/// here.
void AddInformationSchema(Database& database);

}  // namespace ods::product_driver
