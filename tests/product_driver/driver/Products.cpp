#include "product_driver/driver/Products.h"

#include <algorithm>
#include <array>

#include "common/Text.h"

namespace ods::product_driver {
namespace {

constexpr std::array<Product, 10> kProducts = {{
    {.name = "Microsoft SQL Server",
     .limit = RowLimit::kTop,
     .hasUpper = true,
     .openers = "[\"",
     .quote = "\"",
     .hasOwnTypes = true,
     .hasSchemas = true,
     .hasComments = true,
     .hasNationalTexts = true,
     .plusJoinsTexts = true,
     .hasIndexes = true,
     .clustersPrimaryKey = true,
     .fractionDigits = 3,
     .keyName = "PK_{}",
     .hasRowArrays = true},
    {.name = "ACCESS",
     .limit = RowLimit::kTop,
     .hasUcase = true,
     .openers = "[`",
     .quote = "`",
     .plusJoinsTexts = true,
     .hasCase = false,
     .hasEscape = false,
     .likeTakesBrackets = true,
     .unionsNeedTables = true,
     .hasIndexes = true,
     .keyName = "PrimaryKey",
     .systemTag = "MSys"},
    {.name = "MS Jet",
     .limit = RowLimit::kTop,
     .hasUcase = true,
     .openers = "[`",
     .quote = "`",
     .plusJoinsTexts = true,
     .hasCase = false,
     .hasEscape = false,
     .likeTakesBrackets = true,
     .unionsNeedTables = true,
     .hasIndexes = true,
     .keyName = "PrimaryKey",
     .systemTag = "MSys"},
    {.name = "MySQL",
     .limit = RowLimit::kLimit,
     .hasUpper = true,
     .hasUcase = true,
     .openers = "`",
     .quote = "`",
     .hasComments = true,
     .hasBackslashes = true,
     .hasInformationSchema = true,
     .hasIndexes = true,
     .fractionDigits = 6,
     .keyName = "PRIMARY",
     .hasRowArrays = true},
    {.name = "CONCORDE",
     .nameIsPart = true,
     .hasUcase = true,
     .openers = "\"",
     .quote = "\"",
     .padsTexts = true,
     .hasIndexes = true,
     .keyName = "Index1"},
    {.name = "NAVISION",
     .nameIsPart = true,
     .hasUcase = true,
     .openers = "\"",
     .quote = " ",
     .plusJoinsTexts = true,
     .hasFlowFilters = true,
     .hasIndexes = true,
     .keyName = "$1"},
    {.name = "Pervasive.SQL",
     .limit = RowLimit::kTop,
     .hasUpper = true,
     .hasUcase = true,
     .openers = "\"",
     .quote = "\"",
     .hasComments = true,
     .plusJoinsTexts = true,
     .quotesBinary = true,
     .hasIndexes = true,
     .fractionDigits = 3,
     .keyName = "PK_{}",
     .hasRowArrays = true},
    {.name = "EXCEL",
     .hasUcase = true,
     .openers = "`",
     .quote = "`",
     .plusJoinsTexts = true,
     .hasCase = false,
     .hasEscape = false,
     .likeTakesBrackets = true,
     .unionsNeedTables = true,
     .systemTag = "$"},
    {.name = "", .openers = "\"", .quote = " ", .hasIndexes = true, .keyName = "$1"},
    {.name = "any other product",
     .hasUpper = true,
     .hasUcase = true,
     .openers = "\"",
     .quote = "\"",
     .hasComments = true,
     .hasIndexes = true,
     .fractionDigits = 9,
     .keyName = "PK_{}",
     .hasRowArrays = true},
}};

}  // namespace

const Product& FindProduct(std::string_view dbmsName) {
  const std::string upperName = ToUpper(dbmsName);
  const auto* const found = std::ranges::find_if(kProducts, [&](const Product& product) {
    return product.nameIsPart ? upperName.find(product.name) != std::string::npos : dbmsName == product.name;
  });
  return found == kProducts.end() ? kProducts.back() : *found;
}

std::string TableTypeOf(const Product& product, std::string_view table, bool isView) {
  if (isView) return "VIEW";
  const std::string_view tag = product.systemTag;
  const bool isSystem = tag == "$" ? table.ends_with(tag) : !tag.empty() && table.starts_with(tag);
  return isSystem ? "SYSTEM TABLE" : "TABLE";
}

}  // namespace ods::product_driver
