// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>

namespace airnote {

class FIPMetadataService;
class MediaControls;
class StationPlayer;

// What the desktop's media controls (media keys, the shell's player) show
// and do: the player's state and volume and the track on air go out; play,
// pause, stop and volume come back to the player.
class MediaSession : public QObject
{
    Q_OBJECT

public:
    MediaSession(MediaControls *controls, StationPlayer *player, FIPMetadataService *station, QObject *parent = nullptr);

private:
    void showPlayer();
    void showTrack();

    MediaControls *m_controls;
    StationPlayer *m_player;
    FIPMetadataService *m_station;
};

} // namespace airnote
