#include "Options.h"

#include <chrono>
#include <cmath>

#include "ExitStatus.h"
#include "platform/queue/BrokerUri.h"
#include "platform/system/System.h"

namespace odbc_data {

Exchange ExchangeOf(const Options& options) {
  Exchange exchange;
  if (!options.instance.empty()) exchange = ExchangeOfInstance(options.instance);
  if (!options.requests.empty()) exchange.requests = options.requests;
  if (!options.results.empty()) exchange.results = options.results;
  if (exchange.requests.empty()) exchange.requests = ods::EnvironmentVariable("ODBC_DATA_REQUESTS");
  const bool isBroker = ods::IsBrokerUri(exchange.requests);
  if (isBroker && !options.results.empty()) {
    throw UsageError("A broker brings the answers by itself: leave out --results.");
  }
  if (exchange.results.empty() && !isBroker) exchange.results = ods::EnvironmentVariable("ODBC_DATA_RESULTS");
  if (exchange.requests.empty() || (exchange.results.empty() && !isBroker)) {
    throw UsageError(
        "Where is the server? Give --requests and --results, or --instance, or set ODBC_DATA_REQUESTS and "
        "ODBC_DATA_RESULTS.");
  }
  exchange.timeout = std::chrono::milliseconds(std::llround(options.timeout * 1000));
  return exchange;
}

}  // namespace odbc_data
