// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "app/SheetState.h"
#include "app/UpdateChecker.h"
#include "history/CaptureRecord.h"
#include "history/CaptureStore.h"
#include "music/AppleMusicService.h"
#include "platform/MusicAuthorization.h"
#include "station/FIPMetadataService.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariantList>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <memory>
#include <optional>

namespace airnote {

class WakeSource;


// The composition root: owns the long-lived services and the panel's state
// (the save flow's sheet and the history flag), and is the one object the QML
// panel talks to. Every decision a view leaves comes back here.
class AirnoteApp : public QObject
{
    Q_OBJECT
    Q_PROPERTY(airnote::FIPMetadataService *fip READ fip CONSTANT)
    Q_PROPERTY(airnote::AppleMusicService *music READ music CONSTANT)
    Q_PROPERTY(airnote::UpdateChecker *updater READ updater CONSTANT)
    Q_PROPERTY(airnote::MusicAuthorization *authorization READ authorization CONSTANT)
    Q_PROPERTY(bool hasSheet READ hasSheet NOTIFY sheetChanged)
    Q_PROPERTY(airnote::SheetState sheet READ sheetForDisplay NOTIFY sheetChanged)
    Q_PROPERTY(QString sheetKey READ sheetKey NOTIFY sheetChanged)
    Q_PROPERTY(bool showHistory READ showHistory NOTIFY showHistoryChanged)
    Q_PROPERTY(QString face READ face NOTIFY faceChanged)

public:
    struct Services {
        FIPMetadataService *fip = nullptr;
        AppleMusicService *music = nullptr;
        MusicAuthorization *authorization = nullptr;
        std::unique_ptr<CaptureStore> store;
        UpdateChecker *updater = nullptr;
    };

    // The program's real services over one HTTP session, from the process-wide endpoints.
    static Services defaultServices(QNetworkAccessManager *session, WakeSource *wakeSource);

    // Takes ownership of the services; QObjects without a parent become children.
    explicit AirnoteApp(Services services, QObject *parent = nullptr);
    ~AirnoteApp() override;

    FIPMetadataService *fip() const;
    AppleMusicService *music() const;
    UpdateChecker *updater() const;
    MusicAuthorization *authorization() const;
    CaptureStore *store() const;

    const std::optional<SheetState> &sheet() const;
    bool hasSheet() const;
    SheetState sheetForDisplay() const;
    // The animation key: the sheet's id, or "nil" without a sheet.
    QString sheetKey() const;
    bool showHistory() const;
    // "history", "sheet" or "nowPlaying", in that order of priority.
    QString face() const;

    // Length of one second of the outcome cards' hold times; tests shorten it.
    void setHoldUnit(std::chrono::milliseconds unit);

    Q_INVOKABLE void onPanelAppear();
    Q_INVOKABLE void onSave();
    Q_INVOKABLE void onShowHistory();
    Q_INVOKABLE void onCloseHistory();
    Q_INVOKABLE void onCheckForUpdates();
    Q_INVOKABLE void onConfirm(const QString &songID);
    Q_INVOKABLE void onLogForLater();
    Q_INVOKABLE void onCancel();
    // Asks the store for every record; the answer comes as historyLoaded, newest first.
    Q_INVOKABLE void loadHistory();
    Q_INVOKABLE void quit();

    void saveCurrentTrack();
    // For a save asked from outside the panel (a desktop shortcut): runs as soon
    // as the poller has a track, at once when it already has one.
    void saveOnceTrackArrives();
    void confirmSave(FIPTrack track, CatalogMatch match);
    void logForLater(FIPTrack track);
    void cancelSheet();

Q_SIGNALS:
    void sheetChanged();
    void showHistoryChanged();
    void faceChanged();
    void historyLoaded(const QVariantList &newestFirst);
    // The update checker's answer, for the small dialog of "Vérifier les màj".
    void updateCheckFinished();

private:
    QCoro::Task<> requestAuthorization();
    QCoro::Task<> runSave();
    QCoro::Task<> runConfirm(FIPTrack track, CatalogMatch match);
    QCoro::Task<> runLogForLater(FIPTrack track);
    QCoro::Task<> runLoadHistory();
    QCoro::Task<> runCheckForUpdates();
    QCoro::Task<> appendIgnoringErrors(CaptureRecord record);
    // Shows state for the given seconds, then clears the sheet whatever it holds.
    void showFor(SheetState state, double seconds);

    void setSheet(std::optional<SheetState> sheet);
    void setShowHistory(bool show);
    const SheetState::Preview *currentPreview() const;

    Services m_services;
    std::optional<SheetState> m_sheet;
    bool m_showHistory = false;
    bool m_saveStarting = false;
    QString m_face;
    std::chrono::milliseconds m_holdUnit{1000};
    QTimer m_holdTimer;
};

} // namespace airnote
