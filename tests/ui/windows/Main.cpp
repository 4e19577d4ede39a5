// The windows' tests run without a display, with one application object for all of them, and leave the user's settings
// alone.
#include <QSettings>
#include <cstdlib>
#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"
#include "ui/windows/Application.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  const ods::test::TemporaryFolder settings;
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(settings.Path()));
  setenv("LC_ALL", "C.UTF-8", 1);  // a locale that everybody has and that is not the one a program starts in
  const ods::Application application;
  return RUN_ALL_TESTS();
}
