#pragma once

#include "fakes/FakeAppleMusic.h"
#include "fakes/FakeStation.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <utility>

namespace airnote::sandbox {

// The station and Apple Music on loopback, playing and holding the sandbox's
// scenario; every change to the listener's library and playlists is logged.
class Sandbox : public QObject
{
    Q_OBJECT

public:
    explicit Sandbox(fakes::FakeStation::Schedule schedule = {}, QObject *parent = nullptr);

    bool listen();
    // The variables that point Airnote at the sandbox, in the order they are printed.
    QList<std::pair<QByteArray, QString>> environment() const;

    fakes::FakeStation &station();
    fakes::FakeAppleMusic &appleMusic();

private:
    void reportChanges();

    fakes::FakeStation m_station;
    fakes::FakeAppleMusic m_appleMusic;
    QStringList m_reportedLibrary;
    QList<fakes::FakeAppleMusic::Playlist> m_reportedPlaylists;
};

} // namespace airnote::sandbox
