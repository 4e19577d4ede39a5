// Both ends of a queue of a real broker.
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "broker/Broker.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/System.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;
using ::testing::HasSubstr;

constexpr const char* kXml = "<XML/>";

class AmqpQueueTest : public testing::Test {
 protected:
  void SetUp() override {
    if (BrokerRoot().empty()) GTEST_SKIP() << "ODS_TEST_AMQP is not set";
    queues_.emplace();
    raw_.emplace();
  }
  void TearDown() override { queues_.reset(); }

  [[nodiscard]] static std::shared_ptr<Queue> Open(const std::string& uri) {
    auto queue = CreateQueue();
    queue->SetFolder(uri);
    queue->Create();
    return queue;
  }
  /// Polls until a message comes; "" when none does in time.
  [[nodiscard]] static std::string Next(Queue& queue, seconds patience = seconds(20)) {
    const auto end = Clock::now() + patience;
    std::string id;
    while (id.empty() && Clock::now() < end) {
      try {
        id = queue.Poll("", 100);
      } catch (const Error&) {
        std::this_thread::sleep_for(milliseconds(20));
      }
    }
    return id;
  }
  /// Waits until the queue is there.
  [[nodiscard]] bool IsUp(Queue& queue) const {
    const auto end = Clock::now() + seconds(20);
    while (!queue.CanSend()) {
      if (Clock::now() > end) return false;
      std::this_thread::sleep_for(milliseconds(5));
    }
    return true;
  }

  std::optional<BrokerQueues> queues_;
  std::optional<RawBroker> raw_;
};

TEST_F(AmqpQueueTest, CarriesMessagesWithTheirIds) {
  const auto sender = Open(queues_->Requests());
  const auto receiver = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*sender));
  for (const char* id : {"one", "two", "a b/ä\n"}) {
    sender->SetPackage(std::string("<XML>") + id + "</XML>");
    sender->Send(id);
  }
  for (const std::string id : {"one", "two", "a b/ä\n"}) {
    EXPECT_EQ(Next(*receiver), id);
    EXPECT_EQ(receiver->Package(), "<XML>" + id + "</XML>");
    receiver->Answered();
  }
  EXPECT_EQ(receiver->Poll("", 0), "");
}

TEST_F(AmqpQueueTest, TheIdIsTheMessagesOwnElseTheCorrelationElseTheDelivery) {
  const auto queue = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*queue));
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").CorrelationId("c").Get());
  raw_->Publish(queues_->Name(), kXml, Properties().CorrelationId("c").Get());
  raw_->Publish(queues_->Name(), kXml, Properties().Get());
  EXPECT_EQ(Next(*queue), "m");
  EXPECT_EQ(Next(*queue), "c");
  EXPECT_EQ(Next(*queue), "3");
}

TEST_F(AmqpQueueTest, AnAnswerGoesWhereTheRequestSays) {
  const auto queue = Open(queues_->Requests("&expiry=60"));
  ASSERT_TRUE(IsUp(*queue));
  const std::string own = raw_->MakeReplyQueue();
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").CorrelationId("c").ReplyTo(own).Get());
  EXPECT_EQ(Next(*queue), "m");
  EXPECT_TRUE(queue->Reply("<XML>answer</XML>"));
  queue->Answered();
  const auto answer = raw_->Get(own);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->body, "<XML>answer</XML>");
  EXPECT_EQ(answer->correlationId, "m");
  EXPECT_EQ(answer->contentType, "application/xml");
  EXPECT_EQ(answer->expiration, "60000");
  EXPECT_TRUE(answer->persistent);
}

TEST_F(AmqpQueueTest, ARequestWithoutAReceiverOrWithTheQueueItselfIsNotRepliedTo) {
  const auto queue = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*queue));
  for (const std::string& to : {std::string(), queues_->Name(), queues_->Name() + ".failed"}) {
    raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").ReplyTo(to).Get());
    EXPECT_EQ(Next(*queue), "m");
    EXPECT_FALSE(queue->Reply(kXml)) << to;
    queue->Answered();
  }
}

TEST_F(AmqpQueueTest, AReceiverThatIsGoneIsAnErrorOfItsOwn) {
  const auto queue = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*queue));
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").ReplyTo("no such queue").Get());
  EXPECT_EQ(Next(*queue), "m");
  EXPECT_EQ(ErrorOf([&] { (void)queue->Reply(kXml); }).value_or(Error(0, "")).Number(), error_number::kFileNotFound);
  queue->Answered();
  // One that is full and refuses more.
  amqp_table_entry_t entries[2] = {};
  entries[0].key = amqp_cstring_bytes("x-max-length");
  entries[0].value.kind = AMQP_FIELD_KIND_I32;
  entries[0].value.value.i32 = 0;
  entries[1].key = amqp_cstring_bytes("x-overflow");
  entries[1].value.kind = AMQP_FIELD_KIND_UTF8;
  entries[1].value.value.bytes = amqp_cstring_bytes("reject-publish");
  const std::string full = raw_->MakeReplyQueue({2, entries});
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").ReplyTo(full).Get());
  for (const int number : {1000, 1000, 1000, 53}) {
    EXPECT_EQ(Next(*queue), "m");
    EXPECT_EQ(ErrorOf([&] { (void)queue->Reply(kXml); }).value_or(Error(0, "")).Number(), number);
    queue->PutBack();
  }
}

TEST_F(AmqpQueueTest, AMessageThatIsNotAnsweredIsGivenToTheNext) {
  auto first = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*first));
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").Get());
  EXPECT_EQ(Next(*first), "m");
  const auto second = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*second));
  EXPECT_EQ(second->Poll("", 300), "") << "the first one has it";
  first.reset();
  EXPECT_EQ(Next(*second), "m");
  second->Answered();
  EXPECT_EQ(second->Poll("", 300), "");
}

TEST_F(AmqpQueueTest, AMessageThatWasPutBackComesAgainWithoutCounting) {
  const auto queue = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*queue));
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").Get());
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(Next(*queue), "m") << i;
    EXPECT_EQ(queue->Package(), kXml);
    queue->PutBack();
  }
  EXPECT_EQ(Next(*queue), "m");
  queue->Answered();
}

TEST_F(AmqpQueueTest, AMessageThatEndedThreeReadersIsSetAside) {
  raw_.emplace();
  { ASSERT_TRUE(IsUp(*Open(queues_->Requests()))); }
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").Get());
  for (int i = 0; i < 3; ++i) {
    const auto queue = Open(queues_->Requests());
    EXPECT_EQ(Next(*queue), "m");
    EXPECT_EQ(queue->Package(), kXml) << i;
  }
  const auto queue = Open(queues_->Requests());
  EXPECT_EQ(Next(*queue), "m");
  EXPECT_RAISES((void)queue->Package(), 1000,
                "The message \"m\" was given up: the server ended 3 times while it answered it.");
  queue->Answered();
  const auto failed = raw_->Get(queues_->Name() + ".failed");
  ASSERT_TRUE(failed);
  EXPECT_EQ(failed->body, kXml);
}

TEST_F(AmqpQueueTest, AnExpiredRequestIsPassedOver) {
  const auto queue = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*queue));
  const auto now = static_cast<std::uint64_t>(
      std::chrono::duration_cast<seconds>(std::chrono::system_clock::now().time_since_epoch()).count());
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("old").Expiration("5000").Timestamp(now - 60).Get());
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("huge").Expiration("4000000000").Timestamp(~0ULL).Get());
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("new").Expiration("50000").Timestamp(now).Get());
  EXPECT_EQ(Next(*queue), "huge") << "which is no time";
  EXPECT_EQ(Next(*queue), "new");
  queue->Answered();
  EXPECT_EQ(queue->Poll("", 300), "");
}

TEST_F(AmqpQueueTest, ABrokenConnectionIsMadeAnewAndTheRequestComesAgain) {
  const auto queue = Open(queues_->Requests());
  ASSERT_TRUE(IsUp(*queue));
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("m").ReplyTo(raw_->MakeReplyQueue()).Get());
  EXPECT_EQ(Next(*queue), "m");
  raw_->Delete(queues_->Name());  // the broker ends the reading
  std::string failure;
  for (int i = 0; i < 100 && failure.empty(); ++i) {
    const auto error = ErrorOf([&] { (void)queue->Reply(kXml); });
    if (error) failure = error->Description();
  }
  EXPECT_NE(failure, "") << "where the request came from is gone";
  queue->PutBack();
  ASSERT_TRUE(IsUp(*queue));
  EXPECT_EQ(queue->Poll("", 200), "") << "it went with its queue";
  raw_->Publish(queues_->Name(), kXml, Properties().MessageId("n").Get());
  EXPECT_EQ(Next(*queue), "n") << "the queue was made anew";
}

TEST_F(AmqpQueueTest, WhyThereIsNoConnectionIsToldAndNothingBlocks) {
  BrokerUri uri = ParseBrokerUri(queues_->Requests());
  const std::string begin = "amqp://" + uri.user + ":wrong@127.0.0.1:" + std::to_string(uri.hosts[0].port);
  struct Case {
    std::string uri;
    const char* told;
  };
  for (const Case& each :
       {Case{begin + "/?queue=q", "ACCESS_REFUSED"}, Case{"amqp://127.0.0.1:1/?queue=q", "No connection"},
        Case{queues_->Requests("&declare=0"), "NOT_FOUND"},
        Case{queues_->Requests().replace(queues_->Requests().find("/?"), 2, "/none?"), "not let"}}) {
    const auto queue = Open(each.uri);
    std::string told;
    const auto end = Clock::now() + seconds(20);
    while (told.empty() && Clock::now() < end) {
      const auto start = Clock::now();
      const auto error = ErrorOf([&] { EXPECT_EQ(queue->Poll("", 50), ""); });
      EXPECT_LT(Clock::now() - start, seconds(5)) << "whatever the network does";
      if (error) told = error->Description();
    }
    EXPECT_THAT(told, HasSubstr(each.told));
    EXPECT_EQ(told.find("wrong"), std::string::npos);
    EXPECT_EQ(told.find(uri.password), std::string::npos);
    EXPECT_FALSE(queue->CanSend());
    queue->SetPackage(kXml);
    EXPECT_TRUE(ErrorOf([&] { queue->Send("m"); })) << each.told;
  }
}

TEST_F(AmqpQueueTest, TlsChecksTheBrokersCertificateAndName) {
  const BrokerUri uri = ParseBrokerUri(queues_->Requests());
  const std::string user = uri.user + ":" + uri.password;
  const std::string port = BrokerTlsPort();
  const std::string good = "/?queue=" + queues_->Name() + "&cacert=" + BrokerFile("ca.pem");
  EXPECT_TRUE(IsUp(*Open("amqps://" + user + "@localhost:" + port + good)));
  EXPECT_TRUE(IsUp(*Open("amqps://" + user + "@127.0.0.1:" + port + "/?queue=" + queues_->Name() + "&verify=0")));
  for (const std::string& refused :
       {"amqps://" + user + "@127.0.0.1:" + port + good,                                  // another name
        "amqps://" + user + "@localhost:" + port + "/?queue=" + queues_->Name(),          // an authority nobody knows
        "amqps://" + user + "@localhost:" + port + good + "x",                            // no such file
        "amqps://" + user + "@localhost:" + std::to_string(uri.hosts[0].port) + good}) {  // no TLS there
    const auto queue = Open(refused);
    std::string told;
    const auto end = Clock::now() + seconds(20);
    while (told.empty() && Clock::now() < end) {
      if (const auto error = ErrorOf([&] { (void)queue->Poll("", 50); })) told = error->Description();
    }
    EXPECT_NE(told, "") << refused;
    EXPECT_FALSE(queue->CanSend()) << refused;
  }
}

}  // namespace
}  // namespace ods::test
