// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/CommandLine.h"

#include <QObject>

namespace airnote {

class AirnoteApp;
class PanelHost;
class TrayDock;

// Carries out what a start of the program asked for (--station, then --show,
// --save, --history, --export-history or --quit), whether from this process or handed over by a
// later one.
class LaunchActions : public QObject
{
    Q_OBJECT

public:
    // dock is null when the panel is an ordinary window for the whole run.
    LaunchActions(AirnoteApp *app, PanelHost *panel, TrayDock *dock, QObject *parent = nullptr);

    void perform(const LaunchOptions &options);

private:
    void showPanel();

    AirnoteApp *m_app;
    PanelHost *m_panel;
    TrayDock *m_dock;
};

} // namespace airnote
