// The products whose tables are walked: their column types with ordinary and extreme values, and the SQL in which they
// differ.
#pragma once

#include <string>
#include <vector>

namespace ods::test {

/// How the database's own text of a value becomes the text that a page has.
enum class Form {
  kText,    ///< it is the same
  kSingle,  ///< the fewest digits of the single, in the layout of `FormatDouble`
  kDouble,  ///< the fewest digits of the double, likewise
};

struct ColumnType {
  std::string declaration;
  Form form = Form::kText;
  std::vector<std::string> values;  ///< SQL; the first is the plainest
  std::string more = "";            ///< SQL of further values, "$" stands for a number; "" for none
  std::string text = "$";           ///< SQL of the database's own text of a value, "$" stands for the column
  std::string order = "$";     ///< SQL of what the documents say that a table is ordered by, "$" stands for the column
  std::string viewOrder = "";  ///< the same of a server-side view, where it is another
  bool binary = false;         ///< bytes are what it is for
  bool ordered = true;         ///< the product can order and compare by it
  bool keyable = true;         ///< it may be in an index
  bool filtered = true;        ///< its text tells the value: it may be asked for by eq
  bool ranged = true;          ///< and by lt, gt, ...
  bool searched = false;       ///< it is asked for by LIKE
};

struct WalkProduct {
  std::string name;
  std::string quoteBefore = "\"";
  std::string quoteAfter = "\"";
  std::vector<ColumnType> types;
  std::vector<std::string> columnNames;
  std::string insert;                        ///< "INSERT INTO" in a form that leaves out rows which a key forbids
  std::string insertEnd = "";                ///< what then stands at the end
  std::string meantTable = "";               ///< behind the definition of a table that is only to be copied from
  std::string specialTable = "";             ///< behind the definition of a table of a special kind
  bool specialNeedsKey = false;              ///< which must have a primary key
  bool onlyTables = false;                   ///< no views, and no odd names of tables
  std::string namePrefix = "";               ///< of a table in the database,
  std::string identifierBefore = "[TABLE]";  ///< and what its identifier has before and behind its name
  std::string identifierAfter = "";
  std::string otherSchema = "";      ///< a schema beside the current one; "" for none
  bool partialIndexes = false;       ///< CREATE INDEX ... WHERE
  std::string indexExpression = "";  ///< of an index over an expression, "$" stands for the column; "" for none
  std::string indexCollation = "";   ///< that an index may have and its column not; "" for none
  bool nullablePrimaryKeys = false;  ///< columns of a primary key may be null
  /// The driver leaves out what stands before a point in a name, and only a table's catalogue has it whole.
  bool viewsCutNames = false;
  std::string set = "";  ///< statements to run once

  [[nodiscard]] std::string Quoted(const std::string& identifier) const;
};

[[nodiscard]] WalkProduct SqliteProduct();
[[nodiscard]] WalkProduct PostgreSqlProduct();
[[nodiscard]] WalkProduct MariaDbProduct();
/// What the stand-in driver can play: tables of an SQLite file with the types that products have in common.
[[nodiscard]] WalkProduct StandInProduct();
/// The same where a table has a schema.
[[nodiscard]] WalkProduct StandInProductWithSchemas();

}  // namespace ods::test
