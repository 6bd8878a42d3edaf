#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>

// The Japanese era of a date: its name and the year within it (1 for the first year).
// Dates before the first era known here give an empty name and the Gregorian year.
struct EraYear {
    QString name;
    int year = 0;
};
EraYear JapaneseEra(const QDate& date);

// The Gregorian year in which the era named by its name ("令和") or its letter ("R", "r") began;
// 0 for none known here.
int EraFirstYear(const QString& era);

// "ggge年m月d日 hh:mm:ss": era, era year, month and day without leading zeros, 24-hour time.
// The first year of an era reads "元年", as Japanese calendars and forms print it.
QString JapaneseEraDateTime(const QDateTime& when);
