// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QUrl>

#include <memory>

class QAudioOutput;
class QMediaPlayer;

namespace airnote {

// One stream played by Qt Multimedia. It lives on the player's own thread:
// GStreamer may block its caller while it connects to or tears down a stream
// that hangs, and that must never be the panel's thread. Each open() carries a
// number that its reports repeat, so the caller can drop those of a stream it
// has since closed or left.
class StreamPipeline : public QObject
{
    Q_OBJECT

public:
    explicit StreamPipeline(QObject *parent = nullptr);
    ~StreamPipeline() override;

public Q_SLOTS:
    void open(int attempt, const QUrl &url, float volume);
    // A live stream has nothing worth keeping while paused: the connection
    // and the audio device are let go.
    void close();
    void setVolume(float volume);

Q_SIGNALS:
    void started(int attempt);
    // The stream is waiting for data it should already have.
    void stalled(int attempt);
    // reason: English, for the log.
    void failed(int attempt, const QString &reason);

private:
    void onStatusChanged();

    std::unique_ptr<QMediaPlayer> m_player;
    std::unique_ptr<QAudioOutput> m_output;
    int m_attempt = 0;
};

} // namespace airnote
