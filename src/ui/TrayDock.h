// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "platform/StatusNotifierHostWatcher.h"
#include "ui/TrayIcon.h"
#include "ui/XEmbedTrayWatcher.h"

#include <QObject>
#include <QRect>

#include <memory>
#include <optional>

namespace airnote {

class AirnoteApp;
class PanelHost;

// Keeps the listener a way in whatever the desktop's tray does: the icon in the
// tray while a host shows it, the panel as an ordinary window while none does.
// Follows hosts that start after Airnote, restart, or go away.
class TrayDock : public QObject
{
    Q_OBJECT

public:
    TrayDock(PanelHost *panel, AirnoteApp *app, QObject *parent = nullptr);
    ~TrayDock() override;

    bool isDocked() const;
    // Where the icon is, when the host tells; invalid otherwise.
    QRect iconGeometry() const;

Q_SIGNALS:
    void dockedChanged(bool docked);

private:
    // Qt binds a tray icon to one kind of host for the whole run, the one it
    // finds when the first icon is made: a StatusNotifierItem host when one is
    // registered, else an XEmbed tray. No icon is made before a host is seen,
    // and afterwards only a host of the bound kind counts.

    bool hostPresent() const;
    void follow();

    PanelHost *m_panel;
    AirnoteApp *m_app;
    StatusNotifierHostWatcher m_statusNotifierHost;
    XEmbedTrayWatcher m_xembedTray;
    std::optional<TrayIcon::Host> m_boundHost;
    std::unique_ptr<TrayIcon> m_icon;
    bool m_docked = false;
    bool m_followed = false;
};

} // namespace airnote
