// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>
#include <QVariantMap>

namespace airnote {

class MediaControls;

// org.mpris.MediaPlayer2.Player for a live station: no seeking, no next or
// previous, one rate. It keeps the values the desktop reads; MediaControls
// changes them and tells the bus.
class MprisPlayerAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(double MinimumRate READ rate CONSTANT)
    Q_PROPERTY(double MaximumRate READ rate CONSTANT)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanControl READ canControl CONSTANT)
    Q_PROPERTY(bool CanGoNext READ canSkip CONSTANT)
    Q_PROPERTY(bool CanGoPrevious READ canSkip CONSTANT)
    Q_PROPERTY(bool CanSeek READ canSkip CONSTANT)

public:
    explicit MprisPlayerAdaptor(MediaControls *controls);

    // Stores the values given by property name; returns those that differed.
    QVariantMap update(const QVariantMap &values);

    QString playbackStatus() const;
    QVariantMap metadata() const;
    double volume() const;
    void setVolume(double volume);
    double rate() const;
    void setRate(double rate);
    qlonglong position() const;
    bool canPlay() const;
    bool canPause() const;
    bool canControl() const;
    bool canSkip() const;

public Q_SLOTS:
    void Play();
    void Pause();
    void PlayPause();
    void Stop();
    void Next();
    void Previous();
    void Seek(qlonglong Offset);
    void SetPosition(const QDBusObjectPath &TrackId, qlonglong Position);
    void OpenUri(const QString &Uri);

Q_SIGNALS:
    void Seeked(qlonglong Position);

private:
    MediaControls *m_controls;
    QVariantMap m_properties;
};

} // namespace airnote
