// What a server is put among in tests: scripted queues and a scripted database.
#pragma once

#include <deque>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/ComponentRegistry.h"
#include "common/Error.h"
#include "doubles/FakeSession.h"
#include "platform/ado/Ado.h"
#include "platform/queue/Queue.h"

namespace ods::test {

struct SentMessage {
  std::string id;
  std::string text;
};

/// What all queue objects of a test share: the script and the record.
struct QueueScript {
  /// One entry a poll; what it returns is the id. When there are no more, `atEnd` is run and nothing waits.
  std::deque<std::function<std::string()>> polls;
  std::function<void()> atEnd;
  std::map<std::string, std::string> packages;
  /// One entry a send that has to fail; nothing for one that succeeds.
  std::deque<std::optional<Error>> sendFailures;
  std::deque<std::optional<Error>> createFailures;
  /// One entry a question whether anything can be sent; afterwards it can.
  std::deque<bool> canSend;
  /// The messages that name the receiver of their answer, and the error that the sending to it ends with.
  std::map<std::string, std::optional<Error>> receivers;
  std::vector<SentMessage> sent;
  std::vector<std::string> events;

  /// A message that the next poll returns.
  void Receive(const std::string& id, const std::string& text) {
    packages[id] = text;
    polls.emplace_back([id] { return id; });
  }
  /// A poll that returns no message; `action` happens meanwhile.
  void Idle(std::function<void()> action = [] {}) {
    polls.emplace_back([action = std::move(action)] {
      action();
      return std::string();
    });
  }
};

/// Raises the error that a script has at its front, if any.
inline void RaiseNext(std::deque<std::optional<Error>>& failures) {
  if (failures.empty()) return;
  const std::optional<Error> failure = failures.front();
  failures.pop_front();
  if (failure) throw Error(*failure);
}

class FakeQueue final : public Queue {
 public:
  explicit FakeQueue(QueueScript& script) : script_(script) {}
  ~FakeQueue() override { script_.events.push_back("drop " + folder_); }
  FakeQueue(const FakeQueue&) = delete;
  FakeQueue& operator=(const FakeQueue&) = delete;
  FakeQueue(FakeQueue&&) = delete;
  FakeQueue& operator=(FakeQueue&&) = delete;

  void SetFolder(const std::string& folder) override { folder_ = folder; }
  void Create() override {
    script_.events.push_back("create " + folder_);
    RaiseNext(script_.createFailures);
  }
  std::string Poll(const std::string& id, int waitMilliseconds) override {
    EXPECT_EQ(id, "");
    EXPECT_EQ(waitMilliseconds, 100);
    script_.events.push_back("poll " + folder_);
    if (script_.polls.empty()) {
      script_.atEnd();
      return "";
    }
    const auto next = script_.polls.front();
    script_.polls.pop_front();
    current_ = next();
    return current_;
  }
  [[nodiscard]] std::string Package() const override {
    const auto found = script_.packages.find(current_);
    if (found == script_.packages.end())
      throw Error(error_number::kOwn, "The message \"" + current_ + "\" is too large.");
    return found->second;
  }
  [[nodiscard]] bool Reply(const TextPieces& text) override {
    const auto receiver = script_.receivers.find(current_);
    if (receiver == script_.receivers.end()) return false;
    script_.events.push_back("reply to " + current_);
    if (receiver->second) throw Error(*receiver->second);
    script_.sent.push_back({current_, text.Joined()});
    return true;
  }
  void SetPackage(TextPieces text) override { package_ = text.Joined(); }
  void Send(const std::string& id) override {
    script_.events.push_back("send " + id + " to " + folder_);
    RaiseNext(script_.sendFailures);
    script_.sent.push_back({id, package_});
  }
  [[nodiscard]] bool CanSend() override {
    script_.events.push_back("can send to " + folder_);
    if (script_.canSend.empty()) return true;
    const bool can = script_.canSend.front();
    script_.canSend.pop_front();
    return can;
  }
  void PutBack() override { script_.events.push_back("put back " + current_); }
  void Answered() override { script_.events.push_back("answered " + current_); }

 private:
  QueueScript& script_;
  std::string folder_;
  std::string current_;
  std::string package_;
};

/// What all connections of a test share.
struct DatabaseScript {
  std::vector<std::string> opened;
  std::function<void()> onOpen;
  std::deque<std::optional<Error>> openFailures;
  std::deque<std::optional<Error>> schemaFailures;
  std::vector<ConnectionProperty> properties = {{"DBMS Name", "SQLite"}, {"Current Catalog", "main"}};
  std::string defaultDatabase;
  std::vector<Row> literals;
  std::vector<Row> tables;
  std::vector<Schema> schemas;
  std::vector<Value> tableRestrictions;
  int alive = 0;
  std::vector<ConnectionLimits> limits;  ///< that connections were given
  int losses = 0;                        ///< so many statements lose their connection
  bool stuck = false;                    ///< because the driver does not come back
};

class ScriptedConnection final : public Connection {
 public:
  explicit ScriptedConnection(DatabaseScript& script) : script_(script) { ++script_.alive; }
  ~ScriptedConnection() override { --script_.alive; }
  ScriptedConnection(const ScriptedConnection&) = delete;
  ScriptedConnection& operator=(const ScriptedConnection&) = delete;
  ScriptedConnection(ScriptedConnection&&) = delete;
  ScriptedConnection& operator=(ScriptedConnection&&) = delete;

  void SetLimits(ConnectionLimits limits) override { script_.limits.push_back(std::move(limits)); }
  [[nodiscard]] bool IsLost() const override { return lost_; }
  [[nodiscard]] bool IsStuck() const override { return lost_ && script_.stuck; }
  void Open(const std::string& connectionString) override {
    script_.opened.push_back(connectionString);
    if (script_.onOpen) script_.onOpen();
    EXPECT_EQ(script_.alive, 1) << "the old connection is gone before the new one opens";
    RaiseNext(script_.openFailures);
  }
  [[nodiscard]] const std::vector<ConnectionProperty>& Properties() const override { return script_.properties; }
  [[nodiscard]] std::string DefaultDatabase() const override { return script_.defaultDatabase; }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenSchema(Schema schema, const std::vector<Value>& restrictions) override {
    script_.schemas.push_back(schema);
    RaiseNext(script_.schemaFailures);
    if (schema == Schema::kProviderTypes) return MakeRows(TextColumns({"TYPE_NAME"}), {{"integer"}});
    if (schema == Schema::kDBInfoLiterals)
      return MakeRows(TextColumns({"LiteralName", "LiteralValue"}), script_.literals);
    script_.tableRestrictions = restrictions;
    return MakeRows(TextColumns({"TABLE_CATALOG", "TABLE_SCHEMA", "TABLE_NAME", "TABLE_TYPE"}), script_.tables);
  }
  [[nodiscard]] std::shared_ptr<RecordSet> OpenRecordSet(const std::string& sql, std::int32_t /*maxRecords*/) override {
    if (sql != "SELECT 1") throw Error(error_number::kGeneralFailure, "unexpected statement: " + sql);
    if (lost_ || script_.losses > 0) {
      if (!std::exchange(lost_, true)) --script_.losses;
      throw Error(error_number::kGeneralFailure, "the connection is lost");
    }
    return MakeRows(TextColumns({"one"}), {{"1"}});
  }

 private:
  DatabaseScript& script_;
  bool lost_ = false;
};

inline void RegisterDoubles(ComponentRegistry& components, QueueScript& queues, DatabaseScript& database) {
  components.Register("Halvik.Queue", [&queues] { return std::make_shared<FakeQueue>(queues); });
  components.Register("ADODB.Connection", [&database] { return std::make_shared<ScriptedConnection>(database); });
}

}  // namespace ods::test
