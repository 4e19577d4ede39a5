// What the command line says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Formats.h"
#include "OdbcDataClient.h"

namespace odbc_data {

enum class Command : std::uint8_t {
  kPing,
  kInitialize,
  kTables,
  kFields,
  kKeys,
  kPrimaryKey,
  kAuthorize,
  kUsers,
  kData,
  kExport,
  kSend,
};

struct Options {
  // Where the server is.
  std::string requests;
  std::string results;
  std::string instance;
  double timeout = 30;  ///< seconds

  // What is asked.
  std::string file;   ///< of `send`
  std::string table;  ///< as the user calls it
  std::string fields;
  std::string sort;
  std::vector<std::string> filters;
  std::string search;
  std::string searchIn;
  std::optional<std::size_t> pageSize;  ///< rows

  // Of `export`.
  std::string outputFile;
  std::string after;

  // Of `authorize`.
  std::string user;
  std::string passwordFile;

  // How answers are printed. An export is CSV unless told otherwise.
  std::optional<std::size_t> width;  ///< columns of a table; 0: all that it takes
  std::optional<Format> format;
  bool lineFeeds = false;  ///< in CSV, instead of carriage return and line feed

  Command command = Command::kPing;
  bool useConstructedKey = false;
  bool lastPage = false;
  bool count = false;
  bool interactive = false;
  bool askPassword = false;
  bool authenticated = false;
};

/// The queues that the options name: their own, else those of the instance, else those of the environment
/// (ODBC_DATA_REQUESTS, ODBC_DATA_RESULTS). The URI of a broker needs no place for answers. Raises `UsageError` when
/// none does.
[[nodiscard]] Exchange ExchangeOf(const Options& options);

}  // namespace odbc_data
