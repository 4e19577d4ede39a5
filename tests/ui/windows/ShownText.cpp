#include "ui/windows/ShownText.h"

#include <QTextDocument>
#include <gtest/gtest.h>
#include <string>

namespace ods {
namespace {

QString Repeated(const QString& text, int count) { return text.repeated(count); }

/// What a reader sees of a tool tip.
QString Seen(const QString& toolTip) {
  QTextDocument document;
  document.setHtml(toolTip);
  return document.toPlainText().remove(QChar(0x200B));
}

TEST(ShownText, AThousandCharactersAreShownWhole) {
  const QString text = Repeated("x", 1000);
  EXPECT_EQ(ShownText(text.toStdString()), text);
  EXPECT_EQ(ShownText(""), "");
}

TEST(ShownText, MoreAreCutWithAnEllipsis) {
  EXPECT_EQ(ShownText(std::string(1001, 'x')), Repeated("x", 1000) + QChar(0x2026));
  EXPECT_EQ(ShownText(std::string(1 << 20, 'x')), Repeated("x", 1000) + QChar(0x2026));
  EXPECT_EQ(ShownText("abc", 2), QString("ab") + QChar(0x2026));
}

TEST(ShownText, CharactersOfAnyLengthStayWhole) {
  for (const QString& character : {QStringLiteral("ø"), QStringLiteral("漢"), QStringLiteral("😀")}) {
    EXPECT_EQ(ShownText(Repeated(character, 1000).toStdString()), Repeated(character, 1000));
    EXPECT_EQ(ShownText(Repeated(character, 1001).toStdString()), Repeated(character, 1000) + QChar(0x2026));
  }
}

TEST(ShownText, BytesThatAreNoUtf8CountAsCharacters) {
  EXPECT_EQ(ShownText("a\xFF"
                      "b"),
            QString("a") + QChar(0xFFFD) + "b");
  EXPECT_EQ(ShownText(std::string(5000, '\xFF')), QString(1000, QChar(0xFFFD)) + QChar(0x2026));
}

TEST(ToolTip, ShowsMarkupAsItStands) {
  for (const char* text : {"<img src='/dev/zero'>", "<b>bold</b> & \"so\"", "&lt;p&gt;", "  two  blanks\nand a line"}) {
    EXPECT_EQ(Seen(ToolTipOf(text)), text);
  }
  EXPECT_FALSE(ToolTipOf("<img src='/dev/zero'>").contains("<img"));
}

TEST(ToolTip, BreaksALongWord) {
  for (const QString& character : {QStringLiteral("x"), QStringLiteral("😀"), QStringLiteral("e\u0301")}) {
    const QString word = Repeated(character, 400);
    EXPECT_EQ(Seen(ToolTipOf(word)), word);
    QTextDocument document;
    document.setHtml(ToolTipOf(word));
    document.setTextWidth(300);
    EXPECT_LE(document.size().width(), 420) << "it goes into lines";
  }
}

}  // namespace
}  // namespace ods
