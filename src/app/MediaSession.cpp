// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MediaSession.h"

#include "platform/MediaControls.h"
#include "playback/StationPlayer.h"
#include "station/FIPMetadataService.h"

namespace airnote {

MediaSession::MediaSession(MediaControls *controls, StationPlayer *player, FIPMetadataService *station, QObject *parent)
    : QObject(parent)
    , m_controls(controls)
    , m_player(player)
    , m_station(station)
{
    showPlayer();
    showTrack();
    connect(player, &StationPlayer::stateChanged, this, &MediaSession::showPlayer);
    connect(player, &StationPlayer::volumeChanged, this, &MediaSession::showPlayer);
    connect(station, &FIPMetadataService::currentChanged, this, &MediaSession::showTrack);
    connect(controls, &MediaControls::playRequested, player, &StationPlayer::play);
    connect(controls, &MediaControls::pauseRequested, player, &StationPlayer::pause);
    connect(controls, &MediaControls::stopRequested, player, &StationPlayer::pause);
    connect(controls, &MediaControls::volumeRequested, player, &StationPlayer::setVolume);
}

void MediaSession::showPlayer()
{
    using Status = MediaControls::Status;
    // A paused radio resumes on Play: "Paused" keeps it in the desktop's controls.
    const bool unavailable = m_player->state() == StationPlayer::Unavailable;
    m_controls->setStatus(m_player->isActive() ? Status::Playing : unavailable ? Status::Stopped : Status::Paused);
    m_controls->setCanPlay(!unavailable);
    m_controls->setVolume(m_player->volume());
}

void MediaSession::showTrack()
{
    const std::optional<FIPTrack> &track = m_station->current();
    m_controls->setTrack(track ? MediaControls::Track{track->title, track->artist, track->albumOrEmpty(), track->artworkURLOrEmpty()}
                               : MediaControls::Track{});
}

} // namespace airnote
