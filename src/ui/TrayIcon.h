// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

namespace airnote {

class MusicAuthorization;
class PanelHost;

// The radio in the tray: a click opens or closes the panel next to it; a menu
// offers the same for desktops that only open menus from tray icons, and the
// Apple Music sign-in or sign-out.
class TrayIcon : public QSystemTrayIcon
{
    Q_OBJECT

public:
    TrayIcon(PanelHost *panel, MusicAuthorization *authorization, QObject *parent = nullptr);

private:
    void onActivated(QSystemTrayIcon::ActivationReason reason);
    void showAuthorization();
    void signInOrOut();

    PanelHost *m_panel;
    MusicAuthorization *m_authorization;
    QMenu m_menu;
    QAction *m_accountAction;
};

} // namespace airnote
