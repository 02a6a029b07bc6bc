// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "platform/WebSession.h"
#include "station/CancellableWait.h"
#include "station/FIPTrack.h"
#include "station/Station.h"
#include "station/StationPayload.h"

#include "core/Coroutines.h"
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <chrono>
#include <optional>
#include <type_traits>

class QNetworkAccessManager;

namespace airnote {

class Error;
class WakeSource;

// Keeps the track on air up to date: polls the station's live document one
// request at a time, waits 5, 30 or 60 s depending on the failures in a row,
// and forgives past failures when the machine wakes.
class FIPMetadataService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool hasCurrent READ hasCurrent NOTIFY currentChanged)
    Q_PROPERTY(airnote::FIPTrack current READ currentForDisplay NOTIFY currentChanged)
    Q_PROPERTY(bool isReachable READ isReachable NOTIFY isReachableChanged)
    Q_PROPERTY(bool isFetching READ isFetching NOTIFY isFetchingChanged)
    Q_PROPERTY(qint64 consecutiveFailures READ consecutiveFailures NOTIFY consecutiveFailuresChanged)
    Q_PROPERTY(bool isWaiting READ isWaiting NOTIFY isWaitingChanged)

public:
    explicit FIPMetadataService(QNetworkAccessManager *session, WakeSource *wakeSource = nullptr,
                                QUrl documentURL = liveMetadataURL(), QObject *parent = nullptr);
    // Ends the loop: aborts the request in flight and the wait between polls.
    ~FIPMetadataService() override;

    const std::optional<FIPTrack> &current() const;
    bool hasCurrent() const;
    // An empty track when there is none yet.
    FIPTrack currentForDisplay() const;
    bool isReachable() const;
    bool isFetching() const;
    qint64 consecutiveFailures() const;
    bool isWaiting() const;

    // Idempotent: the first call polls at once and subscribes to the wake source.
    void start();
    // From now on polls the station's document instead (documentURL given at
    // construction is FIP's, beside which the webradios' sit). What was known
    // belongs to the station left: the track, the failures; a started poller
    // drops the answer in flight and polls the new station at once.
    void follow(const Station &station);
    const Station &station() const;
    // Ends the wait between two polls so the next poll runs now; no-op otherwise.
    Q_INVOKABLE void cutWaitShort();
    void handleWake();
    // The length of one second of the waits between polls.
    void setWaitUnit(std::chrono::milliseconds unit);

Q_SIGNALS:
    // After every successful poll, even when the track did not change.
    void currentChanged();
    void isReachableChanged();
    void isFetchingChanged();
    void consecutiveFailuresChanged();
    void isWaitingChanged();
    void waitStarted(qint64 seconds);

private:
    QCoro::Task<> runLoop();
    QCoro::Task<> poll();
    void recordSuccess(FIPTrack track);
    void recordFailure(const Error &error);
    static qint64 pollIntervalSeconds(qint64 consecutiveFailures);

    template<typename Value>
    void publish(Value &field, std::type_identity_t<Value> value, void (FIPMetadataService::*changed)());

    WebSession m_web;
    QPointer<WakeSource> m_wakeSource;
    const QUrl m_mainDocumentURL;
    Station m_station = mainStation();
    QUrl m_documentURL;
    // Counts station changes, so that a poll can tell its answer is for a station left behind.
    quint64 m_generation = 0;
    std::optional<FIPTrack> m_current;
    bool m_isReachable = true;
    bool m_isFetching = false;
    qint64 m_consecutiveFailures = 0;
    bool m_started = false;
    // Set while the destructor ends the loop: the loop then returns without
    // touching anything else.
    bool m_stopping = false;
    CancellableWait m_wait;
    std::chrono::milliseconds m_waitUnit{1000};
};

} // namespace airnote
