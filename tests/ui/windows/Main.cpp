// The windows' tests run without a display, with one application object for all of them, and leave the user's settings
// alone.
#include <QApplication>
#include <QSettings>
#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  const ods::test::TemporaryFolder settings;
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(settings.Path()));
  const QApplication application(argc, argv);
  std::setlocale(LC_ALL, "C");
  return RUN_ALL_TESTS();
}
