// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "fakes/FakeAppleMusic.h"
#include "fakes/FakeStation.h"
#include "fakes/FakeStream.h"
#include "sandbox/Chaos.h"

#include <QByteArray>
#include <QIODevice>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <memory>
#include <utility>

namespace airnote::sandbox {

// The station and Apple Music on loopback, playing and holding the sandbox's
// scenario; every change to the listener's library and playlists is logged.
class Sandbox : public QObject
{
    Q_OBJECT

public:
    explicit Sandbox(fakes::FakeStation::Schedule schedule = {}, QObject *parent = nullptr);

    // Before listen: from then on the live document and Apple Music answer as
    // chaos decides, and each of their requests is written to requestLog as
    // one line: monotonic seconds at arrival, "station" or "music:<endpoint>",
    // the reply kind, the reply's delay in milliseconds. A request to the trap
    // (markup's images, redirects to another origin) is logged as "trap".
    void makeChaotic(quint32 seed, QIODevice *requestLog = nullptr);
    bool listen();
    // The variables that point Airnote at the sandbox, in the order they are printed.
    QList<std::pair<QByteArray, QString>> environment() const;

    fakes::FakeStation &station();
    fakes::FakeAppleMusic &appleMusic();

private:
    void reportChanges();
    fakes::HttpReply chaoticLiveReply(const fakes::HttpRequest &request);
    void disturbAppleMusic(const fakes::HttpRequest &request);
    void logRequest(const QByteArray &target, const QByteArray &kind, const fakes::HttpReply &reply);
    QUrl trapURL() const;
    QUrl liveURL() const;

    fakes::FakeStation m_station;
    fakes::FakeAppleMusic m_appleMusic;
    // A tone per station, pitched by its name, so that listening works offline.
    fakes::FakeStream m_stream;
    QStringList m_reportedLibrary;
    QList<fakes::FakeAppleMusic::Playlist> m_reportedPlaylists;
    std::unique_ptr<Chaos> m_chaos;
    // The station's own server keeps serving covers; only the live document goes through chaos.
    std::unique_ptr<fakes::LoopbackHttpServer> m_chaoticLive;
    QPointer<QIODevice> m_requestLog;
};

} // namespace airnote::sandbox
