// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

#include <optional>

namespace airnote {

// FIP or one of its webradios: what the listener picks, and where its live
// metadata and its stream are.
struct Station
{
    Q_GADGET
    Q_PROPERTY(QString key MEMBER key CONSTANT)
    Q_PROPERTY(QString name MEMBER name CONSTANT)

public:
    QString key;   // the stream's name, also the command line's and Airnote.conf's: "fipjazz"
    QString name;  // as the station calls itself: "FIP Jazz"
    int liveId = 0;

    // FIP itself, whose records carry no station.
    bool isMain() const;
    // The webradios' documents sit beside FIP's: mainDocument with FIP's
    // identifier replaced by this station's.
    QUrl metadataURL(const QUrl &mainDocument) const;
    QUrl streamURL(const QUrl &streamBase) const;

    bool operator==(const Station &) const = default;
};

// FIP and its webradios, in the order the station's own players list them.
const QList<Station> &allStations();
const Station &mainStation();
std::optional<Station> stationWithKey(const QString &key);
// The keys, for messages: "fip, fiprock, …".
QString stationKeys();

} // namespace airnote
