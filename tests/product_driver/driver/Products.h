// What distinguishes the database products that the driver stands in for, one row a product.
//
// The rows tell what a statement for the product may hold and how the product's own driver describes itself. They are
// a stand-in's knowledge: enough to refuse a statement written for another product.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ods::product_driver {

/// Where a product takes the number of rows that a SELECT may give.
enum class RowLimit { kNone, kTop, kLimit };

struct Product {
  std::string_view name;              ///< the DBMS name, or a part of it
  bool nameIsPart = false;            ///< `name` may stand anywhere in the DBMS name, in upper or lower case
  RowLimit limit = RowLimit::kNone;   ///< TOP n behind SELECT, or LIMIT n at the end
  bool hasUpper = false;              ///< knows UPPER()
  bool hasUcase = false;              ///< knows UCASE()
  std::string_view openers = {};      ///< characters that open a quoted name; a " that does not opens a text
  std::string_view quote = {};        ///< what the driver tells as identifier quote character; " " for none
  bool hasOwnTypes = false;           ///< tells of some columns by type numbers of its own
  bool hasSchemas = false;            ///< tables are named schema.table, with the schema dbo when none is given
  bool hasComments = false;           ///< knows -- and /* */
  bool hasNationalTexts = false;      ///< N'a' is a text too, of any character
  bool plusJoinsTexts = false;        ///< 'a'+'b' is 'ab'
  bool hasFlowFilters = false;        ///< knows {pred SetFlowFilter, ...}, and allows a brace in a text only at its end
  bool quotesBinary = false;          ///< a value of type binary is written '0A1B' and not 0x0A1B
  bool padsTexts = false;             ///< compares texts without regard to blanks at their end
  bool hasBackslashes = false;        ///< a backslash in a text is an escape until the session says otherwise
  bool hasCase = true;                ///< knows CASE WHEN
  bool hasEscape = true;              ///< knows ESCAPE behind LIKE
  bool likeTakesBrackets = false;     ///< a character in brackets is itself in the pattern of LIKE
  bool unionsNeedTables = false;      ///< each SELECT that a UNION joins has a FROM
  bool hasInformationSchema = false;  ///< tells of its tables in information_schema, with DATABASE(), LEFT() and SHA2()
  bool hasIndexes = false;            ///< the driver has SQLStatistics
  bool clustersPrimaryKey = false;    ///< the declared primary key is the clustered index, unless another one is
  std::size_t fractionDigits = 0;     ///< the most digits of a fraction of a second that a literal may have
  std::string_view keyName = {};      ///< name of the index of a declared primary key; {} stands for the table
  bool hasRowArrays = false;          ///< the driver fetches more than one row at a time, and re-reads bound columns
  std::string_view systemTag = {};    ///< what the name of a system table begins (or, "$", ends) with
};

/// The row of the product that a driver with this DBMS name drives; the row of an unknown product when there is none.
[[nodiscard]] const Product& FindProduct(std::string_view dbmsName);

/// The table type that the product's driver tells: TABLE, VIEW or SYSTEM TABLE.
[[nodiscard]] std::string TableTypeOf(const Product& product, std::string_view table, bool isView);

}  // namespace ods::product_driver
