#include "e2e/StandIn.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <sqlite3.h>
#include <utility>

namespace ods::test {
namespace {

struct Closer {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using File = std::unique_ptr<sqlite3, Closer>;

File OpenFile(const std::string& path) {
  sqlite3* handle = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &handle), SQLITE_OK) << path;
  return File(handle);
}

}  // namespace

StandIn::StandIn(std::string product, std::string settings)
    : product_(std::move(product)), settings_(std::move(settings)) {}

void StandIn::Connect(const std::string& more) const {
  std::string connection = "DRIVER=";
  connection.append(ODS_PRODUCT_DRIVER).append(";Product=").append(product_);
  connection.append(";Database=").append(DatabaseFile()).append(";StatementFile=").append(StatementFile());
  folders_.Configure(connection + settings_ + more);
}

void StandIn::Run(const std::string& script) const {
  const File file = OpenFile(DatabaseFile());
  EXPECT_EQ(sqlite3_exec(file.get(), script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
      << sqlite3_errmsg(file.get());
}

std::int64_t StandIn::NumberOf(const std::string& sql) const {
  std::int64_t number = -1;
  const auto take = [](void* target, int /*columns*/, char** values, char** /*names*/) {
    *static_cast<std::int64_t*>(target) = std::stoll(values[0]);
    return 1;  // no more rows
  };
  const File file = OpenFile(DatabaseFile());
  sqlite3_exec(file.get(), sql.c_str(), take, &number, nullptr);
  return number;
}

std::string StandIn::NewStatements() {
  std::ifstream file(StatementFile(), std::ios::binary);
  file.seekg(seen_);
  std::string fresh((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  seen_ += static_cast<std::streamoff>(fresh.size());
  return fresh;
}

}  // namespace ods::test
