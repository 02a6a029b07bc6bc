// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "ui/PanelWindow.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>

class QQmlEngine;
class QQuickWindow;

namespace airnote {

class PanelModel;
class UpdateChecker;

// Owns the program's Qt Quick scene: the panel's window and the update dialog,
// each built when it is first needed, on one QML engine, and released with the
// engine once both have stayed closed for the release delay. A panel opened a
// few times an hour then costs its memory only while it is used; what it shows
// lives in the models, so a rebuilt panel opens as it was left.
class PanelHost : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultReleaseDelay = std::chrono::seconds(30);

    PanelHost(PanelModel *model, UpdateChecker *updater, PanelWindow::Presentation presentation,
              std::chrono::milliseconds releaseDelay = defaultReleaseDelay, QObject *parent = nullptr);
    ~PanelHost() override;

    void showNextTo(QRect anchor);
    void toggleNextTo(QRect anchor);
    // A panel already built is dropped; the next show builds it the new way.
    void setPresentation(PanelWindow::Presentation presentation);

    // Null while the scene is released.
    PanelWindow *window() const;
    QQuickWindow *updateDialog() const;

Q_SIGNALS:
    void released();

private:
    void buildEngine();
    void buildPanel();
    void buildUpdateDialog();
    void showUpdateDialog();
    void releaseWhenClosed();
    void release();
    void logFirstFrame();

    PanelModel *m_model;
    UpdateChecker *m_updater;
    PanelWindow::Presentation m_presentation;
    QTimer m_releaseTimer;
    // Declared before the windows that show its objects, so destroyed after them.
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<PanelWindow> m_window;
    std::unique_ptr<QQuickWindow> m_updateDialog;
    QElapsedTimer m_sinceShowRequest;
};

} // namespace airnote
