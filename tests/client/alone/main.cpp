// Built with the client library's header and archive alone, as a program of somebody else would be: nothing of the
// server's own headers can be seen here.
#include "OdbcDataClient.h"

#if __has_include("common/Error.h") || __has_include("platform/xml/Xml.h")
#error "The folder of the server's headers is among those of a program that uses the library"
#endif

int main() {
  try {
    odbc_data::Client client({.requests = "/dev/null/requests", .results = "/dev/null/results"});
  } catch (const odbc_data::Failure&) {
    return 0;
  }
  return 1;
}
