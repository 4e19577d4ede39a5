#include "ui/windows/GeneralDate.h"

#include <gtest/gtest.h>
#include <string>

namespace ods {
namespace {

const QDateTime kTime(QDate(2026, 3, 4), QTime(15, 6, 7));

std::string Text(const QLocale& locale) { return GeneralDate(kTime, locale).toStdString(); }

TEST(GeneralDate, IsTheShortDateAndTheTimeWithSecondsOfTheLocale) {
  EXPECT_EQ(Text(QLocale(QLocale::English, QLocale::UnitedStates)), "3/4/26 3:06:07 PM");
  EXPECT_EQ(Text(QLocale(QLocale::German, QLocale::Germany)), "04.03.26 15:06:07");
  EXPECT_EQ(Text(QLocale(QLocale::Danish, QLocale::Denmark)), "04.03.2026 15.06.07");
  EXPECT_EQ(Text(QLocale::c()), "4 Mar 2026 15:06:07");
}

TEST(GeneralDate, HasNoTimeZone) {
  for (const QLocale& locale :
       QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyTerritory)) {
    const std::string zone = kTime.timeZoneAbbreviation().toStdString();
    EXPECT_EQ(Text(locale).find(zone), std::string::npos) << locale.name().toStdString() << ": " << Text(locale);
  }
}

TEST(WithoutTimeZone, LeavesOutTheZoneAndItsBrackets) {
  EXPECT_EQ(WithoutTimeZone("HH:mm:ss t").toStdString(), "HH:mm:ss");
  EXPECT_EQ(WithoutTimeZone("H:mm:ss (tttt)").toStdString(), "H:mm:ss");
  EXPECT_EQ(WithoutTimeZone("t HH:mm:ss").toStdString(), "HH:mm:ss");
}

TEST(WithoutTimeZone, KeepsWhatIsQuoted) {
  EXPECT_EQ(WithoutTimeZone("HH 'h (t)' mm t").toStdString(), "HH 'h (t)' mm");
}

}  // namespace
}  // namespace ods
