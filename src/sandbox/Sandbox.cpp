// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Sandbox.h"

#include "SandboxLogging.h"
#include "Scenario.h"

#include <QFileDevice>
#include <QMetaEnum>

#include <algorithm>
#include <chrono>
#include <optional>

namespace airnote::sandbox {

using fakes::FakeAppleMusic;
using fakes::FakeStation;

Sandbox::Sandbox(FakeStation::Schedule schedule, QObject *parent)
    : QObject(parent)
    , m_station(programme(), std::move(schedule))
{
    // Queued: the server announces a request before the fake has acted on it.
    connect(&m_appleMusic.server(), &fakes::LoopbackHttpServer::requestReceived, this, &Sandbox::reportChanges,
            Qt::QueuedConnection);
}

void Sandbox::makeChaotic(quint32 seed, QIODevice *requestLog)
{
    m_chaos = std::make_unique<Chaos>(seed);
    m_requestLog = requestLog;
    m_chaoticLive = std::make_unique<fakes::LoopbackHttpServer>();
    m_chaoticLive->setHandler([this](const fakes::HttpRequest &request) { return chaoticLiveReply(request); });
    // Direct: the server asks the fake for its answer right after announcing
    // the request, so a reply queued here is the one given.
    connect(&m_appleMusic.server(), &fakes::LoopbackHttpServer::requestReceived, this, &Sandbox::disturbAppleMusic,
            Qt::DirectConnection);
    qCInfo(sandboxLogger) << "chaos with seed" << seed;
}

bool Sandbox::listen()
{
    if (!m_station.listen() || !m_appleMusic.listen() || !m_stream.listen() || (m_chaoticLive && !m_chaoticLive->listen()))
        return false;
    m_appleMusic.setCatalog(catalog(m_station.imageBase()));
    return true;
}

QList<std::pair<QByteArray, QString>> Sandbox::environment() const
{
    return {
        {"AIRNOTE_STATION_URL", liveURL().toString()},
        {"AIRNOTE_IMAGE_BASE", m_station.imageBase().toString()},
        {"AIRNOTE_STREAM_BASE", m_stream.base().toString()},
        {"AIRNOTE_TOKEN_URL", m_appleMusic.tokenURL().toString()},
        {"AIRNOTE_MUSIC_API_BASE", m_appleMusic.apiBase().toString()},
        {"AIRNOTE_MUSIC_USER_TOKEN", m_appleMusic.musicUserToken()},
    };
}

FakeStation &Sandbox::station()
{
    return m_station;
}

FakeAppleMusic &Sandbox::appleMusic()
{
    return m_appleMusic;
}

void Sandbox::reportChanges()
{
    for (const QString &id : m_appleMusic.library()) {
        if (!m_reportedLibrary.contains(id))
            qCInfo(sandboxLogger).noquote() << "added" << id << "to the library";
    }
    for (const FakeAppleMusic::Playlist &playlist : m_appleMusic.playlists()) {
        const auto reported = std::find_if(m_reportedPlaylists.cbegin(), m_reportedPlaylists.cend(),
                                           [&](const FakeAppleMusic::Playlist &known) { return known.id == playlist.id; });
        qsizetype reportedTracks = 0;
        if (reported == m_reportedPlaylists.cend())
            qCInfo(sandboxLogger).noquote() << "created playlist" << playlist.name << "with id" << playlist.id;
        else
            reportedTracks = reported->trackIDs.size();
        // The fake only ever appends tracks.
        for (const QString &id : playlist.trackIDs.mid(reportedTracks))
            qCInfo(sandboxLogger).noquote() << "added" << id << "to playlist" << playlist.name;
    }
    m_reportedLibrary = m_appleMusic.library();
    m_reportedPlaylists = m_appleMusic.playlists();
}

fakes::HttpReply Sandbox::chaoticLiveReply(const fakes::HttpRequest &request)
{
    if (request.path == trapURL().path()) {
        const bool carriesTokens = !request.header("authorization").isEmpty() || !request.header("music-user-token").isEmpty();
        logRequest("trap", request.method + (carriesTokens ? ":withTokens" : ":withoutTokens"), {});
        return fakes::HttpReply::text(404, "not found");
    }
    if (request.method != "GET" || request.path != m_station.liveURL().path())
        return fakes::HttpReply::text(404, "not found");
    const auto decision = m_chaos->nextStationReply(m_station.liveDocument(), trapURL());
    logRequest("station", Chaos::nameOf(decision.kind), decision.reply);
    return decision.reply;
}

void Sandbox::disturbAppleMusic(const fakes::HttpRequest &request)
{
    const std::optional<FakeAppleMusic::Endpoint> endpoint = FakeAppleMusic::endpointOf(request);
    if (!endpoint)
        return;
    const auto decision = m_chaos->nextMusicReply(trapURL());
    const QByteArray endpointName = QMetaEnum::fromType<FakeAppleMusic::Endpoint>().valueToKey(static_cast<int>(*endpoint));
    logRequest("music:" + endpointName, Chaos::nameOf(decision.kind), decision.reply);
    if (decision.kind != Chaos::MusicReply::normal)
        m_appleMusic.replyNext(*endpoint, decision.reply);
}

void Sandbox::logRequest(const QByteArray &target, const QByteArray &kind, const fakes::HttpReply &reply)
{
    if (!m_requestLog)
        return;
    // steady_clock is CLOCK_MONOTONIC on Linux, which other processes can read to line up with this log.
    const std::chrono::duration<double> now = std::chrono::steady_clock::now().time_since_epoch();
    const QByteArray line = QByteArray::number(now.count(), 'f', 3) + ' ' + target + ' ' + kind + ' '
                            + QByteArray::number(static_cast<qint64>(reply.delay.count())) + '\n';
    m_requestLog->write(line);
    // Read while the run goes on, and kept whole if the sandbox is killed.
    if (auto *file = qobject_cast<QFileDevice *>(m_requestLog.data()))
        file->flush();
}

QUrl Sandbox::trapURL() const
{
    return m_chaoticLive->url(QStringLiteral("/trap"));
}

QUrl Sandbox::liveURL() const
{
    return m_chaoticLive ? m_chaoticLive->url(m_station.liveURL().path()) : m_station.liveURL();
}

} // namespace airnote::sandbox
