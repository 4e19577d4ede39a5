// What loads as an XML document, and what does not.
#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/xml/Xml.h"

namespace ods {
namespace {

std::string Repeat(std::string_view piece, std::size_t times) {
  std::string text;
  text.reserve(piece.size() * times);
  while (times-- > 0) text += piece;
  return text;
}

// The check and the loading agree, and what does not load leaves an empty document.
bool Loads(std::string_view xml) {
  XmlDocument document("<Before/>");
  const bool loaded = document.LoadXML(xml);
  EXPECT_EQ(loaded, IsWellFormed(xml)) << xml;
  EXPECT_EQ(loaded, static_cast<bool>(document.DocumentElement())) << xml;
  if (!loaded) {
    EXPECT_EQ(document.Xml(), "") << xml;
  }
  return loaded;
}

TEST(WellFormedTest, AcceptsDocuments) {
  for (const char* xml : {
           "<a/>",
           "<a></a >",
           "<a\n/>",
           " \t\r\n<a/>\r\n",
           "\xEF\xBB\xBF<a/>",
           "<?xml version=\"1.0\"?><a/>",
           "<?xml version='1.0' encoding='UTF-8'?><a/>",
           "<?xml version='1.0' encoding='utf-8' standalone='yes' ?>\n<a>\xC3\xA9</a>",
           "<?xml version='1.0' encoding='US-ASCII'?><a>e</a>",
           "<?xml version = \"1.1\" standalone = 'no'?><a/>",
           "\xEF\xBB\xBF<?xml version='1.0'?><a/>",
           "<!-- before --><a/><!-- after --><?target?>",
           "<?xml-stylesheet href='a.xsl'?><a/>",
           "<?target ?><a><?target data ? > here?></a>",
           "<a><!----><!-- - --></a>",
           "<a><![CDATA[<&]]]></a>",
           "<a><![CDATA[]]></a>",
           "<a b='1' c=\"2\" d = '3'\te\n=\n'4'/>",
           "<a b='\"' c=\"'\" d='>'/>",
           "<a b='&lt;&gt;&amp;&apos;&quot;&#65;&#x41;'>&lt;&gt;&amp;&apos;&quot;&#65;&#x41;&#xd;&#x00041;</a>",
           "<a>]] > ]]&gt; > ]</a>",
           "<_:-.1><b\xC3\xA9/></_:-.1>",
           "<a xml:space='preserve'> </a>",
           "<a><b><c/></b><b/></a>",
           "<a>\xEF\xBF\xBD \xF0\x90\x80\x80 \xC2\x85</a>",
       }) {
    EXPECT_TRUE(Loads(xml)) << xml;
  }
}

TEST(WellFormedTest, RefusesWhatIsNoWholeElement) {
  for (const char* xml : {"",
                          " ",
                          "\xEF\xBB\xBF",
                          "text",
                          "<",
                          "<a",
                          "<a ",
                          "<a/",
                          "<a>",
                          "<a></b>",
                          "<a></a",
                          "<a></ a>",
                          "<a></a b='1'>",
                          "</a>",
                          "<a/></a>",
                          "<a/><b/>",
                          "<a/>text",
                          "text<a/>",
                          "<a/>&#32;",
                          "&#32;<a/>",
                          "<a><b></a></b>",
                          "<a><A></a></A>",
                          "<!-- only -->",
                          "<?only?>",
                          "<a/><",
                          "< a/>",
                          "<a / >",
                          "<><a/></>",
                          "<a/><![CDATA[ ]]>",
                          "\xEF\xBB\xBF\xEF\xBB\xBF<a/>"}) {
    EXPECT_FALSE(Loads(xml)) << xml;
  }
  EXPECT_FALSE(Loads(std::string_view("<a/>\0", 5)));
  EXPECT_FALSE(Loads(std::string_view("\0<a/>", 5)));
}

TEST(WellFormedTest, RefusesBadNames) {
  for (const char* xml : {"<1/>", "<-a/>", "<.a/>", "<a$/>", "<a;/>", "<\xC3\x97/>", "<\xC2\xB7/>", "<a 1='2'/>",
                          "<a -='2'/>", "<a><?1?></a>", "<a><? t?></a>", "<\xCD\xBE/>"}) {
    EXPECT_FALSE(Loads(xml)) << xml;
  }
  EXPECT_TRUE(Loads("<a\xC2\xB7/>"));
  EXPECT_TRUE(Loads("<\xC3\x98/>"));
}

TEST(WellFormedTest, RefusesBadAttributes) {
  for (const char* xml : {"<a b/>", "<a b=/>", "<a b=1/>", "<a b='1/>", "<a b=\"1'/>", "<a b='1'c='2'/>", "<a b='<'/>",
                          "<a b='1' b='2'/>", "<a b='1' c='' b='1'/>", "<a b='&'/>", "<a b='&nbsp;'/>", "<a b='&#0;'/>",
                          "<a =''/>", "<a b=''=''/>", "<a b==''/>", "<a b='1'></a b='1'>"}) {
    EXPECT_FALSE(Loads(xml)) << xml;
  }
}

TEST(WellFormedTest, RefusesBadReferences) {
  for (const char* reference : {"&",
                                "& ",
                                "&;",
                                "&amp",
                                "&AMP;",
                                "&nbsp;",
                                "&lt",
                                "&#;",
                                "&#x;",
                                "&#X41;",
                                "&#xG;",
                                "&#1a;",
                                "&#-65;",
                                "&# 65;",
                                "&#65",
                                "&#0;",
                                "&#8;",
                                "&#x1F;",
                                "&#xD800;",
                                "&#xDFFF;",
                                "&#xFFFE;",
                                "&#xFFFF;",
                                "&#x110000;",
                                "&#99999999999999999999999;",
                                "&#x100000041;",
                                "&a&amp;"}) {
    EXPECT_FALSE(Loads(std::string("<a>") + reference + "</a>")) << reference;
  }
  for (const char* reference : {"&#9;", "&#xA;", "&#13;", "&#x20;", "&#xD7FF;", "&#xE000;", "&#xFFFD;", "&#x10FFFF;",
                                "&#00000000000000000000065;"}) {
    EXPECT_TRUE(Loads(std::string("<a>") + reference + "</a>")) << reference;
  }
}

TEST(WellFormedTest, RefusesForbiddenCharactersAnywhere) {
  const std::string kForbidden[] = {"\x01",
                                    "\x08",
                                    "\x0B",
                                    "\x0C",
                                    "\x1F",
                                    "\xEF\xBF\xBE",
                                    "\xEF\xBF\xBF",
                                    "\x80",
                                    "\xC0\x80",
                                    "\xED\xA0\x80",
                                    "\xF4\x90\x80\x80",
                                    "\xC3"};
  for (const std::string& bad : kForbidden) {
    for (const std::string& xml : {"<a>" + bad + "</a>", "<a b='" + bad + "'/>", "<!--" + bad + "--><a/>",
                                   "<?t " + bad + "?><a/>", "<a><![CDATA[" + bad + "]]></a>", "<a/>" + bad}) {
      EXPECT_FALSE(Loads(xml)) << xml;
    }
  }
}

TEST(WellFormedTest, RefusesBadMarkup) {
  for (const char* xml :
       {"<a>]]></a>", "<a><!-- -- --></a>", "<a><!-- --->", "<a><!-- ---></a>", "<a><!-></a>", "<a><!--></a>",
        "<a><!-- </a>", "<a><![CDATA[</a>", "<a><![CDATA[]]</a>", "<a><![cdata[]]></a>", "<a><?t</a>", "<a><?t?</a>",
        "<a><?t>d?></a>", "<a><! x></a>", "<a></></a>"}) {
    EXPECT_FALSE(Loads(xml)) << xml;
  }
}

TEST(WellFormedTest, RefusesDocumentTypesAndSoEveryEntityOfOnesOwn) {
  for (const char* xml :
       {"<!DOCTYPE a><a/>", "<!doctype a><a/>", "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>",
        "<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><a>&x;</a>", "<?xml version='1.0'?><!DOCTYPE a []><a/>",
        "<!DOCTYPE a [<!ENTITY b 'b'><!ENTITY c '&b;&b;&b;'>]><a>&c;</a>", "<a><!ENTITY x 'y'></a>",
        "<!ELEMENT a ANY><a/>"}) {
    EXPECT_FALSE(Loads(xml)) << xml;
  }
}

TEST(WellFormedTest, RefusesBadDeclarations) {
  for (const char* xml : {" <?xml version='1.0'?><a/>",
                          "<a/><?xml version='1.0'?>",
                          "<a><?xml?></a>",
                          "<a><?XML x?></a>",
                          "<?xml?><a/>",
                          "<?xml ?><a/>",
                          "<?xml encoding='UTF-8'?><a/>",
                          "<?xml version='2.0'?><a/>",
                          "<?xml version='1.'?><a/>",
                          "<?xml version='1.0a'?><a/>",
                          "<?xml version=1.0?><a/>",
                          "<?xml version='1.0' encoding='UTF-16'?><a/>",
                          "<?xml version='1.0' encoding='ISO-8859-1'?><a/>",
                          "<?xml version='1.0' encoding='windows-1252'?><a/>",
                          "<?xml version='1.0' encoding=''?><a/>",
                          "<?xml version='1.0' encoding='US-ASCII'?><a>\xC3\xA9</a>",
                          "<?xml version='1.0' standalone='maybe'?><a/>",
                          "<?xml version='1.0' standalone='yes' encoding='UTF-8'?><a/>",
                          "<?xml version='1.0'encoding='UTF-8'?><a/>",
                          "<?xml version='1.0' version='1.0'?><a/>",
                          "<?xml version='1.0' other='1'?><a/>",
                          "<?xml version='1.0'><a/>",
                          "<?xml version='1.0'?",
                          "<?Xml version='1.0'?><a/>",
                          "<?xml version='1.0'?><?xml version='1.0'?><a/>"}) {
    EXPECT_FALSE(Loads(xml)) << xml;
  }
}

TEST(WellFormedTest, NestsTo256LevelsAndNoDeeper) {
  const auto nested = [](std::size_t depth) { return Repeat("<a>", depth) + Repeat("</a>", depth); };
  EXPECT_TRUE(Loads(nested(256)));
  EXPECT_FALSE(Loads(nested(257)));
  EXPECT_TRUE(Loads(Repeat("<a>", 255) + "<b/>" + Repeat("</a>", 255)));
  EXPECT_FALSE(Loads(Repeat("<a>", 256) + "<b/>" + Repeat("</a>", 256)));
}

// ---- hostile sizes: the work grows with the length, not with its square, and the stack not at all ----

// Checks within a time that is generous to a slow machine and out of reach for quadratic work on so much input.
bool CheckedInTime(const std::string& xml) {
  const auto start = std::chrono::steady_clock::now();
  const bool wellFormed = IsWellFormed(xml);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << xml.substr(0, 40);
  return wellFormed;
}

constexpr std::size_t kLarge = 4UL * 1024 * 1024;

std::string Attributes(int count) {
  std::string attributes;
  for (int i = 0; i < count; ++i) attributes += " a" + std::to_string(i) + "=''";
  return attributes;
}

TEST(HostileXmlTest, AnElementHas256AttributesAndNoMore) {
  EXPECT_TRUE(Loads("<a" + Attributes(256) + "/>"));
  EXPECT_FALSE(Loads("<a" + Attributes(257) + "/>"));
  EXPECT_FALSE(Loads("<a" + Attributes(255) + " a0=''/>"));
  EXPECT_TRUE(Loads("<a" + Attributes(256) + "><b" + Attributes(256) + "/></a>"));
  EXPECT_FALSE(CheckedInTime("<a" + Attributes(400'000) + "/>"));
}

TEST(HostileXmlTest, ANameHas1000BytesAndNoMore) {
  for (const std::string& letter : {std::string("n"), std::string("\xC3\xA9")}) {
    const std::string longest = Repeat(letter, 1000 / letter.size());
    for (const auto& [before, after] : std::vector<std::pair<std::string, std::string>>{
             {"<", "/>"}, {"<a ", "=''/>"}, {"<a><", "></" + longest + "></a>"}, {"<?", "?><a/>"}}) {
      EXPECT_TRUE(Loads(before + longest + after));
    }
    EXPECT_FALSE(Loads("<" + longest + "n/>"));
    EXPECT_FALSE(Loads("<" + longest + "n></" + longest + "n>"));
    EXPECT_FALSE(Loads("<a " + longest + "n=''/>"));
    EXPECT_FALSE(Loads("<?" + longest + "n?><a/>"));
  }
}

TEST(HostileXmlTest, ADocumentHasAMillionNodesAndNoMore) {
  constexpr std::size_t kMost = 1'000'000;
  const auto document = [](std::string_view piece, std::size_t times, std::string_view rest = "") {
    return "<a>" + Repeat(piece, times) + std::string(rest) + "</a>";
  };
  EXPECT_TRUE(CheckedInTime(document("<b/>", kMost - 1)));
  EXPECT_FALSE(CheckedInTime(document("<b/>", kMost)));
  EXPECT_TRUE(CheckedInTime(document("<b></b>", kMost - 1))) << "an end tag makes no node";
  EXPECT_TRUE(CheckedInTime(document("<b/>t", kMost / 2 - 1, "<b/>")));
  EXPECT_FALSE(CheckedInTime(document("<b/>t", kMost / 2 - 1, "<b/>t")));
  EXPECT_TRUE(CheckedInTime(document("<b c=''/>", kMost / 2 - 1, "t")));
  EXPECT_FALSE(CheckedInTime(document("<b c=''/>", kMost / 2 - 1, "t<b/>")));
  EXPECT_FALSE(CheckedInTime(document("<!---->", kMost)));
  EXPECT_FALSE(CheckedInTime(document("<?t?>", kMost)));
  EXPECT_FALSE(CheckedInTime(document("<![CDATA[]]>", kMost)));
}

TEST(HostileXmlTest, VeryManyOpenElementsAndOtherRepetitions) {
  EXPECT_FALSE(CheckedInTime(Repeat("<a>", kLarge / 3)));
  EXPECT_FALSE(CheckedInTime("<a>" + Repeat("<!--", kLarge / 4)));
  EXPECT_FALSE(CheckedInTime("<a>" + Repeat("<![CDATA[", kLarge / 9)));
  EXPECT_FALSE(CheckedInTime("<a>" + Repeat("<?t ", kLarge / 4)));
  EXPECT_FALSE(CheckedInTime("<a>" + Repeat("&#1", kLarge / 3) + "</a>"));
  EXPECT_FALSE(CheckedInTime("<a>&#" + Repeat("1", kLarge)));
  EXPECT_FALSE(CheckedInTime("<a b='" + Repeat("&amp;", kLarge / 5)));
  EXPECT_TRUE(CheckedInTime("<a>" + Repeat("]", kLarge) + "</a>"));
  EXPECT_TRUE(CheckedInTime("<a>" + Repeat("&lt;", kLarge / 4) + "</a>"));
  EXPECT_FALSE(CheckedInTime("<" + Repeat("n", kLarge) + "/>"));
}

TEST(HostileXmlTest, MutatedDocumentsLoadOrNotButNeverHarm) {
  const std::string whole =
      "<?xml version='1.0' encoding='UTF-8'?><!-- c --><XML a='1' b=\"&quot;&#65;\"><Type>Ping</Type>"
      "<![CDATA[x]]><e xml:space='preserve'> <f/> </e>&lt;\xC3\xA9<?t d?></XML>";
  constexpr std::string_view kPieces[] = {"<",    ">",    "&",   "'",         "\"",  "/",     "?",    "!",
                                          "-",    "]",    ";",   "=",         " ",   "\r",    "xml",  "<a>",
                                          "</a>", "<!--", "-->", "<![CDATA[", "]]>", "&#13;", "\xC3", "\x01"};
  std::mt19937 random(17);  // NOLINT(cert-msc51-cpp) the same mutations every time
  int loaded = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string xml = whole;
    for (auto changes = 1 + random() % 3; changes > 0; --changes) {
      const std::size_t at = random() % xml.size();
      if (random() % 2 == 0) {
        xml.erase(at, 1 + random() % 4);
      } else {
        xml.insert(at, kPieces[random() % std::size(kPieces)]);
      }
    }
    XmlDocument document;
    ASSERT_EQ(document.LoadXML(xml), IsWellFormed(xml)) << xml;
    if (!document.DocumentElement()) continue;
    ++loaded;
    // What was loaded and written loads again, and is written the same.
    const std::string written = document.Xml();
    ASSERT_TRUE(IsWellFormed(written)) << xml << '\n' << written;
    XmlDocument again(written);
    ASSERT_EQ(again.Xml(), written) << xml;
    ASSERT_EQ(GetNodeText(again, "/*"), GetNodeText(document, "/*")) << xml;
  }
  EXPECT_GT(loaded, 500);
}

}  // namespace
}  // namespace ods
