#include "ui/windows/modTabOrder.h"

#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "ui/windows/Widgets.h"

namespace ods {
namespace {

using testing::ElementsAre;

/// The names of the controls in the order that the Tab key takes, from `first` until it comes round.
std::vector<std::string> TabOrder(const QWidget& first) {
  std::vector<std::string> names;
  const QWidget* control = &first;
  do {
    const bool isStop = (control->focusPolicy() & Qt::TabFocus) != 0 && !control->objectName().isEmpty();
    if (isStop) names.push_back(control->objectName().toStdString());
    control = control->nextInFocusChain();
  } while (control != &first);
  return names;
}

class TabOrderTest : public testing::Test {
 protected:
  QPushButton& AddButton(const char* name, int left, int top, QWidget* parent = nullptr) {
    buttons_.push_back(std::make_unique<QPushButton>(parent == nullptr ? &window_ : parent));
    QPushButton& button = *buttons_.back();
    button.setObjectName(name);
    button.setGeometry(left, top, 40, 20);
    return button;
  }

  QWidget window_;
  QGroupBox frame_{&window_};
  std::vector<std::unique_ptr<QPushButton>> buttons_;
};

TEST_F(TabOrderTest, GoesRowByRowFromLeftToRightHoweverTheControlsWereMade) {
  AddButton("d", 100, 50);
  AddButton("b", 100, 10);
  AddButton("c", 10, 50);
  QPushButton& first = AddButton("a", 10, 10);
  SetTabOrder(window_);
  EXPECT_THAT(TabOrder(first), ElementsAre("a", "b", "c", "d"));
}

TEST_F(TabOrderTest, TwoControlsOnTheSameRowAreOrderedByTheirLeft) {
  AddButton("right", 1000, 10);
  QPushButton& left = AddButton("left", 999, 10);
  SetTabOrder(window_);
  EXPECT_THAT(TabOrder(left), ElementsAre("left", "right"));
}

TEST_F(TabOrderTest, TheLeastBitHigherComesFirstWhateverItsLeft) {
  AddButton("lower", 0, 11);
  QPushButton& higher = AddButton("higher", 2000, 10);
  SetTabOrder(window_);
  EXPECT_THAT(TabOrder(higher), ElementsAre("higher", "lower"));
}

TEST_F(TabOrderTest, PositionsCompareAsNumbers) {
  AddButton("ten", 0, 100);
  QPushButton& nine = AddButton("nine", 0, 9);
  AddButton("thousand", 0, 1000);
  SetTabOrder(window_);
  EXPECT_THAT(TabOrder(nine), ElementsAre("nine", "ten", "thousand"));
}

TEST_F(TabOrderTest, AControlInAContainerCountsByItsPlaceOnTheWindow) {
  frame_.setGeometry(0, 100, 200, 100);
  AddButton("in the frame", 5, 5, &frame_);
  AddButton("below the frame", 0, 250);
  QPushButton& above = AddButton("above the frame", 50, 50);
  SetTabOrder(window_);
  EXPECT_THAT(TabOrder(above), ElementsAre("above the frame", "in the frame", "below the frame"));
}

TEST_F(TabOrderTest, ControlsWithoutAKeyboardOrANameArePassedOver) {
  QLabel label(&window_);
  label.setObjectName("label");
  AddButton("b", 100, 10);
  QPushButton& first = AddButton("a", 10, 10);
  AddButton("", 0, 0);
  SetTabOrder(window_);
  EXPECT_THAT(TabOrder(first), ElementsAre("a", "b"));
}

TEST_F(TabOrderTest, AnEditableComboBoxIsOneStop) {
  QComboBox combo(&window_);
  combo.setObjectName("combo");
  combo.setEditable(true);
  combo.setGeometry(10, 50, 80, 20);
  AddButton("last", 10, 90);
  QPushButton& first = AddButton("first", 10, 10);
  SetTabOrder(window_);
  test::Show(window_);
  first.setFocus();
  QTest::keyClick(&first, Qt::Key_Tab);
  EXPECT_TRUE(combo.hasFocus());
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(QApplication::focusWidget()->objectName().toStdString(), "last");
}

TEST_F(TabOrderTest, FollowsALayoutThatWasNeverShown) {
  QWidget window;
  QVBoxLayout rows(&window);
  QGroupBox upper(&window);
  QHBoxLayout inUpper(&upper);
  QPushButton lower(&window);
  QPushButton upperRight(&upper);
  QPushButton upperLeft(&upper);
  lower.setObjectName("lower");
  upperRight.setObjectName("upper right");
  upperLeft.setObjectName("upper left");
  inUpper.addWidget(&upperLeft);
  inUpper.addWidget(&upperRight);
  rows.addWidget(&upper);
  rows.addWidget(&lower);
  SetTabOrder(window);
  EXPECT_THAT(TabOrder(upperLeft), ElementsAre("upper left", "upper right", "lower"));
}

TEST_F(TabOrderTest, AWindowWithoutControlsIsLeftAlone) {
  SetTabOrder(window_);
  EXPECT_EQ(buttons_.size(), 0U);
}

}  // namespace
}  // namespace ods
