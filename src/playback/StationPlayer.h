// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <memory>

class QSettings;
class QThread;

namespace airnote {

class StreamPipeline;

// Plays the chosen station's stream on the listener's word. A stream that
// fails, stalls or never starts is tried again after a pause that doubles up
// to a minute; only one that has played a while earns a quick retry again.
// The volume is remembered in Airnote.conf. Nothing starts playing unless the
// listener asked: not a new station, not a wake from sleep.
class StationPlayer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    // The listener wants sound: playing, or on the way to it.
    Q_PROPERTY(bool active READ isActive NOTIFY stateChanged)
    // Why there is no sound, in the listener's language; empty while it plays.
    Q_PROPERTY(QString message READ message NOTIFY stateChanged)
    Q_PROPERTY(double volume READ volume WRITE setVolume NOTIFY volumeChanged)

public:
    enum State { Stopped, Connecting, Playing, Retrying, Unavailable };
    Q_ENUM(State)

    struct Timing {
        std::chrono::milliseconds firstRetry{1000};
        std::chrono::milliseconds longestRetry{60000};
        // Connecting, or stalled, for longer than this counts as a failure.
        std::chrono::milliseconds patience{20000};
        // Playing this long resets the retry pause to its first value.
        std::chrono::milliseconds steady{30000};
    };

    // settingsFile: empty for the user's Airnote.conf.
    explicit StationPlayer(const QString &settingsFile = {}, QObject *parent = nullptr);
    StationPlayer(const QString &settingsFile, Timing timing, QObject *parent = nullptr);
    ~StationPlayer() override;

    State state() const;
    bool isActive() const;
    QString message() const;
    double volume() const;
    QUrl stream() const;
    // While retrying: the pause before the next try.
    std::chrono::milliseconds retryDelay() const;

    // While active, the new stream replaces the old at once.
    void setStream(const QUrl &url);
    void setVolume(double volume);

    Q_INVOKABLE void play();
    Q_INVOKABLE void pause();
    Q_INVOKABLE void toggle();

Q_SIGNALS:
    void stateChanged();
    void volumeChanged();

private:
    void connectStream();
    void onStarted(int attempt);
    void onStalled(int attempt);
    void onFailed(int attempt, const QString &reason);
    void scheduleRetry(const QString &reason);
    void dropStream();
    void setState(State state);
    void ensurePipeline();

    Timing m_timing;
    std::unique_ptr<QSettings> m_settings;
    QThread *m_thread = nullptr;
    StreamPipeline *m_pipeline = nullptr;
    QUrl m_stream;
    State m_state = Stopped;
    double m_volume;
    int m_attempt = 0;
    std::chrono::milliseconds m_nextRetry;
    QTimer m_retry;
    QTimer m_watchdog;
    QTimer m_steady;
};

} // namespace airnote
