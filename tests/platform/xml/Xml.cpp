#include "platform/xml/Xml.h"

#include <chrono>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "common/Error.h"
#include "common/Text.h"
#include "platform/system/ReadFile.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Truly;

constexpr std::int32_t kGeneral = error_number::kGeneralFailure;

std::vector<std::string> Names(const std::vector<XmlNode>& nodes) {
  std::vector<std::string> names;
  names.reserve(nodes.size());
  for (const XmlNode& node : nodes) names.push_back(node.Name());
  return names;
}

// What loading and writing leaves of a document.
std::string Written(std::string_view xml) { return XmlDocument(xml).Xml(); }

// ---- reading ----

TEST(GetNodeTextTest, NoNodeGivesNoTextAndThePathIsNotLookedAt) { EXPECT_EQ(GetNodeText(XmlNode(), "/XML/["), ""); }

TEST(GetNodeTextTest, NoMatchGivesNoText) {
  const XmlDocument document("<XML><Type/></XML>");
  EXPECT_EQ(GetNodeText(document, "/XML/Missing"), "");
  EXPECT_EQ(GetNodeText(document, "/XML/Type"), "");
  EXPECT_EQ(GetNodeText(document, "/XML/Type/@Id"), "");
  EXPECT_EQ(GetNodeText(XmlDocument(), "/XML/Type"), "");
}

TEST(GetNodeTextTest, JoinsTheTextsOfAllDescendants) {
  const XmlDocument document("<a>1<b>2<c>3</c></b><!-- not this --><?nor this?><![CDATA[<4>]]><b/>5</a>");
  EXPECT_EQ(GetNodeText(document, "/a"), "123<4>5");
  EXPECT_EQ(GetNodeText(document, "/a/b"), "23");
  EXPECT_EQ(document.DocumentElement().Text(), "123<4>5");
}

TEST(GetNodeTextTest, TakesEveryKindOfPath) {
  const XmlDocument document(
      "<Views><View Id='a' Name='A'><DSN>one</DSN></View><View Id=\"it's\"><DSN>two</DSN></View></Views>");
  EXPECT_EQ(GetNodeText(document, "/Views/View/DSN"), "one");
  EXPECT_EQ(GetNodeText(document, "//DSN"), "one");
  const std::string path = "/Views/View[@Id=" + XPathLiteral("it's") + "]";
  const XmlNode view = document.SelectSingleNode(path.c_str());
  EXPECT_EQ(GetNodeText(view, "@Id"), "it's");
  EXPECT_EQ(GetNodeText(view, "DSN"), "two");
  EXPECT_EQ(GetNodeText(view, "."), "two");
  EXPECT_EQ(GetNodeText(view, "DSN/text()"), "two");
}

TEST(GetNodeTextTest, ALiteralOfManyApostrophesStillSelects) {
  XmlDocument document("<a/>");
  const std::string text = std::string(100, '\'') + "\"";
  document.DocumentElement().SetAttribute("b", text);
  EXPECT_EQ(GetNodeText(document, ("/a[@b=" + XPathLiteral(text) + "]/@b").c_str()), text);
}

TEST(GetNodeTextTest, APathBeyondTheLimitsIsAnErrorOfBoundedLength) {
  const XmlDocument document("<a/>");
  const std::string path = "/a[@\xC3\xA9=" + XPathLiteral(std::string(100000, '\'')) + "]";
  EXPECT_RAISES(GetNodeText(document, path.c_str()), kGeneral,
                "Error in XPath expression " + path.substr(0, 200) + "...: Exceeded maximum allowed query depth");
  EXPECT_EQ(GetNodeText(document, "/a"), "");
  for (const std::size_t blanks : {195U, 196U, 197U}) {
    const std::string split = "/a[" + std::string(blanks, ' ') + "\xC3\xA9\xC3\xA9\xC3\xA9[";
    EXPECT_RAISES(GetNodeText(document, split.c_str()), kGeneral, Truly(IsValidUtf8));
  }
}

TEST(GetNodeTextTest, AMalformedPathIsAnError) {
  const XmlDocument document("<a/>");
  for (const char* xpath : {"/a[", "a b", "", "1 + 1", "nosuch()", "$x"}) {
    for (const auto& select : {std::function<void()>([&] { static_cast<void>(GetNodeText(document, xpath)); }),
                               std::function<void()>([&] { static_cast<void>(document.SelectSingleNode(xpath)); }),
                               std::function<void()>([&] { static_cast<void>(document.SelectNodes(xpath)); })}) {
      EXPECT_RAISES(select(), kGeneral, HasSubstr("Error in XPath expression " + std::string(xpath) + ": "));
    }
  }
}

TEST(SelectTest, GivesElementsInDocumentOrder) {
  const XmlDocument document("<a><b/><c><d/></c><b/></a>");
  EXPECT_THAT(Names(document.SelectNodes("//d | //b | /a")), ElementsAre("a", "b", "d", "b"));
  EXPECT_THAT(Names(document.SelectNodes("//d/ancestor::*")), ElementsAre("a", "c"));
  EXPECT_EQ(document.SelectSingleNode("//d/ancestor::*").Name(), "a");
  EXPECT_TRUE(document.SelectNodes("//x").empty());
  EXPECT_FALSE(document.SelectSingleNode("//x"));
  EXPECT_TRUE(XmlNode().SelectNodes("//x").empty());
}

TEST(SelectTest, PassesAttributesOver) {
  const XmlDocument document("<a x='1'><b/></a>");
  EXPECT_THAT(Names(document.SelectNodes("/a/@x | /a/b")), ElementsAre("b"));
  EXPECT_EQ(document.SelectSingleNode("/a/@x | /a/b").Name(), "b");
  EXPECT_FALSE(document.SelectSingleNode("/a/@x"));
}

TEST(AttributeTest, AMissingOneIsEmpty) {
  const XmlDocument document("<a b='&lt;1&#10;&#9;2&apos;'/>");
  EXPECT_EQ(document.DocumentElement().Attribute("b"), "<1\n\t2'");
  EXPECT_EQ(document.DocumentElement().Attribute("c"), "");
  EXPECT_EQ(XmlNode().Attribute("c"), "");
}

TEST(LoadTest, MakesLineFeedsOfAllLineBreaks) {
  const XmlDocument document("<a b='1\r\n2\t3'>1\r\n2\r3\n4&#13;<![CDATA[5\r\n6]]></a>");
  EXPECT_EQ(GetNodeText(document, "/a"), "1\n2\n3\n4\r5\n6");
  EXPECT_EQ(GetNodeText(document, "/a/@b"), "1 2 3");
}

// ---- white space ----

TEST(WhiteSpaceTest, IsDroppedBetweenElementsOnly) {
  EXPECT_EQ(Written("<a>\r\n  <b> x </b>\n  <c>  </c> <!-- c --> </a>\n"), "<a><b> x </b><c>  </c><!-- c --></a>");
  EXPECT_EQ(Written("<a> text <b/> </a>"), "<a> text <b/></a>");
  EXPECT_EQ(Written("<a> </a>"), "<a> </a>");
}

TEST(WhiteSpaceTest, IsKeptWherePreserveHolds) {
  EXPECT_EQ(Written("<a xml:space='preserve'> <b> <c/> </b>\n</a> "), "<a xml:space=\"preserve\"> <b> <c/> </b>\n</a>");
  EXPECT_EQ(Written("<a> <b xml:space='preserve'> <c/> </b> </a>"), "<a><b xml:space=\"preserve\"> <c/> </b></a>");
}

TEST(WhiteSpaceTest, TheNearestAttributeDecides) {
  EXPECT_EQ(Written("<a xml:space='preserve'> <b xml:space='default'> <c/> <d> </d> </b> <e/> </a>"),
            "<a xml:space=\"preserve\"> <b xml:space=\"default\"><c/><d> </d></b> <e/> </a>");
  EXPECT_EQ(Written("<a xml:space='default'> <b> <c> </c> </b> x </a>"),
            "<a xml:space=\"default\"><b><c> </c></b> x </a>");
  EXPECT_EQ(Written("<a> <b>xml:space</b> <c><d> <e/> </d> </c> </a> "), "<a><b>xml:space</b><c><d><e/></d></c></a>");
}

TEST(SetXmlSpacePreserveTest, AddsTheAttributeOnce) {
  XmlDocument document("<a><b/></a>");
  SetXmlSpacePreserve(document);
  SetXmlSpacePreserve(document);
  EXPECT_EQ(document.Xml(), "<a xml:space=\"preserve\"><b/></a>");
}

TEST(SetXmlSpacePreserveTest, ChangesAnotherValue) {
  XmlDocument document("<a xml:space='default'/>");
  SetXmlSpacePreserve(document);
  EXPECT_EQ(document.Xml(), "<a xml:space=\"preserve\"/>");
}

TEST(SetXmlSpacePreserveTest, NeedsARoot) {
  XmlDocument document;
  EXPECT_RAISES(SetXmlSpacePreserve(document), 91, "The XML document has no root element");
}

// ---- writing ----

TEST(XmlTextTest, HasNoDeclarationAndNoIndentation) {
  EXPECT_EQ(Written("<?xml version='1.0' encoding='UTF-8'?>\n<a>\n <b c='1'/>\n</a>"), "<a><b c=\"1\"/></a>");
  EXPECT_EQ(XmlDocument().Xml(), "");
}

TEST(XmlTextTest, EveryTextSurvivesAParser) {
  for (const char* text : {"plain", "<&>\"'", "1\r\n2\r3\n4", " blanks around ", "\t", "\n", "\r", "]]>", "&amp;",
                           "\xC3\xA9\xF0\x9F\x98\x80", "-- <!-- x --> <![CDATA[ ]]>", "&#13;"}) {
    XmlDocument document("<a><b/></a>");
    document.SelectSingleNode("/a/b").SetText(text);
    document.SelectSingleNode("/a").SetAttribute("c", text);
    document.SelectSingleNode("/a").AppendElement("d", text);
    const XmlDocument read(document.Xml());
    EXPECT_EQ(GetNodeText(read, "/a/b"), text) << document.Xml();
    EXPECT_EQ(GetNodeText(read, "/a/@c"), text) << document.Xml();
    EXPECT_EQ(GetNodeText(read, "/a/d"), text) << document.Xml();
  }
}

TEST(XmlTextTest, ACarriageReturnLeavesAsAReference) {
  XmlDocument document("<a/>");
  document.DocumentElement().SetText("1\r\n2\r");
  EXPECT_EQ(document.Xml(), "<a>1&#13;\n2&#13;</a>");
}

TEST(XmlTextTest, LargeTextsSurviveToo) {
  std::string text;
  for (int i = 0; i < 30000; ++i) text += "\r\n\xC3\xA9<" + std::to_string(i);
  XmlDocument document("<a/>");
  document.DocumentElement().SetText(text);
  EXPECT_EQ(GetNodeText(XmlDocument(document.Xml()), "/a"), text);
}

TEST(SetTextTest, ReplacesTheWholeContent) {
  XmlDocument document("<a b='1'>x<c/>y</a>");
  XmlNode root = document.DocumentElement();
  root.SetText("new");
  EXPECT_EQ(document.Xml(), "<a b=\"1\">new</a>");
  root.SetText("");
  EXPECT_EQ(document.Xml(), "<a b=\"1\"/>");
  EXPECT_EQ(root.Text(), "");
}

TEST(SetTextTest, RefusesWhatXmlCannotCarryAndLeavesTheElement) {
  XmlDocument document("<a b='1'>old</a>");
  XmlNode root = document.DocumentElement();
  const std::string cases[] = {"\x01", std::string("a\0b", 3), "a\x1F", "\xEF\xBF\xBF", "\xC3", "\xED\xA0\x80"};
  for (const std::string& text : cases) {
    EXPECT_RAISES(root.SetText(text), kGeneral, "The text for 'a' holds a character that XML cannot carry");
    EXPECT_RAISES(root.SetAttribute("b", text), kGeneral, "The text for 'b' holds a character that XML cannot carry");
    EXPECT_RAISES(root.SetAttribute("n", text), kGeneral, "The text for 'n' holds a character that XML cannot carry");
    EXPECT_RAISES(root.AppendElement("c", text), kGeneral, "The text for 'c' holds a character that XML cannot carry");
  }
  EXPECT_EQ(document.Xml(), "<a b=\"1\">old</a>");
}

TEST(SetTextTest, NeedsANode) {
  const std::string missing = "The XML node does not exist";
  EXPECT_RAISES(XmlNode().SetText("x"), 91, missing);
  EXPECT_RAISES(XmlNode().SetAttribute("a", "x"), 91, missing);
  EXPECT_RAISES(XmlNode().AppendElement("a"), 91, missing);
  EXPECT_RAISES(XmlNode().AppendElement("a", "x"), 91, missing);
  EXPECT_RAISES(XmlNode().AppendCopy(XmlNode()), 91, missing);
}

TEST(AppendTest, BuildsADocument) {
  XmlDocument document;
  XmlNode root = document.Node().AppendElement("XML");
  XmlNode field = root.AppendElement("Field", "O'Neil & <Sons>");
  field.SetAttribute("Id", "\"1\"");
  field.SetAttribute("Id", "\"2\"");
  root.AppendElement("Empty");
  root.AppendElement("NoText", "");
  EXPECT_EQ(document.Xml(),
            "<XML><Field Id=\"&quot;2&quot;\">O'Neil &amp; &lt;Sons&gt;</Field><Empty/><NoText/></XML>");
  EXPECT_EQ(root.FirstChild().Name(), "Field");
}

TEST(AppendTest, RefusesWhatIsNoName) {
  XmlDocument document("<a/>");
  XmlNode root = document.DocumentElement();
  for (const char* name : {"", "1", "a b", "a>", "<a", "a\xFF"}) {
    const std::string description = "'" + std::string(name) + "' is not an XML name";
    EXPECT_RAISES(root.AppendElement(name), kGeneral, description);
    EXPECT_RAISES(root.SetAttribute(name, "x"), kGeneral, description);
  }
  EXPECT_EQ(document.Xml(), "<a/>");
}

TEST(AppendTest, CopiesNodesOfOtherDocuments) {
  XmlDocument target("<a/>");
  {
    const XmlDocument source("<x><b c='1'>text<d/></b></x>");
    EXPECT_EQ(target.DocumentElement().AppendCopy(source.SelectSingleNode("/x/b")).Name(), "b");
    EXPECT_RAISES(target.DocumentElement().AppendCopy(source.Node()), kGeneral, "The XML node cannot be copied here");
  }
  EXPECT_EQ(target.Xml(), "<a><b c=\"1\">text<d/></b></a>");
}

TEST(AppendTest, RemovesChildren) {
  XmlDocument document("<a><b/><c/></a>");
  XmlNode root = document.DocumentElement();
  root.RemoveChild(document.SelectSingleNode("/a/b"));
  root.RemoveChild(XmlNode());
  EXPECT_EQ(document.Xml(), "<a><c/></a>");
}

TEST(TextTest, IsLinearOnWideDocuments) {
  std::string xml = "<a>";
  for (int i = 0; i < 200000; ++i) xml += "<b>x</b>";
  const XmlDocument document(xml + "</a>");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(document.DocumentElement().Text(), std::string(200000, 'x'));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

// ---- files ----

class XmlFileTest : public ::testing::Test {
 protected:
  test::TemporaryFolder temporary_;
  std::string folder_ = temporary_.Path();
};

TEST_F(XmlFileTest, ADocumentReturnsFromItsFile) {
  const std::string path = folder_ + "/a.xml";
  XmlDocument document("<a xml:space='preserve'> <!-- kept --> <b>1&#13;</b></a>");
  document.Save(path);
  XmlDocument read;
  EXPECT_TRUE(read.Load(path));
  EXPECT_EQ(read.Xml(), document.Xml());
  EXPECT_EQ(ReadFileText(path), document.Xml());
}

TEST_F(XmlFileTest, SavingReplacesTheFile) {
  const std::string path = folder_ + "/a.xml";
  XmlDocument("<a>long content</a>").Save(path);
  XmlDocument("<b/>").Save(path);
  EXPECT_EQ(ReadFileText(path), "<b/>");
}

TEST_F(XmlFileTest, ASavedFileHasThePrivateMode) {
  const std::string path = folder_ + "/a.xml";
  XmlDocument("<a/>").Save(path);
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(XmlFileTest, AByteOrderMarkIsSkipped) {
  const std::string path = folder_ + "/a.xml";
  std::ofstream(path) << "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<a/>";
  XmlDocument document;
  EXPECT_TRUE(document.Load(path));
  EXPECT_EQ(document.Xml(), "<a/>");
}

TEST_F(XmlFileTest, WhatDoesNotLoadLeavesAnEmptyDocument) {
  XmlDocument document("<a/>");
  EXPECT_FALSE(document.Load(folder_ + "/missing.xml"));
  EXPECT_EQ(document.Xml(), "");
  std::ofstream(folder_ + "/bad.xml") << "<a>";
  document.LoadXML("<a/>");
  EXPECT_FALSE(document.Load(folder_ + "/bad.xml"));
  EXPECT_FALSE(document.DocumentElement());
  EXPECT_FALSE(document.Load(""));
}

TEST_F(XmlFileTest, SavingWhereNothingCanBeWrittenIsAnErrorThatNamesThePath) {
  const std::string path = folder_ + "/missing/a.xml";
  EXPECT_RAISES(XmlDocument("<a/>").Save(path), 1000, HasSubstr(path));
}

// ---- texts ----

TEST(IsXmlTextTest, KnowsTheCharactersOfXml) {
  EXPECT_TRUE(IsXmlText(""));
  EXPECT_TRUE(IsXmlText("\t\r\n <&> \x7F \xC2\x85 \xED\x9F\xBF \xEE\x80\x80 \xEF\xBF\xBD \xF4\x8F\xBF\xBF"));
  for (std::size_t length = 0; length < 20; ++length) {
    for (const char* bad : {"\x01", "\x1F", "\x80", "\xEF\xBF\xBE", "\xC3"}) {
      EXPECT_FALSE(IsXmlText(std::string(length, 'a') + bad + "0123456789")) << length;
    }
    EXPECT_FALSE(IsXmlText(std::string(length, 'a') + '\0'));
    EXPECT_TRUE(IsXmlText(std::string(length, 'a') + "\n\xC3\xA9 and more"));
  }
}

/// The text of an element as the document writes it.
std::string WrittenText(const std::string& text) {
  XmlDocument document("<a/>");
  document.DocumentElement().SetText(text);
  const std::string xml = document.Xml();
  return xml == "<a/>" ? "" : xml.substr(3, xml.size() - 7);
}

TEST(AppendXmlTextTest, WritesAsADocumentDoes) {
  const std::vector<std::string> kPieces = {"plain",
                                            "&",
                                            "<",
                                            ">",
                                            "\"",
                                            "'",
                                            "\r",
                                            "\n",
                                            "\t",
                                            " ",
                                            "\x7F",
                                            "\xC3\xA9",
                                            "\xE2\x82\xAC",
                                            "\xF0\x9F\x98\x80",
                                            "]]>",
                                            "a",
                                            ";=?%$\\~!",
                                            "0123456789"};
  for (std::size_t before = 0; before < 20; ++before) {
    std::string all;
    for (const std::string& piece : kPieces) {
      const std::string text = std::string(before, 'x') + piece + "y";
      TextBuffer xml;
      xml.Append("before");
      EXPECT_TRUE(AppendXmlText(xml, text));
      EXPECT_EQ(xml.View(), "before" + WrittenText(text));
      all += text;
    }
    // Long enough for several pieces, which end within characters.
    std::string large;
    while (large.size() < 20'000) large += all;
    TextBuffer xml;
    EXPECT_TRUE(AppendXmlText(xml, large));
    EXPECT_TRUE(xml.View() == WrittenText(large)) << before;
  }
}

TEST(AppendXmlTextTest, AppendsNothingOfATextThatXmlCannotCarry) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t before = 0; before < 17; ++before) {
      const std::string text = std::string(before, 'x') + static_cast<char>(byte) + "<y";
      TextBuffer xml;
      xml.Append("before");
      EXPECT_EQ(AppendXmlText(xml, text), IsXmlText(text));
      EXPECT_EQ(xml.View(), IsXmlText(text) ? "before" + WrittenText(text) : "before");
    }
  }
}

TEST(XmlDocumentTest, MarkupIsTheContentOfItsElementInTheText) {
  const auto markup = [](std::string_view text) {
    TextBuffer buffer;
    buffer.Append(text);
    return buffer;
  };
  XmlDocument document("<a><b/><c>&#31;&amp;#31;</c></a>");
  EXPECT_EQ(document.Xml(), "") << "no document can hold the place of markup";
  document.LoadXML("<a><c>&amp;#31;</c><b/></a>");
  document.SetMarkup(document.SelectSingleNode("/a/b"), markup("<r>1</r>"));
  EXPECT_EQ(document.Xml(), "<a><c>&amp;#31;</c><b><r>1</r></b></a>");
  document.SelectSingleNode("/a/c").SetText("2");
  EXPECT_EQ(document.Xml(), "<a><c>2</c><b><r>1</r></b></a>");
  document.LoadXML("<a><b/></a>");
  EXPECT_EQ(document.Xml(), "<a><b/></a>");
  EXPECT_RAISES(document.SetMarkup(XmlNode(), markup("")), error_number::kObjectMissing, ::testing::_);
}

TEST(EscapeXmlTest, MakesEntitiesAndReplacesWhatXmlCannotCarry) {
  EXPECT_EQ(EscapeXml("a<b>&'\"\xC3\xA9"), "a&lt;b&gt;&amp;'\"\xC3\xA9");
  EXPECT_EQ(EscapeXml("a\x01"
                      "b\xFF\xC3(\xEF\xBF\xBF)\xED\xA0\x80"),
            "a?b?"
            "?(?)???");
  EXPECT_EQ(EscapeXml(std::string_view("\0\t\r\n", 4)), "?\t\r\n");
  EXPECT_EQ(EscapeXml(""), "");
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text = "<a>" + EscapeXml(std::string("x") + static_cast<char>(byte) + "]]>y") + "</a>";
    EXPECT_TRUE(IsWellFormed(text)) << byte;
  }
}

}  // namespace
}  // namespace ods
