// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "station/Station.h"

#include <QObject>
#include <QStringList>

#include <memory>

class QSettings;

namespace airnote {

class FIPMetadataService;

// The station the listener follows, remembered in Airnote.conf; the poller
// follows it. A key not in the table (the file edited by hand, the command
// line) leaves FIP chosen, with a line saying so.
class StationChoice : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(int index READ index NOTIFY changed)
    Q_PROPERTY(QStringList names READ names CONSTANT)

public:
    // settingsFile: empty for the user's Airnote.conf.
    explicit StationChoice(FIPMetadataService *poller, const QString &settingsFile = {}, QObject *parent = nullptr);
    ~StationChoice() override;

    const Station &current() const;
    QString name() const;
    int index() const;
    QStringList names() const;

    // False for a key not in the table; FIP is then chosen.
    bool choose(const QString &key);
    Q_INVOKABLE void onChoose(int index);

Q_SIGNALS:
    void changed();

private:
    void select(const Station &station);

    FIPMetadataService *m_poller;
    std::unique_ptr<QSettings> m_settings;
    Station m_current;
};

} // namespace airnote
