// Date and time the way the user's locale writes them in general: the short date and the time with seconds.
#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace ods {

[[nodiscard]] QString GeneralDate(const QDateTime& time, const QLocale& locale);

/// A time format of the locale's library without the time zone in it, in brackets or not.
[[nodiscard]] QString WithoutTimeZone(const QString& format);

}  // namespace ods
