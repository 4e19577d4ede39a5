// A random question about a table, and the walks through its answers: forwards, backwards and zigzag, compared with one
// SELECT of the database itself.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "exactwalk/Pager.h"
#include "exactwalk/WalkTable.h"

namespace ods::test {

struct SortChoice {
  unsigned column = 0;
  bool descending = false;
};

struct FilterChoice {
  unsigned column = 0;
  unsigned operation = 0;
  unsigned row = 0;       ///< whose value is asked for
  unsigned otherRow = 0;  ///< and a second one, where there are two
  unsigned fragment = 0;  ///< of a text
};

struct Question {
  std::vector<SortChoice> sort;
  bool oldSort = false;  ///< the one sort column stands in SortColumn and SortDirection
  std::vector<unsigned> key;
  std::vector<unsigned> primaryKey;  ///< which the client gives, true or not
  std::vector<FilterChoice> filters;
  unsigned search = 0;    ///< 0 for none
  unsigned pageSize = 0;  ///< one more than this
  unsigned fields = 0;    ///< 0 for all columns, else some
  bool count = false;
  std::vector<unsigned> steps;  ///< of the zigzag
};

/// What a question says, to the server and to the database.
struct AskedQuestion {
  std::string elements;   ///< of the request
  std::string condition;  ///< SQL
  std::string order;      ///< SQL
  unsigned pageSize = 1;
  bool count = false;
  std::size_t fields = 0;  ///< so many columns are asked for
};

[[nodiscard]] AskedQuestion AskOf(const WalkTable& table, const Question& question);

/// Walks through the answers. Raises std::runtime_error telling what is wrong with them.
void WalkThrough(const WalkTable& table, Pager& pager, const Question& question);

/// Walks through a table with numbered rows, forwards or backwards, with one of the changes after each page: every row
/// that was never touched comes once, and in its order.
void WalkThroughChanges(WalkTable& table, Pager& pager, const Question& question, const std::vector<Change>& changes,
                        bool backwards);

std::ostream& operator<<(std::ostream& out, const Question& question);

}  // namespace ods::test
