#include "ui/windows/Application.h"

#include <clocale>
#include <gtest/gtest.h>
#include <string>

#include "ui/windows/ApplicationIcon.h"

namespace ods {
namespace {

TEST(Application, LeavesTheProcessInTheLocaleThatProgramsStartIn) {
  EXPECT_EQ(std::string(std::setlocale(LC_ALL, nullptr)), "C") << "numbers in SQL and in messages depend on it";
}

TEST(Application, HasItsIconInTheSizesThatDesktopsWant) {
  const QIcon icon = QApplication::windowIcon();
  for (const int size : {16, 24, 32, 48, 64, 128}) {
    EXPECT_TRUE(icon.availableSizes().contains(QSize(size, size))) << size;
    EXPECT_EQ(icon.pixmap(QSize(size, size)).size(), QSize(size, size)) << size;
  }
}

TEST(Application, IsKnownToTheDesktopByItsDesktopFile) {
  EXPECT_EQ(QGuiApplication::desktopFileName().toStdString(), "odbc-data-server");
}

TEST(Application, AddsNoNameToTheCaptionsOfWindows) {
  // The library appends the display name to every caption when it differs from the program's name.
  EXPECT_EQ(QGuiApplication::applicationDisplayName(), QCoreApplication::applicationName());
}

}  // namespace
}  // namespace ods
