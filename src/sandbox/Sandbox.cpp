#include "Sandbox.h"

#include "SandboxLogging.h"
#include "Scenario.h"

#include <algorithm>

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

bool Sandbox::listen()
{
    if (!m_station.listen() || !m_appleMusic.listen())
        return false;
    m_appleMusic.setCatalog(catalog(m_station.imageBase()));
    return true;
}

QList<std::pair<QByteArray, QString>> Sandbox::environment() const
{
    return {
        {"AIRNOTE_STATION_URL", m_station.liveURL().toString()},
        {"AIRNOTE_IMAGE_BASE", m_station.imageBase().toString()},
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

} // namespace airnote::sandbox
