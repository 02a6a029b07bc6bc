// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

namespace airnote {

class AirnoteApp;
class FIPMetadataService;
class MusicAuthorization;
class PanelHost;
class StationChoice;
class StationPlayer;

// The radio in the tray: a click opens or closes the panel next to it; a menu
// offers the same for hosts that only open menus (GNOME's AppIndicator),
// listening or pausing, the station to follow, and the Apple Music sign-in or
// sign-out. Its tooltip names the track on air.
class TrayIcon : public QSystemTrayIcon
{
    Q_OBJECT

public:
    // Both kinds of host read the tooltip as markup: a StatusNotifierItem host
    // as HTML or Pango, Qt's own XEmbed tooltip as rich text once it sees a tag.
    enum class Host { statusNotifier, xembed };

    TrayIcon(PanelHost *panel, AirnoteApp *app, Host host, QObject *parent = nullptr);

    // The radio drawn light on a dark halo, readable on light and dark panels alike.
    static QImage glyph(QSize size);

private:
    void onActivated(QSystemTrayIcon::ActivationReason reason);
    void showAuthorization();
    void showTrackOnAir();
    void showListening();
    void signInOrOut();
    void addStationMenu();

    PanelHost *m_panel;
    MusicAuthorization *m_authorization;
    FIPMetadataService *m_station;
    StationChoice *m_stations;
    StationPlayer *m_player;
    Host m_host;
    QMenu m_menu;
    QAction *m_accountAction;
    QAction *m_listenAction;
};

} // namespace airnote
