// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "LaunchActions.h"

#include "app/PanelModel.h"
#include "app/SaveWorkflow.h"
#include "ui/PanelHost.h"
#include "ui/TrayDock.h"

#include <QCoreApplication>

namespace airnote {

LaunchActions::LaunchActions(PanelModel *model, SaveWorkflow *workflow, PanelHost *panel, TrayDock *dock,
                             QObject *parent)
    : QObject(parent)
    , m_model(model)
    , m_workflow(workflow)
    , m_panel(panel)
    , m_dock(dock)
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
        m_model->onShowHistory();
        showPanel();
        return;
    case Action::save:
        showPanel();
        m_workflow->saveOnceTrackArrives();
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
