// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Station.h"

#include "core/UrlPaths.h"

namespace airnote {

using namespace Qt::StringLiterals;

bool Station::isMain() const
{
    return key == mainStation().key;
}

QUrl Station::metadataURL(const QUrl &mainDocument) const
{
    return mainDocument.resolved(QUrl(u"../%1/%2"_s.arg(liveId).arg(mainDocument.fileName())));
}

QUrl Station::streamURL(const QUrl &streamBase) const
{
    return withPathAppended(streamBase, u"/%1-hifi.aac"_s.arg(key));
}

const QList<Station> &allStations()
{
    static const QList<Station> stations{
        {u"fip"_s, u"FIP"_s, 7},
        {u"fiprock"_s, u"FIP Rock"_s, 64},
        {u"fipjazz"_s, u"FIP Jazz"_s, 65},
        {u"fipgroove"_s, u"FIP Groove"_s, 66},
        {u"fipworld"_s, u"FIP Monde"_s, 69},
        {u"fipnouveautes"_s, u"FIP Nouveautés"_s, 70},
        {u"fipreggae"_s, u"FIP Reggae"_s, 71},
        {u"fipelectro"_s, u"FIP Electro"_s, 74},
        {u"fippop"_s, u"FIP Pop"_s, 78},
        {u"fiphiphop"_s, u"FIP Hip-Hop"_s, 95},
    };
    return stations;
}

const Station &mainStation()
{
    return allStations().constFirst();
}

std::optional<Station> stationWithKey(const QString &key)
{
    for (const Station &station : allStations()) {
        if (station.key == key)
            return station;
    }
    return std::nullopt;
}

QString stationKeys()
{
    QStringList keys;
    for (const Station &station : allStations())
        keys.append(station.key);
    return keys.join(u", "_s);
}

} // namespace airnote
