// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "PanelModel.h"

#include "app/HistoryModel.h"
#include "app/SaveWorkflow.h"
#include "app/UpdateChecker.h"

#include <QCoreApplication>

#include <utility>

namespace airnote {

PanelModel::PanelModel(FIPMetadataService *station, StationChoice *stations, StationPlayer *player,
                       SaveWorkflow *workflow, HistoryModel *history, UpdateChecker *updater, QObject *parent)
    : QObject(parent)
    , m_station(station)
    , m_stations(stations)
    , m_player(player)
    , m_workflow(workflow)
    , m_history(history)
    , m_historyRows(history)
    , m_updater(updater)
{
    m_faceKey = faceKey();
    connect(workflow, &SaveWorkflow::sheetChanged, this, [this] {
        if (std::exchange(m_leavesHistoryForSheet, false))
            setShowsHistory(false);
        announceFace();
    });
}

FIPMetadataService *PanelModel::station() const
{
    return m_station;
}

StationChoice *PanelModel::stations() const
{
    return m_stations;
}

StationPlayer *PanelModel::player() const
{
    return m_player;
}

SaveWorkflow *PanelModel::workflow() const
{
    return m_workflow;
}

HistoryModel *PanelModel::history() const
{
    return m_history;
}

HistoryFilter *PanelModel::historyRows()
{
    return &m_historyRows;
}

PanelModel::Face PanelModel::face() const
{
    if (m_showsHistory)
        return History;
    if (const std::optional<SheetState> &sheet = m_workflow->sheet())
        return sheet->isPreview() ? Preview : Status;
    return NowPlaying;
}

QString PanelModel::faceKey() const
{
    switch (face()) {
    case NowPlaying:
        return QStringLiteral("nowPlaying");
    case History:
        return QStringLiteral("history");
    case Preview:
    case Status:
        break;
    }
    return m_workflow->sheet()->id();
}

void PanelModel::onPanelAppear()
{
    if (m_showsHistory)
        m_history->reload();
    Q_EMIT appeared();
}

void PanelModel::onShowHistory()
{
    m_leavesHistoryForSheet = false;
    if (!m_showsHistory)
        m_history->reload();
    setShowsHistory(true);
}

void PanelModel::onCloseHistory()
{
    setShowsHistory(false);
}

void PanelModel::onRetry(const QString &recordID)
{
    if (const std::optional<FIPTrack> track = m_history->trackToRetry(recordID))
        retry(*track);
}

void PanelModel::onRowAction(const QString &recordID)
{
    if (const std::optional<FIPTrack> track = m_history->trackToRetry(recordID))
        retry(*track);
    else if (!m_history->onOpen(recordID))
        m_history->onCopy(recordID);
}

void PanelModel::retry(const FIPTrack &track)
{
    // A flow under way comes first: the listener is shown it rather than nothing.
    if (m_workflow->isBusy()) {
        setShowsHistory(false);
        return;
    }
    // The history stays until the flow's first card replaces it, so the track
    // on air does not flash between the two.
    m_leavesHistoryForSheet = true;
    m_workflow->saveTrack(track);
}

void PanelModel::onCheckForUpdates()
{
    m_updater->checkForUpdates();
}

void PanelModel::onQuit()
{
    QCoreApplication::quit();
}

void PanelModel::setShowsHistory(bool shows)
{
    if (m_showsHistory == shows)
        return;
    m_showsHistory = shows;
    announceFace();
}

void PanelModel::announceFace()
{
    QString key = faceKey();
    if (key == m_faceKey)
        return;
    m_faceKey = std::move(key);
    Q_EMIT faceChanged();
}

} // namespace airnote
