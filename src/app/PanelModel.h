// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/HistoryFilter.h"

#include <QObject>
#include <QString>

namespace airnote {

class FIPMetadataService;
struct FIPTrack;
class HistoryModel;
class SaveWorkflow;
class StationChoice;
class StationPlayer;
class UpdateChecker;

// What the panel shows: one face at a time, the history first, then the save
// flow's sheet, then the track on air; and the objects each face binds to.
// The choice lives here, not in the window, so it survives the window being
// released while the panel is closed.
class PanelModel : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("app/HistoryModel.h")
    Q_MOC_INCLUDE("app/SaveWorkflow.h")
    Q_MOC_INCLUDE("station/FIPMetadataService.h")
    Q_MOC_INCLUDE("app/StationChoice.h")
    Q_MOC_INCLUDE("playback/StationPlayer.h")
    Q_PROPERTY(airnote::FIPMetadataService *station READ station CONSTANT)
    Q_PROPERTY(airnote::StationChoice *stations READ stations CONSTANT)
    Q_PROPERTY(airnote::StationPlayer *player READ player CONSTANT)
    Q_PROPERTY(airnote::SaveWorkflow *workflow READ workflow CONSTANT)
    Q_PROPERTY(airnote::HistoryModel *history READ history CONSTANT)
    // The history's rows as the search field filters them.
    Q_PROPERTY(airnote::HistoryFilter *historyRows READ historyRows CONSTANT)
    Q_PROPERTY(Face face READ face NOTIFY faceChanged)
    // Changes exactly when the panel cross-fades to a new face: the face, or
    // for a sheet, the sheet's id.
    Q_PROPERTY(QString faceKey READ faceKey NOTIFY faceChanged)

public:
    enum Face { NowPlaying, Preview, Status, History };
    Q_ENUM(Face)

    PanelModel(FIPMetadataService *station, StationChoice *stations, StationPlayer *player, SaveWorkflow *workflow,
               HistoryModel *history, UpdateChecker *updater, QObject *parent = nullptr);

    FIPMetadataService *station() const;
    StationChoice *stations() const;
    StationPlayer *player() const;
    SaveWorkflow *workflow() const;
    HistoryModel *history() const;
    HistoryFilter *historyRows();
    Face face() const;
    QString faceKey() const;

    // Each time the panel's content appears. The history is read again each
    // time its face comes on screen.
    Q_INVOKABLE void onPanelAppear();
    Q_INVOKABLE void onShowHistory();
    Q_INVOKABLE void onCloseHistory();
    // Runs the save flow again for a note for later or a failed save: the
    // history gives way to the flow's sheet.
    Q_INVOKABLE void onRetry(const QString &recordID);
    // A row's main action, the one Return runs: try again what is left to do,
    // open what was saved, copy the rest.
    Q_INVOKABLE void onRowAction(const QString &recordID);
    Q_INVOKABLE void onCheckForUpdates();
    Q_INVOKABLE void onQuit();

Q_SIGNALS:
    void appeared();
    // Only when the key changes: a new sheet of the same id refreshes the
    // face in place, on the workflow's sheetChanged().
    void faceChanged();

private:
    void retry(const FIPTrack &track);
    void setShowsHistory(bool shows);
    void announceFace();

    FIPMetadataService *m_station;
    StationChoice *m_stations;
    StationPlayer *m_player;
    SaveWorkflow *m_workflow;
    HistoryModel *m_history;
    HistoryFilter m_historyRows;
    UpdateChecker *m_updater;
    bool m_showsHistory = false;
    bool m_leavesHistoryForSheet = false;
    QString m_faceKey;
};

} // namespace airnote
