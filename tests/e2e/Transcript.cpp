#include "support/Transcript.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

namespace ods::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

TEST(Transcript, IsReadInOneGo) {
  const std::vector<Exchange> exchanges = {{"ping", "<XML>\n</XML>\n", "", "<XML/>\n"},
                                           {"page", "<XML/>\n", "3: SELECT 1\nSELECT 2\n", "<XML>\n<R/></XML>\n"}};
  EXPECT_EQ(
      WriteTranscript(exchanges),
      "=== 01 ping\n--- request\n<XML>\n</XML>\n--- statements\n--- response\n<XML/>\n"
      "\n"
      "=== 02 page\n--- request\n<XML/>\n--- statements\n3: SELECT 1\nSELECT 2\n--- response\n<XML>\n<R/></XML>\n");
  EXPECT_EQ(ReadTranscript(WriteTranscript(exchanges)), exchanges);
  EXPECT_THAT(ReadTranscript(""), IsEmpty());
}

TEST(Transcript, ReturnsEveryContentAsItWas) {
  for (const char* content : {"",
                              "\n",
                              "\n\n",
                              "no line end",
                              "\nno line end",
                              "=== 02 page\n",
                              "--- response\n",
                              "---\n",
                              "===",
                              "\\",
                              "\\\n",
                              "\\ no line end",
                              "\\ no line end\n",
                              "\\\\ no line end\n",
                              " === 02\n",
                              "a\n=== 02 page\n--- request\nb",
                              "a\r\nb\r",
                              "-- a comment\n",
                              "\t\n ",
                              "\xC3\xA9\xFF\n"}) {
    const std::vector<Exchange> all = {{"one", content, "s\n", "r\n"},
                                       {"two", "q\n", content, "r\n"},
                                       {"three", "q\n", "s\n", content},
                                       {"four", content, content, content}};
    EXPECT_EQ(ReadTranscript(WriteTranscript(all)), all) << content;
  }
}

TEST(Transcript, ALineThatCannotBeThereIsNamed) {
  const std::string good = WriteTranscript({{"a", "q\n", "s\n", "r\n"}, {"b", "q\n", "s\n", "r\n"}});
  const auto reading = [](const std::string& text) { return [text] { (void)ReadTranscript(text); }; };
  const auto without = [&](const std::string& part) { return std::string(good).erase(good.find(part), part.size()); };
  EXPECT_THAT(reading("text\n"),
              ThrowsMessage<std::runtime_error>(HasSubstr("Line 1 of the transcript does not begin")));
  EXPECT_THAT(reading("=== 02 a\n"), ThrowsMessage<std::runtime_error>(HasSubstr("does not begin with \"=== 01 \"")));
  EXPECT_THAT(reading(without("--- statements\n")),
              ThrowsMessage<std::runtime_error>(HasSubstr("Line 5 of the transcript is not \"--- statements\"")));
  EXPECT_THAT(reading(without("\n=== 02 b")), ThrowsMessage<std::runtime_error>(HasSubstr("does not begin")));
  EXPECT_THAT(reading(good.substr(0, good.size() - 1)),
              ThrowsMessage<std::runtime_error>(HasSubstr("has no line end")));
  EXPECT_THAT(reading("=== 01 a\n--- request\n\\ no line end\n"),
              ThrowsMessage<std::runtime_error>(HasSubstr("Line 3 of the transcript has nothing before it")));
}

}  // namespace
}  // namespace ods::test
