#include "Options.h"

#include <chrono>
#include <cmath>

#include "ExitStatus.h"
#include "platform/system/System.h"

namespace odbc_data {

Exchange ExchangeOf(const Options& options) {
  Exchange exchange;
  if (!options.instance.empty()) exchange = ExchangeOfInstance(options.instance);
  if (!options.requests.empty()) exchange.requests = options.requests;
  if (!options.results.empty()) exchange.results = options.results;
  if (exchange.requests.empty()) exchange.requests = ods::EnvironmentVariable("ODBC_DATA_REQUESTS");
  if (exchange.results.empty()) exchange.results = ods::EnvironmentVariable("ODBC_DATA_RESULTS");
  if (exchange.requests.empty() || exchange.results.empty()) {
    throw UsageError(
        "Where is the server? Give --requests and --results, or --instance, or set ODBC_DATA_REQUESTS and "
        "ODBC_DATA_RESULTS.");
  }
  exchange.timeout = std::chrono::milliseconds(std::llround(options.timeout * 1000));
  return exchange;
}

}  // namespace odbc_data
