#include "ui/windows/GeneralDate.h"

namespace ods {

namespace {

constexpr QChar kQuote('\'');
constexpr QChar kTimeZone('t');

bool IsBracket(QChar c) { return QStringLiteral("[]()").contains(c); }

}  // namespace

QString WithoutTimeZone(const QString& format) {
  QString kept;
  bool isQuoted = false;
  for (const QChar c : format) {
    if (c == kQuote) isQuoted = !isQuoted;
    if (isQuoted || (c != kTimeZone && !IsBracket(c))) kept += c;
  }
  return kept.trimmed();
}

QString GeneralDate(const QDateTime& time, const QLocale& locale) {
  return locale.toString(time.date(), QLocale::ShortFormat) + ' ' +
         locale.toString(time.time(), WithoutTimeZone(locale.timeFormat(QLocale::LongFormat)));
}

}  // namespace ods
