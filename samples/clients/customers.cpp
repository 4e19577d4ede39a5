// Prints all customers, page by page: a client of the ODBC data server in C++. Usage: customers REQUESTS RESULTS
#include <OdbcDataClient.h>
#include <iostream>

int main(int argumentCount, char** arguments) {
  if (argumentCount != 3) {
    std::cerr << "Usage: customers REQUESTS RESULTS\n";
    return 2;
  }
  try {
    odbc_data::Client client({.requests = arguments[1], .results = arguments[2]});
    odbc_data::TableWalk walk(client, {.table = "[TABLE]customer", .fields = {"no", "name"}});
    while (const auto page = walk.Next()) {
      for (const odbc_data::Row& row : page->rows) {
        const char* separator = "";
        for (const odbc_data::Cell& cell : row) {
          std::cout << separator << (cell.isNull ? "NULL" : cell.text);
          separator = "\t";
        }
        std::cout << '\n';
      }
    }
    return 0;
  } catch (const odbc_data::Failure& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
