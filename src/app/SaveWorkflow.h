// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/SheetState.h"
#include "history/CaptureRecord.h"

#include <QObject>
#include <QTimer>

#include "core/Coroutines.h"

#include <chrono>
#include <optional>

namespace airnote {

class AppleMusicService;
class CaptureStore;
class FIPMetadataService;

// Takes the track on air from the save button to its outcome: the duplicate
// guard, the catalog search, the listener's choice in the preview, the
// addition to Apple Music and the record in the history. Its one state is the
// sheet the panel shows; each outcome card is held for a few seconds, then the
// sheet is cleared whatever it holds.
class SaveWorkflow : public QObject
{
    Q_OBJECT
    Q_PROPERTY(airnote::SheetState sheet READ sheetForDisplay NOTIFY sheetChanged)
    // The candidate the preview holds selected: the best one when it appears.
    Q_PROPERTY(QString selectedSongID READ selectedSongID NOTIFY selectionChanged)

public:
    SaveWorkflow(FIPMetadataService *fip, AppleMusicService *music, CaptureStore *store, QObject *parent = nullptr);

    const std::optional<SheetState> &sheet() const;
    // A flow is on screen or starting, so a new save would be refused.
    bool isBusy() const;
    // The sheet, or a failure without message when there is none.
    SheetState sheetForDisplay() const;
    QString selectedSongID() const;

    // Length of one second of the workflow's waits and hold times; tests shorten it.
    void setHoldUnit(std::chrono::milliseconds unit);

    // Each operation runs its flow to its outcome, whose card a timer then
    // holds; nothing cancels it, and callers drop the task.
    // Saves the track on air unless a flow is already on screen or starting.
    QCoro::Task<> saveCurrentTrack();
    // The same flow for a track of the listener's choosing (one from the history).
    QCoro::Task<> saveTrack(FIPTrack track);
    QCoro::Task<> confirmSave(FIPTrack track, CatalogMatch match);
    QCoro::Task<> logForLater(FIPTrack track);
    void cancelSheet();
    // For a save asked from outside the panel (a desktop shortcut): runs as soon
    // as the poller has a track, at once when it already has one. Asked again
    // meanwhile, it still runs once; no track within 30 s drops it.
    void saveOnceTrackArrives();

    // The views' decisions. The preview's act only while the preview is shown
    // and still undecided, so a second Return or a late click cannot write twice.
    Q_INVOKABLE void onSave();
    Q_INVOKABLE void onSelect(const QString &songID);
    Q_INVOKABLE void onConfirm(const QString &songID);
    Q_INVOKABLE void onLogForLater();
    Q_INVOKABLE void onCancel();

Q_SIGNALS:
    // Announced for every new state, even one with the same id, so that a
    // face showing that id can refresh its content.
    void sheetChanged();
    void selectionChanged();

private:
    // Appends the record; a failure is logged, and the outcome shown as if stored.
    QCoro::Task<> appendIgnoringErrors(CaptureRecord record);
    // Shows state for the given seconds, then clears the sheet whatever it holds.
    void showFor(SheetState state, double seconds);
    void setSheet(std::optional<SheetState> sheet);
    void setSelectedSongID(QString songID);
    void stopWaitingForTrack();
    const SheetState::Preview *undecidedPreview() const;

    FIPMetadataService *m_fip;
    AppleMusicService *m_music;
    CaptureStore *m_store;
    std::optional<SheetState> m_sheet;
    QString m_selectedSongID;
    bool m_saveStarting = false;
    // Set while a note for later is being written, with the preview still shown.
    bool m_decisionPending = false;
    std::chrono::milliseconds m_holdUnit{1000};
    QTimer m_holdTimer;
    QTimer m_trackWait;
    QMetaObject::Connection m_trackArrival;
};

} // namespace airnote
