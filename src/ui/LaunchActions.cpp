// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "LaunchActions.h"

#include "app/AirnoteApp.h"
#include "ui/PanelWindow.h"
#include "ui/TrayIcon.h"

#include <QCoreApplication>

namespace airnote {

LaunchActions::LaunchActions(AirnoteApp *app, PanelWindow *panel, TrayIcon *trayIcon, QObject *parent)
    : QObject(parent)
    , m_app(app)
    , m_panel(panel)
    , m_trayIcon(trayIcon)
{
}

void LaunchActions::perform(LaunchOptions::Action action)
{
    using Action = LaunchOptions::Action;
    switch (action) {
    case Action::none:
        return;
    case Action::show:
        showPanel();
        return;
    case Action::history:
        m_app->onShowHistory();
        showPanel();
        return;
    case Action::save:
        showPanel();
        m_app->saveOnceTrackArrives();
        return;
    case Action::quit:
        QCoreApplication::quit();
        return;
    }
}

void LaunchActions::showPanel()
{
    m_panel->showNextTo(m_trayIcon ? m_trayIcon->geometry() : QRect());
    m_panel->requestActivate();
}

} // namespace airnote
