// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "StationPlayer.h"

#include "StreamPipeline.h"
#include "core/Logging.h"
#include "core/Settings.h"

#include <QAudioDevice>
#include <QDeadlineTimer>
#include <QMediaDevices>
#include <QSettings>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <optional>

using namespace std::chrono_literals;

namespace airnote {

namespace {

const QString volumeKey = QStringLiteral("volume");
constexpr double defaultVolume = 0.8;
constexpr std::chrono::milliseconds teardownPatience = 3s;

// A volume as kept: within 0 to 1. Not a number (a desktop applet's NaN, a
// hand-edited file) is no volume at all; the clamp would let it through.
std::optional<double> boundedVolume(double volume)
{
    if (!std::isfinite(volume))
        return std::nullopt;
    return std::clamp(volume, 0.0, 1.0);
}

} // namespace

StationPlayer::StationPlayer(const QString &settingsFile, QObject *parent)
    : StationPlayer(settingsFile, Timing{}, parent)
{
}

StationPlayer::StationPlayer(const QString &settingsFile, Timing timing, QObject *parent)
    : QObject(parent)
    , m_timing(timing)
    , m_settings(openSettings(settingsFile))
    , m_volume(boundedVolume(m_settings->value(volumeKey, defaultVolume).toDouble()).value_or(defaultVolume))
    , m_nextRetry(timing.firstRetry)
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &StationPlayer::connectStream);
    m_watchdog.setSingleShot(true);
    m_watchdog.setInterval(m_timing.patience);
    connect(&m_watchdog, &QTimer::timeout, this, [this] { scheduleRetry(QStringLiteral("no audio in time")); });
    m_steady.setSingleShot(true);
    m_steady.setInterval(m_timing.steady);
    connect(&m_steady, &QTimer::timeout, this, [this] { m_nextRetry = m_timing.firstRetry; });
}

StationPlayer::~StationPlayer()
{
    if (!m_thread)
        return;
    m_thread->quit();
    // GStreamer can block in a connection that hangs: quitting must not wait
    // on it. A running QThread must not be destroyed, so it is left behind.
    if (!m_thread->wait(QDeadlineTimer(teardownPatience))) {
        qCWarning(playbackLogger) << "Player thread still busy after" << teardownPatience.count() << "ms; left behind";
        m_thread->setParent(nullptr);
    }
}

StationPlayer::State StationPlayer::state() const
{
    return m_state;
}

bool StationPlayer::isActive() const
{
    return m_state == Connecting || m_state == Playing || m_state == Retrying;
}

QString StationPlayer::message() const
{
    switch (m_state) {
    case Connecting:
        return tr("Connexion au flux…");
    case Retrying:
        return tr("Flux interrompu, nouvel essai dans %1 s")
            .arg(qMax<qint64>(1, std::chrono::round<std::chrono::seconds>(retryDelay()).count()));
    case Unavailable:
        return tr("Aucune sortie audio : écoute impossible");
    case Stopped:
    case Playing:
        break;
    }
    return {};
}

double StationPlayer::volume() const
{
    return m_volume;
}

QUrl StationPlayer::stream() const
{
    return m_stream;
}

std::chrono::milliseconds StationPlayer::retryDelay() const
{
    return m_retry.intervalAsDuration();
}

void StationPlayer::setStream(const QUrl &url)
{
    if (url == m_stream)
        return;
    m_stream = url;
    if (isActive()) {
        m_nextRetry = m_timing.firstRetry;
        connectStream();
    }
}

void StationPlayer::setVolume(double volume)
{
    const std::optional<double> bounded = boundedVolume(volume);
    if (!bounded || qFuzzyCompare(*bounded, m_volume))
        return;
    m_volume = *bounded;
    m_settings->setValue(volumeKey, m_volume);
    if (m_pipeline)
        QMetaObject::invokeMethod(m_pipeline,
                                  [pipeline = m_pipeline, volume = float(m_volume)] { pipeline->setVolume(volume); });
    Q_EMIT volumeChanged();
}

void StationPlayer::play()
{
    if (isActive())
        return;
    // Asking for the outputs starts the multimedia backend: only when asked to play.
    if (QMediaDevices::audioOutputs().isEmpty()) {
        qCWarning(playbackLogger) << "Cannot play: no audio output";
        setState(Unavailable);
        return;
    }
    m_nextRetry = m_timing.firstRetry;
    connectStream();
}

void StationPlayer::pause()
{
    m_retry.stop();
    dropStream();
    if (m_state != Unavailable)
        setState(Stopped);
}

void StationPlayer::toggle()
{
    if (isActive())
        pause();
    else
        play();
}

void StationPlayer::ensurePipeline()
{
    if (m_pipeline)
        return;
    m_thread = new QThread(this);
    m_thread->setObjectName(QStringLiteral("Airnote playback"));
    m_pipeline = new StreamPipeline;
    m_pipeline->moveToThread(m_thread);
    connect(m_thread, &QThread::finished, m_pipeline, &QObject::deleteLater);
    connect(m_pipeline, &StreamPipeline::started, this, &StationPlayer::onStarted);
    connect(m_pipeline, &StreamPipeline::stalled, this, &StationPlayer::onStalled);
    connect(m_pipeline, &StreamPipeline::failed, this, &StationPlayer::onFailed);
    m_thread->start();
}

void StationPlayer::connectStream()
{
    ensurePipeline();
    m_retry.stop();
    m_steady.stop();
    m_watchdog.start();
    qCInfo(playbackLogger) << "Connecting to" << m_stream.toDisplayString();
    QMetaObject::invokeMethod(m_pipeline, [pipeline = m_pipeline, attempt = ++m_attempt, url = m_stream, volume = float(m_volume)] {
        pipeline->open(attempt, url, volume);
    });
    setState(Connecting);
}

void StationPlayer::onStarted(int attempt)
{
    if (attempt != m_attempt || !isActive())
        return;
    m_watchdog.stop();
    if (m_state != Playing)
        m_steady.start();
    setState(Playing);
}

void StationPlayer::onStalled(int attempt)
{
    if (attempt == m_attempt && m_state == Playing && !m_watchdog.isActive())
        m_watchdog.start();
}

void StationPlayer::onFailed(int attempt, const QString &reason)
{
    if (attempt == m_attempt && (m_state == Connecting || m_state == Playing))
        scheduleRetry(reason);
}

void StationPlayer::scheduleRetry(const QString &reason)
{
    dropStream();
    const auto delay = m_nextRetry;
    qCWarning(playbackLogger).nospace() << "Stream " << m_stream.toDisplayString() << " failed (" << reason
                                        << "); trying again in " << delay.count() << " ms";
    m_retry.start(delay);
    setState(Retrying);
    m_nextRetry = std::min(m_nextRetry * 2, m_timing.longestRetry);
}

void StationPlayer::dropStream()
{
    m_watchdog.stop();
    m_steady.stop();
    if (m_pipeline)
        QMetaObject::invokeMethod(m_pipeline, &StreamPipeline::close);
    // What the old stream still reports is stale.
    ++m_attempt;
}

void StationPlayer::setState(State state)
{
    // A retry announces its new pause even when the state stays the same.
    const bool same = state == m_state && state != Retrying;
    m_state = state;
    if (!same)
        Q_EMIT stateChanged();
}

} // namespace airnote
