// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QUrl>
#include <QVariantMap>

namespace airnote {

class MprisPlayerAdaptor;

// Airnote as a media player to the desktop, over MPRIS 2: media keys, the
// shell's sound menu, the lock screen. It shows what it is told and passes the
// desktop's requests on; what they do is the app's business.
class MediaControls : public QObject
{
    Q_OBJECT

public:
    enum class Status { Stopped, Playing, Paused };
    // An empty title means no track, whatever the other fields say.
    struct Track
    {
        QString title;
        QString artist;
        QString album;
        QUrl artUrl;
        friend bool operator==(const Track &, const Track &) = default;
    };

    explicit MediaControls(QObject *parent = nullptr);
    ~MediaControls() override;

    // Without a bus, or with the name taken: one warning in the log, false, and Airnote goes on without.
    bool publish(QDBusConnection bus = QDBusConnection::sessionBus());
    void setStatus(Status status);
    void setTrack(const Track &track);
    // 0..1
    void setVolume(double volume);
    // False when nothing could play, no audio device say: the desktop greys its buttons.
    void setCanPlay(bool canPlay);

Q_SIGNALS:
    void playRequested();
    void pauseRequested();
    void stopRequested();
    void raiseRequested();
    void quitRequested();
    void volumeRequested(double volume);

private:
    void update(const QVariantMap &values);

    MprisPlayerAdaptor *m_player;
    QDBusConnection m_bus;
    bool m_published = false;
    Track m_track;
    quint64 m_trackNumber = 0;
};

} // namespace airnote
