// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "LaunchActions.h"

#include "app/AirnoteApp.h"
#include "ui/PanelHost.h"
#include "ui/TrayDock.h"

#include <QCoreApplication>

namespace airnote {

LaunchActions::LaunchActions(AirnoteApp *app, PanelHost *panel, TrayDock *dock, QObject *parent)
    : QObject(parent)
    , m_app(app)
    , m_panel(panel)
    , m_dock(dock)
{
}

void LaunchActions::perform(const LaunchOptions &options)
{
    if (!options.station.isEmpty())
        m_app->stations()->choose(options.station);
    using Action = LaunchOptions::Action;
    switch (options.action) {
    case Action::none:
        return;
    case Action::show:
        showPanel();
        return;
    case Action::history:
        m_app->panel()->onShowHistory();
        showPanel();
        return;
    case Action::exportHistory:
        m_app->history()->exportTo(options.exportPath);
        return;
    case Action::save:
        // The history would cover the flow this starts.
        m_app->panel()->onCloseHistory();
        showPanel();
        m_app->workflow()->saveOnceTrackArrives();
        return;
    case Action::quit:
        QCoreApplication::quit();
        return;
    }
}

void LaunchActions::showPanel()
{
    m_panel->showNextTo(m_dock ? m_dock->iconGeometry() : QRect());
}

} // namespace airnote
