// The schemas of docs/schema beside what there is: the types that the server knows, the examples of the documentation
// and the exchanges that are kept; and what tells a test of a message that is not as it should be.
#include <filesystem>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "common/Text.h"
#include "platform/system/ReadFile.h"
#include "schema/PlainMessages.h"
#include "server/modDispatch.h"
#include "support/MessageSchemas.h"
#include "support/MessageWatch.h"
#include "support/Transcript.h"

namespace ods::test {
namespace {

/// Every type that the server knows has its schemas, and there are no others.
TEST(MessageSchemas, AreThereForEveryTypeOfRequest) {
  const std::filesystem::path folder(ODS_SCHEMA_FOLDER);
  for (const char* part : {"requests", "requests/exact", "responses", "responses/exact"}) {
    for (const auto& entry : std::filesystem::directory_iterator(folder / part)) {
      const std::string type = entry.path().stem().string();
      if (entry.is_directory() || entry.path() == folder / "responses/Error.xsd") continue;
      EXPECT_NE(FindHandler(type, true), nullptr) << entry.path();
      EXPECT_TRUE(std::filesystem::exists(folder / "requests" / (type + ".xsd"))) << entry.path();
      EXPECT_TRUE(std::filesystem::exists(folder / "responses" / (type + ".xsd"))) << entry.path();
      EXPECT_EQ(FaultOfRequest(Request(type), true).find("of no type"), std::string::npos) << type;
    }
  }
}

/// The examples of the documentation, but for what "…" stands for in them.
TEST(MessageSchemas, TakeTheExamplesOfTheDocumentation) {
  std::istringstream text(ReadFileText(ODS_SCHEMA_FOLDER "/../protocol.md"));
  std::vector<std::string> examples;
  bool inside = false;
  for (std::string line; std::getline(text, line);) {
    const bool code = line.starts_with("    ");
    if (code && line.starts_with("    <XML>")) examples.emplace_back();
    inside = code && (inside || line.starts_with("    <XML>"));
    if (inside) examples.back() += line.substr(4) + "\n";
  }
  ASSERT_GT(examples.size(), 17U);
  std::string type;
  for (std::string& example : examples) {
    example =
        ReplaceAll(std::regex_replace(example, std::regex("<DataSession>[^<]*</DataSession>"), kSession), ">…<", "><");
    const std::string named = RequestType(example);
    if (!named.empty()) type = named;
    EXPECT_EQ(named.empty() ? FaultOfResponse(example, type, false) : FaultOfRequest(example, false), "");
  }
}

/// The exchanges that are kept, as they stand there.
TEST(MessageSchemas, TakeTheTranscripts) {
  std::size_t exchanges = 0;
  for (const auto& product : std::filesystem::directory_iterator(ODS_PRODUCTS_FOLDER)) {
    for (const Exchange& each : ReadTranscript(ReadFileText(product.path().string() + "/exchanges.txt"))) {
      SCOPED_TRACE(product.path().filename().string() + ": " + each.title);
      ++exchanges;
      const std::string fault = FaultOfRequest(each.request, false);
      EXPECT_EQ(fault.empty(), each.title != "unknown-operator") << fault;
      EXPECT_EQ(FaultOfResponse(ReplaceAll(each.response, "<DataSession>SESSION</DataSession>", kSession),
                                RequestType(each.request), false),
                "");
    }
  }
  EXPECT_GT(exchanges, 200U);
}

TEST(MessageWatch, FailsTheTestOfAMessageThatIsNotAsItShouldBe) {
  MessageWatch watch;
  const std::string ping = Request("Ping");
  const std::string pong = Response("<Ping>OK</Ping>");
  watch.Sent("1", ping);
  watch.Received("1", pong);
  EXPECT_NONFATAL_FAILURE(watch.Sent("2", Request("ping")), "The request is of no type that there is: \"ping\"");
  EXPECT_NONFATAL_FAILURE(watch.Received("2", pong), "not valid by docs/schema/responses/Error.xsd");
  EXPECT_NONFATAL_FAILURE(watch.Sent("3", Malformed(ping)), "is meant to be malformed, and is valid");
  watch.Sent("4", Malformed(Request("ping")));
  watch.Received("4", Response("<Error>1</Error><Message>Unknown message type: ping</Message>"));
  watch.Sent("5", Unchecked(ping));
  watch.Received("5", pong);
  watch.Sent("6", Unchecked(""));
  EXPECT_NONFATAL_FAILURE(watch.Received("6", "<XML/>"), "Missing child element(s)");
  const std::string counting =
      Request("TableData", "<TableId>[TABLE]a</TableId><Count>1</Count><Fields><Field><Id>a</Id></Field></Fields>");
  EXPECT_NONFATAL_FAILURE(watch.Sent("7", counting), "requests/TableData.xsd");
  watch.SetExact(true);
  watch.Sent("7", counting);
  watch.Received("7",
                 Response("<FirstPosition/><LastPosition/><HasNextPage>0</HasNextPage><HasPreviousPage>0"
                          "</HasPreviousPage><Columns/><Records/><Navigated>gotofirst</Navigated><Total>0</Total>"));
}

}  // namespace
}  // namespace ods::test
