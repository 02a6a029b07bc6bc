// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MediaControls.h"

#include "MprisPlayerAdaptor.h"
#include "MprisRootAdaptor.h"
#include "core/Logging.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

const QString serviceName = u"org.mpris.MediaPlayer2.airnote"_s;
const QString objectPath = u"/org/mpris/MediaPlayer2"_s;
const QString playerInterface = u"org.mpris.MediaPlayer2.Player"_s;

QString statusName(MediaControls::Status status)
{
    switch (status) {
    case MediaControls::Status::Playing:
        return u"Playing"_s;
    case MediaControls::Status::Paused:
        return u"Paused"_s;
    case MediaControls::Status::Stopped:
        break;
    }
    return u"Stopped"_s;
}

// MPRIS keeps paths under /org/mpris to itself, save the one meaning no track.
QVariantMap metadataOf(const MediaControls::Track &track, quint64 number)
{
    if (track.title.isEmpty())
        return {{u"mpris:trackid"_s, QVariant::fromValue(QDBusObjectPath(u"/org/mpris/MediaPlayer2/TrackList/NoTrack"_s))}};
    QVariantMap metadata{
        {u"mpris:trackid"_s, QVariant::fromValue(QDBusObjectPath(u"/com/velmorin/Airnote/Track/%1"_s.arg(number)))},
        {u"xesam:title"_s, track.title},
    };
    if (!track.artist.isEmpty())
        metadata.insert(u"xesam:artist"_s, QStringList{track.artist});
    if (!track.album.isEmpty())
        metadata.insert(u"xesam:album"_s, track.album);
    if (!track.artUrl.isEmpty())
        metadata.insert(u"mpris:artUrl"_s, track.artUrl.toString(QUrl::FullyEncoded));
    return metadata;
}

} // namespace

MediaControls::MediaControls(QObject *parent)
    : QObject(parent)
    , m_player(new MprisPlayerAdaptor(this))
    , m_bus(QString())
{
    new MprisRootAdaptor(this);
    update({
        {u"PlaybackStatus"_s, statusName(Status::Stopped)},
        {u"Metadata"_s, metadataOf(m_track, m_trackNumber)},
        {u"Volume"_s, 1.0},
        {u"CanPlay"_s, true},
        {u"CanPause"_s, true},
    });
}

// The name must not outlive the object that answers to it on a bus that stays.
MediaControls::~MediaControls()
{
    if (m_published) {
        m_bus.unregisterService(serviceName);
        m_bus.unregisterObject(objectPath);
    }
}

bool MediaControls::publish(QDBusConnection bus)
{
    if (!bus.isConnected()) {
        qCWarning(playbackLogger) << "No session bus: the desktop's media controls cannot reach Airnote";
        return false;
    }
    if (!bus.registerObject(objectPath, this, QDBusConnection::ExportAdaptors)) {
        qCWarning(playbackLogger).noquote() << "The desktop's media controls are unavailable: cannot export" << objectPath;
        return false;
    }
    if (!bus.registerService(serviceName)) {
        bus.unregisterObject(objectPath);
        qCWarning(playbackLogger).noquote() << "The desktop's media controls are unavailable:" << serviceName << "is taken";
        return false;
    }
    m_bus = bus;
    m_published = true;
    return true;
}

void MediaControls::setStatus(Status status)
{
    update({{u"PlaybackStatus"_s, statusName(status)}});
}

void MediaControls::setTrack(const Track &track)
{
    const Track next = track.title.isEmpty() ? Track() : track;
    if (next == m_track)
        return;
    m_track = next;
    // A new id for every track, so that a desktop sees the same song played twice as two tracks.
    update({{u"Metadata"_s, metadataOf(m_track, ++m_trackNumber)}});
}

void MediaControls::setVolume(double volume)
{
    update({{u"Volume"_s, volume}});
}

void MediaControls::setCanPlay(bool canPlay)
{
    update({{u"CanPlay"_s, canPlay}, {u"CanPause"_s, canPlay}});
}

// QtDBus sends no PropertiesChanged for adaptors: desktops only re-read on this signal.
void MediaControls::update(const QVariantMap &values)
{
    const QVariantMap changed = m_player->update(values);
    if (changed.isEmpty() || !m_published)
        return;
    QDBusMessage signal = QDBusMessage::createSignal(objectPath, u"org.freedesktop.DBus.Properties"_s,
                                                     u"PropertiesChanged"_s);
    signal << playerInterface << changed << QStringList();
    m_bus.send(signal);
}

} // namespace airnote
