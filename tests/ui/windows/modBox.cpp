#include "ui/windows/modBox.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "ui/windows/Widgets.h"

namespace ods {
namespace {

/// Shows a box, lets `look` at it, and closes it with its button.
void ShowAndLook(const std::string& title, const std::string& text, BoxStyle style,
                 const std::function<void(QMessageBox&)>& look, QWidget* parent = nullptr) {
  bool looked = false;
  QTimer::singleShot(0, [&] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    look(*box);
    looked = true;
    box->button(QMessageBox::Ok)->click();
  });
  ShowBox(parent, title, text, style);
  EXPECT_TRUE(looked) << "the box came back before it was closed";
}

TEST(ShowBox, ShowsTitleAndTextAndOneButtonOk) {
  ShowAndLook("Korvanta", "Please select an ODBC data source.", BoxStyle::kInformation, [](QMessageBox& box) {
    EXPECT_EQ(box.objectName(), "messageBox");
    EXPECT_EQ(box.windowTitle(), "Korvanta");
    EXPECT_EQ(box.text(), "Please select an ODBC data source.");
    ASSERT_EQ(box.buttons().size(), 1);
    EXPECT_EQ(box.standardButton(box.buttons().front()), QMessageBox::Ok);
  });
}

TEST(ShowBox, HasTheIconOfItsStyle) {
  ShowAndLook("", "", BoxStyle::kInformation,
              [](QMessageBox& box) { EXPECT_EQ(box.icon(), QMessageBox::Information); });
  ShowAndLook("", "", BoxStyle::kExclamation, [](QMessageBox& box) { EXPECT_EQ(box.icon(), QMessageBox::Warning); });
}

TEST(ShowBox, ShowsMarkupAsItStands) {
  ShowAndLook("t", "near \"<b>\": syntax error", BoxStyle::kExclamation, [](QMessageBox& box) {
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    EXPECT_EQ(box.text(), "near \"<b>\": syntax error");
  });
}

TEST(ShowBox, BreaksLinesAtBothKindsOfBreak) {
  ShowAndLook("t", "one\r\n\r\ntwo\nthree", BoxStyle::kInformation,
              [](QMessageBox& box) { EXPECT_EQ(box.text(), "one\n\ntwo\nthree"); });
}

TEST(ShowBox, TakesUtf8) {
  ShowAndLook("Größe", "Ærø", BoxStyle::kInformation, [](QMessageBox& box) {
    EXPECT_EQ(box.windowTitle(), QStringLiteral("Größe"));
    EXPECT_EQ(box.text(), QStringLiteral("Ærø"));
  });
}

TEST(ShowBox, BlocksTheOtherWindowsMeanwhile) {
  QWidget window;
  test::Show(window);
  ShowAndLook("t", "text", BoxStyle::kInformation, [](QMessageBox& box) {
    EXPECT_TRUE(box.isModal());
    EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
  });
  EXPECT_TRUE(window.isVisible());
}

TEST(ShowBox, BelongsToItsParent) {
  QWidget window;
  ShowAndLook(
      "t", "text", BoxStyle::kInformation, [&](QMessageBox& box) { EXPECT_EQ(box.parentWidget(), &window); }, &window);
}

TEST(ShowBox, AnyWayOfClosingItEndsIt) {
  QTimer::singleShot(0, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
  ShowBox(nullptr, "t", "text", BoxStyle::kInformation);
  QTimer::singleShot(0, [] { QApplication::activeModalWidget()->close(); });
  ShowBox(nullptr, "t", "text", BoxStyle::kInformation);
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

}  // namespace
}  // namespace ods
