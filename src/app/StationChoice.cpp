// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "StationChoice.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "station/FIPMetadataService.h"

#include <QSettings>

namespace airnote {

namespace {

const QString stationKey = QStringLiteral("station");

std::optional<Station> knownStation(const QString &key)
{
    std::optional<Station> station = stationWithKey(key);
    if (!station)
        qCWarning(fipLogger).noquote() << QStringLiteral("Unknown station \"%1\" (known: %2); following FIP").arg(key, stationKeys());
    return station;
}

} // namespace

StationChoice::StationChoice(FIPMetadataService *poller, const QString &settingsFile, QObject *parent)
    : QObject(parent)
    , m_poller(poller)
    , m_settings(openSettings(settingsFile))
    , m_current(mainStation())
{
    const QString remembered = m_settings->value(stationKey).toString();
    if (!remembered.isEmpty())
        m_current = knownStation(remembered).value_or(mainStation());
    m_poller->follow(m_current);
}

StationChoice::~StationChoice() = default;

const Station &StationChoice::current() const
{
    return m_current;
}

QString StationChoice::name() const
{
    return m_current.name;
}

int StationChoice::index() const
{
    return allStations().indexOf(m_current);
}

QStringList StationChoice::names() const
{
    QStringList names;
    for (const Station &station : allStations())
        names.append(station.name);
    return names;
}

bool StationChoice::choose(const QString &key)
{
    const std::optional<Station> station = knownStation(key);
    select(station.value_or(mainStation()));
    return station.has_value();
}

void StationChoice::onChoose(int index)
{
    if (index >= 0 && index < allStations().size())
        select(allStations().at(index));
}

void StationChoice::select(const Station &station)
{
    m_settings->setValue(stationKey, station.key);
    if (station == m_current)
        return;
    m_current = station;
    m_poller->follow(station);
    Q_EMIT changed();
}

} // namespace airnote
