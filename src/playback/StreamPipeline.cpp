// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "StreamPipeline.h"

#include <QAudioOutput>
#include <QMediaPlayer>

namespace airnote {

StreamPipeline::StreamPipeline(QObject *parent)
    : QObject(parent)
{
}

StreamPipeline::~StreamPipeline() = default;

void StreamPipeline::open(int attempt, const QUrl &url, float volume)
{
    m_attempt = attempt;
    if (!m_player) {
        m_player = std::make_unique<QMediaPlayer>();
        m_output = std::make_unique<QAudioOutput>();
        m_player->setAudioOutput(m_output.get());
        connect(m_player.get(), &QMediaPlayer::mediaStatusChanged, this, &StreamPipeline::onStatusChanged);
        connect(m_player.get(), &QMediaPlayer::playbackStateChanged, this, &StreamPipeline::onStatusChanged);
        connect(m_player.get(), &QMediaPlayer::hasAudioChanged, this, &StreamPipeline::onStatusChanged);
        connect(m_player.get(), &QMediaPlayer::errorOccurred, this,
                [this](QMediaPlayer::Error, const QString &description) {
                    Q_EMIT failed(m_attempt, description.isEmpty() ? QStringLiteral("unreadable stream") : description);
                });
    }
    m_output->setVolume(volume);
    m_player->setSource(url);
    m_player->play();
}

void StreamPipeline::close()
{
    if (!m_player)
        return;
    m_player->stop();
    m_player->setSource(QUrl());
}

void StreamPipeline::setVolume(float volume)
{
    if (m_output)
        m_output->setVolume(volume);
}

void StreamPipeline::onStatusChanged()
{
    if (m_player->source().isEmpty())
        return;
    switch (m_player->mediaStatus()) {
    case QMediaPlayer::BufferedMedia:
        // Buffered bytes are not sound yet: a page in place of the stream buffers too.
        if (m_player->playbackState() == QMediaPlayer::PlayingState && m_player->hasAudio())
            Q_EMIT started(m_attempt);
        break;
    case QMediaPlayer::StalledMedia:
        Q_EMIT stalled(m_attempt);
        break;
    case QMediaPlayer::EndOfMedia:
        Q_EMIT failed(m_attempt, QStringLiteral("the stream ended"));
        break;
    case QMediaPlayer::InvalidMedia:
        Q_EMIT failed(m_attempt, QStringLiteral("unreadable stream"));
        break;
    default:
        break;
    }
}

} // namespace airnote
