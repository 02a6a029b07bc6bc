// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/HistoryModel.h"
#include "app/PanelModel.h"
#include "app/SaveWorkflow.h"
#include "app/StationChoice.h"
#include "history/CaptureStore.h"
#include "playback/StationPlayer.h"

#include <QObject>

#include "core/Coroutines.h"

#include <memory>

class QNetworkAccessManager;

namespace airnote {

class AppleMusicService;
class FIPMetadataService;
class MusicAuthorization;
class UpdateChecker;
class WakeSource;

// The composition root: owns the long-lived services and the models built on
// them (the save workflow, the history list, the panel), and starts what runs
// by itself: the update schedule at once, the poller when the panel first
// appears; each appearance asks for the Apple Music authorisation again. The
// player follows the chosen station's stream.
class AirnoteApp : public QObject
{
    Q_OBJECT

public:
    struct Services {
        FIPMetadataService *fip = nullptr;
        AppleMusicService *music = nullptr;
        MusicAuthorization *authorization = nullptr;
        std::unique_ptr<CaptureStore> store;
        UpdateChecker *updater = nullptr;
        QString settingsFile;  // empty: the user's Airnote.conf
        QUrl streamBase;       // where the stations' streams are
    };

    // The program's real services over one HTTP session, from the process-wide endpoints.
    static Services defaultServices(QNetworkAccessManager *session, WakeSource *wakeSource);

    // Takes ownership of the services; QObjects without a parent become children.
    explicit AirnoteApp(Services services, QObject *parent = nullptr);
    ~AirnoteApp() override;

    FIPMetadataService *fip() const;
    AppleMusicService *music() const;
    MusicAuthorization *authorization() const;
    CaptureStore *store() const;
    UpdateChecker *updater() const;
    SaveWorkflow *workflow();
    StationChoice *stations();
    StationPlayer *player();
    HistoryModel *history();
    PanelModel *panel();

private:
    // Each time the panel appears: the poller starts (once), and the
    // authorisation is asked again and handed to the music service.
    void onPanelAppear();
    QCoro::Task<> requestAuthorization();

    Services m_services;
    StationChoice m_stations;
    StationPlayer m_player;
    SaveWorkflow m_workflow;
    HistoryModel m_history;
    PanelModel m_panel;
};

} // namespace airnote
