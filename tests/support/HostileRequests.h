// Requests of a client that means harm, or that has gone mad: every type of message, every element of it, spoiled in
// every way that this generator knows, mixed with plain ones so that the deep paths are reached too.
//
// Request `n` of a seed is always the same for the same tables, on every machine: a failure is repeated by its seed and
// its number.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ods::test {

/// The positions of a page, and the sort column that they belong to ("" for none).
struct KnownPage {
  std::string sortColumn;
  std::string first;
  std::string last;
};

/// What a client has learned of a table or view from the server's answers.
struct KnownTable {
  std::string identifier;
  std::vector<std::string> columns;
  std::string primaryKey;         ///< key text to page by
  std::vector<std::string> keys;  ///< key texts that the server offers
  std::vector<KnownPage> pages;
  std::vector<std::string> values;  ///< what stands in the rows
};

class HostileRequests {
 public:
  /// At least one table, each with at least one column. `exact`: the requests also have the elements and operators of
  /// exact paging.
  HostileRequests(std::uint64_t seed, std::vector<KnownTable> tables, bool exact = false);

  /// The whole message of a number. Most have some kilobytes; the first eight of every two thousand have megabytes, one
  /// of them more than any message may have.
  [[nodiscard]] std::string Make(std::uint64_t number) const;

 private:
  std::uint64_t seed_;
  std::vector<KnownTable> tables_;
  bool exact_;
};

}  // namespace ods::test
