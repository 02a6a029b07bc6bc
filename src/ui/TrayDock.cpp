// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TrayDock.h"

#include "core/Logging.h"
#include "ui/PanelHost.h"

#include <QGuiApplication>

namespace airnote {

TrayDock::TrayDock(PanelHost *panel, AirnoteApp *app, QObject *parent)
    : QObject(parent)
    , m_panel(panel)
    , m_app(app)
{
    connect(&m_statusNotifierHost, &StatusNotifierHostWatcher::hostRegisteredChanged, this, &TrayDock::follow);
    connect(&m_xembedTray, &XEmbedTrayWatcher::trayPresentChanged, this, &TrayDock::follow);
    follow();
}

TrayDock::~TrayDock() = default;

bool TrayDock::isDocked() const
{
    return m_docked;
}

QRect TrayDock::iconGeometry() const
{
    return m_docked ? m_icon->geometry() : QRect();
}

bool TrayDock::hostPresent() const
{
    if (!m_boundHost)
        return m_statusNotifierHost.hostRegistered() || m_xembedTray.trayPresent();
    return *m_boundHost == TrayIcon::Host::statusNotifier ? m_statusNotifierHost.hostRegistered()
                                                          : m_xembedTray.trayPresent();
}

void TrayDock::follow()
{
    const bool present = hostPresent();
    if (m_followed && present == m_docked)
        return;
    m_followed = true;
    m_docked = present;
    if (present) {
        if (!m_icon) {
            m_boundHost = m_statusNotifierHost.hostRegistered() ? TrayIcon::Host::statusNotifier : TrayIcon::Host::xembed;
            m_icon = std::make_unique<TrayIcon>(m_panel, m_app, *m_boundHost);
        }
        // Before the window goes, or its closing would end the program.
        QGuiApplication::setQuitOnLastWindowClosed(false);
        m_panel->setPresentation(PanelWindow::presentationFor(true));
        m_icon->show();
        qCInfo(uiLogger, "In the tray");
    } else {
        if (m_icon)
            m_icon->hide();
        m_panel->setPresentation(PanelWindow::presentationFor(false));
        m_panel->showNextTo(QRect());
        // The window is now the only way in; closing it ends the program, as any window's would.
        QGuiApplication::setQuitOnLastWindowClosed(true);
        qCInfo(uiLogger, "No tray: the panel is an ordinary window");
    }
    Q_EMIT dockedChanged(present);
}

} // namespace airnote
