// A connection that opens as a test says, and gives no rows.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/ado/Ado.h"

namespace ods::test {

class OpeningConnection final : public Connection {
 public:
  explicit OpeningConnection(std::function<void(OpeningConnection&)> open) : open_(std::move(open)) {}
  void SetLimits(ConnectionLimits newLimits) override { limits = std::move(newLimits); }
  void Open(const std::string& text) override {
    connectionString = text;
    open_(*this);
  }
  [[nodiscard]] const std::vector<ConnectionProperty>& Properties() const override { return properties; }
  [[nodiscard]] std::string DefaultDatabase() const override { return ""; }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenSchema(Schema /*schema*/, const std::vector<Value>& /*r*/) override {
    return nullptr;
  }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenRecordSet(const std::string& /*sql*/, std::int32_t /*max*/) override {
    return nullptr;
  }

  ConnectionLimits limits;
  std::string connectionString;
  std::vector<ConnectionProperty> properties;

 private:
  std::function<void(OpeningConnection&)> open_;
};

}  // namespace ods::test
