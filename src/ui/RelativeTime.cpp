// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RelativeTime.h"

namespace airnote {

namespace {

constexpr qint64 minute = 60;
constexpr qint64 hour = 60 * minute;
constexpr qint64 day = 24 * hour;
constexpr qint64 month = 30 * day;
constexpr qint64 year = 365 * day;

QString ago(qint64 count, const QString &unit)
{
    return QStringLiteral("il y a %1 %2").arg(count).arg(unit);
}

} // namespace

QString RelativeTime::since(const QDateTime &moment, const QDateTime &now)
{
    const qint64 seconds = moment.secsTo(now);
    if (seconds < minute)
        return QStringLiteral("à l'instant");
    if (seconds < hour)
        return ago(seconds / minute, QStringLiteral("min"));
    if (seconds < day)
        return ago(seconds / hour, QStringLiteral("h"));
    if (seconds < month)
        return ago(seconds / day, QStringLiteral("j"));
    if (seconds < year)
        return ago(seconds / month, QStringLiteral("mois"));
    const qint64 years = seconds / year;
    return ago(years, years == 1 ? QStringLiteral("an") : QStringLiteral("ans"));
}

} // namespace airnote
