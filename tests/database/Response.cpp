#include "database/Response.h"

#include <gtest/gtest.h>
#include <string>

#include "support/RaisedErrors.h"

namespace ods {
namespace {

std::string ErrorDocument(std::int32_t number, const std::string& description) {
  XmlDocument response("<XML><Half/></XML>");
  FillErrorDocument(response, number, description);
  return response.Xml();
}

TEST(ErrorDocument, HoldsNumberAndDescription) {
  EXPECT_EQ(ErrorDocument(-2147217865, "no such table: x"),
            "<XML><Error>-2147217865</Error><Message>no such table: x</Message></XML>");
}

TEST(ErrorDocument, ADescriptionGoesInAsItIs) {
  EXPECT_EQ(ErrorDocument(1, "a &amp; <b>c</b>"), "<XML><Error>1</Error><Message>a &amp; <b>c</b></Message></XML>");
}

TEST(ErrorDocument, ADescriptionThatIsNoXmlGoesInAsText) {
  for (const std::string text : {"a < b & c", "near \"<\": error", "</Message>", "</XML><XML>", "<!DOCTYPE x>"}) {
    EXPECT_EQ(GetNodeText(XmlDocument(ErrorDocument(1, text)), "/XML/Message"), text);
  }
}

TEST(ErrorDocument, ADescriptionPutsNothingBesideIt) {
  for (const std::string text : {"</Message><Records><R/></Records><Message>", "</Message>a<Message>",
                                 "</Message><DataSession>1</DataSession><Message>", "</Message><!-- --><Message>"}) {
    const XmlDocument document(ErrorDocument(1, text));
    EXPECT_EQ(document.SelectNodes("/XML/node()").size(), 2U) << document.Xml();
    EXPECT_EQ(GetNodeText(document, "/XML/Message"), text);
  }
}

TEST(ErrorDocument, WhatXmlCannotCarryDoesNotSpoilIt) {
  EXPECT_EQ(ErrorDocument(1, "bad\x01 \xFF"), "<XML><Error>1</Error><Message>bad? ?</Message></XML>");
}

TEST(ErrorDocument, IsMadeOfAnErrorToo) {
  XmlDocument response;
  FillErrorDocument(response, Error(7, "division by zero"));
  EXPECT_EQ(response.Xml(), "<XML><Error>7</Error><Message>division by zero</Message></XML>");
}

TEST(ResponseLimits, NameWhatIsTooMuch) {
  EXPECT_NO_THROW(RequireResponseBytes(kMaxResponseBytes));
  EXPECT_RAISES(RequireResponseBytes(kMaxResponseBytes + 1), error_number::kOwn,
                "The response is larger than 67108864 bytes (64 MiB). Ask for fewer rows or fields.");
  EXPECT_NO_THROW(RequireResponseValues(kMaxResponseValues));
  EXPECT_RAISES(RequireResponseValues(kMaxResponseValues + 1), error_number::kOwn,
                "The response has more than 2000000 values. Ask for fewer rows or fields.");
}

}  // namespace
}  // namespace ods
