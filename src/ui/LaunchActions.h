// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/CommandLine.h"

#include <QObject>

namespace airnote {

class PanelHost;
class PanelModel;
class SaveWorkflow;
class TrayDock;

// Carries out what a start of the program asked for (--show, --save,
// --history, --quit), whether from this process or handed over by a later one.
class LaunchActions : public QObject
{
    Q_OBJECT

public:
    // dock is null when the panel is an ordinary window for the whole run.
    LaunchActions(PanelModel *model, SaveWorkflow *workflow, PanelHost *panel, TrayDock *dock,
                  QObject *parent = nullptr);

    void perform(LaunchOptions::Action action);

private:
    void showPanel();

    PanelModel *m_model;
    SaveWorkflow *m_workflow;
    PanelHost *m_panel;
    TrayDock *m_dock;
};

} // namespace airnote
