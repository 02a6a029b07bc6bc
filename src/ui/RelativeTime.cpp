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

} // namespace

QString RelativeTime::since(const QDateTime &moment, const QDateTime &now)
{
    const qint64 seconds = moment.secsTo(now);
    if (seconds < minute)
        return tr("à l'instant");
    if (seconds < hour)
        return tr("il y a %n min", nullptr, int(seconds / minute));
    if (seconds < day)
        return tr("il y a %n h", nullptr, int(seconds / hour));
    if (seconds < month)
        return tr("il y a %n j", nullptr, int(seconds / day));
    if (seconds < year)
        return tr("il y a %n mois", nullptr, int(seconds / month));
    return tr("il y a %n an(s)", nullptr, int(seconds / year));
}

} // namespace airnote
