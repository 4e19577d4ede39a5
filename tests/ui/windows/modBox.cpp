#include "ui/windows/modBox.h"

#include <QApplication>
#include <QClipboard>
#include <QScreen>
#include <QScrollBar>
#include <QTextEdit>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "ui/windows/Boxes.h"
#include "ui/windows/Widgets.h"

namespace ods {
namespace {

/// Shows a box, lets `look` at it, and closes it with its button.
void ShowAndLook(const std::string& title, const std::string& text, BoxStyle style,
                 const std::function<void(Box&)>& look, QWidget* parent = nullptr) {
  bool looked = false;
  QTimer::singleShot(0, [&] {
    Box* box = test::OpenBox();
    ASSERT_NE(box, nullptr);
    look(*box);
    looked = true;
    test::ButtonsOf(*box).button(QDialogButtonBox::Ok)->click();
  });
  ShowBox(parent, title, text, style);
  EXPECT_TRUE(looked) << "the box came back before it was closed";
}

TEST(ShowBox, ShowsTitleAndTextAndOneButtonOk) {
  ShowAndLook("Korvanta", "Please select an ODBC data source.", BoxStyle::kInformation, [](Box& box) {
    EXPECT_EQ(box.objectName(), "messageBox");
    EXPECT_EQ(box.windowTitle(), "Korvanta");
    EXPECT_EQ(box.Text(), "Please select an ODBC data source.");
    const QDialogButtonBox& buttons = test::ButtonsOf(box);
    ASSERT_EQ(buttons.buttons().size(), 1);
    EXPECT_EQ(buttons.standardButton(buttons.buttons().front()), QDialogButtonBox::Ok);
  });
}

TEST(ShowBox, HasTheIconOfItsStyle) {
  ShowAndLook("", "", BoxStyle::kInformation, [](Box& box) { EXPECT_EQ(box.Style(), BoxStyle::kInformation); });
  ShowAndLook("", "", BoxStyle::kExclamation, [](Box& box) { EXPECT_EQ(box.Style(), BoxStyle::kExclamation); });
}

TEST(ShowBox, ShowsMarkupAsItStands) {
  ShowAndLook("t", "near \"<b>\": syntax error", BoxStyle::kExclamation,
              [](Box& box) { EXPECT_EQ(box.Text(), "near \"<b>\": syntax error"); });
}

TEST(ShowBox, BreaksLinesAtBothKindsOfBreak) {
  ShowAndLook("t", "one\r\n\r\ntwo\nthree", BoxStyle::kInformation,
              [](Box& box) { EXPECT_EQ(box.Text(), "one\n\ntwo\nthree"); });
}

TEST(ShowBox, TakesUtf8) {
  ShowAndLook("Größe", "Ærø", BoxStyle::kInformation, [](Box& box) {
    EXPECT_EQ(box.windowTitle(), QStringLiteral("Größe"));
    EXPECT_EQ(box.Text(), QStringLiteral("Ærø"));
  });
}

TEST(ShowBox, BlocksTheOtherWindowsMeanwhile) {
  QWidget window;
  test::Show(window);
  ShowAndLook("t", "text", BoxStyle::kInformation, [](Box& box) {
    EXPECT_TRUE(box.isModal());
    EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
  });
  EXPECT_TRUE(window.isVisible());
}

TEST(ShowBox, BelongsToItsParent) {
  QWidget window;
  ShowAndLook(
      "t", "text", BoxStyle::kInformation, [&](Box& box) { EXPECT_EQ(box.parentWidget(), &window); }, &window);
}

TEST(ShowBox, AnyWayOfClosingItEndsIt) {
  QTimer::singleShot(0, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
  ShowBox(nullptr, "t", "text", BoxStyle::kInformation);
  QTimer::singleShot(0, [] { QApplication::activeModalWidget()->close(); });
  ShowBox(nullptr, "t", "text", BoxStyle::kInformation);
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

// What it does with long texts

/// The text of a box and the part of it that is on the box.
QTextEdit& TextOf(const Box& box) { return test::Find<QTextEdit>(box, "boxText"); }

bool IsScrolled(const Box& box) { return TextOf(box).verticalScrollBar()->maximum() > 0; }

QRect Screen(const Box& box) { return box.screen()->availableGeometry(); }

std::string ConnectionString(int length) {
  std::string text = "Driver=Own;Option=";
  while (static_cast<int>(text.size()) < length) text += "0123456789abcdef";
  return text;
}

TEST(ShowBox, ALongTextWithoutBlanksIsWrappedAndWhole) {
  const std::string text = "Connection string is " + ConnectionString(1500) + "\n-2147467259 (0x80004005)\nthe error";
  ShowAndLook("t", text, BoxStyle::kExclamation, [&](Box& box) {
    EXPECT_EQ(box.Text().toStdString(), text);
    QTextEdit& field = TextOf(box);
    EXPECT_LE(field.document()->size().width(), field.viewport()->width());
    EXPECT_LE(field.document()->size().height(), field.viewport()->height()) << "all lines are to be seen";
    EXPECT_GE(field.document()->size().height() + 2, field.viewport()->height()) << "and no more than those";
    EXPECT_FALSE(IsScrolled(box));
    EXPECT_LT(box.width(), Screen(box).width());
    EXPECT_LT(box.height(), Screen(box).height());
  });
}

TEST(ShowBox, ATextThatIsHigherThanTheScreenIsScrolled) {
  const std::string text = ConnectionString(60'000) + "\nthe end";
  ShowAndLook("t", text, BoxStyle::kExclamation, [&](Box& box) {
    EXPECT_EQ(box.Text().toStdString(), text);
    EXPECT_TRUE(IsScrolled(box));
    EXPECT_LT(box.width(), Screen(box).width());
    EXPECT_LT(box.height(), Screen(box).height());
    EXPECT_LE(TextOf(box).document()->size().width(), TextOf(box).viewport()->width());
  });
}

TEST(ShowBox, AnEndlessTextIsCut) {
  ShowAndLook("t", std::string(1 << 20, 'x'), BoxStyle::kExclamation, [](Box& box) {
    EXPECT_EQ(box.Text().size(), 100'001);
    EXPECT_TRUE(box.Text().endsWith(QChar(0x2026)));
  });
}

TEST(ShowBox, IsWideEnoughForItsTitle) {
  ShowAndLook("Test Connection", "ok", BoxStyle::kInformation, [](Box& box) {
    QFont title = box.font();
    title.setBold(true);
    EXPECT_GT(box.width(), QFontMetrics(title).horizontalAdvance(box.windowTitle()) + 6 * box.fontMetrics().height());
  });
}

TEST(ShowBox, ReturnClosesItAlsoFromItsText) {
  for (const bool isInText : {false, true}) {
    QTimer::singleShot(0, [&] {
      Box* box = test::OpenBox();
      ASSERT_NE(box, nullptr);
      if (isInText) TextOf(*box).setFocus();
      QTest::keyClick(isInText ? &TextOf(*box) : box->focusWidget(), Qt::Key_Return);
      EXPECT_FALSE(box->isVisible());
      box->close();
    });
    ShowBox(nullptr, "t", "text", BoxStyle::kInformation);
  }
}

TEST(ShowBox, ItsTextCanBeCopiedAndNotChanged) {
  ShowAndLook("t", "the text", BoxStyle::kInformation, [](Box& box) {
    TextOf(box).setFocus();
    QTest::keyClicks(&TextOf(box), "x");
    QTest::keyClick(&TextOf(box), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&TextOf(box), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "the text");
  });
}

}  // namespace
}  // namespace ods
