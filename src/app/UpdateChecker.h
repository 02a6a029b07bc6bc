// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "platform/WebSession.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include "core/Coroutines.h"

#include <chrono>

class QNetworkAccessManager;

namespace airnote {

// Reads the Sparkle-format update feed and tells whether a newer Airnote
// exists. The update dialog binds to its properties, which all change
// together and announce it with stateChanged().
class UpdateChecker : public QObject
{
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(QUrl downloadURL READ downloadURL NOTIFY stateChanged)
    Q_PROPERTY(QString message READ message NOTIFY stateChanged)

public:
    enum class State { Idle, Checking, UpToDate, UpdateAvailable, Failed };
    Q_ENUM(State)

    static constexpr std::chrono::milliseconds defaultInterval = std::chrono::hours(24);

    // The feed from the build or the environment, the version of this process.
    explicit UpdateChecker(QNetworkAccessManager *network, QObject *parent = nullptr);
    // An empty feed disables the schedule, and every check fails without a request.
    UpdateChecker(QNetworkAccessManager *network, QUrl feedURL, QString runningVersion,
                  std::chrono::milliseconds interval, QObject *parent = nullptr);
    // Aborts a check still waiting on the feed; it ends without announcing anything.
    ~UpdateChecker() override;

    State state() const;
    QUrl downloadURL() const;
    // The French sentence the dialog shows for the current state.
    QString message() const;

    // Checks once now, then at every interval; does nothing without a feed.
    void start();

    // The listener's check: ends with resultReady(). Joins a check in flight
    // instead of sending a second request.
    QCoro::Task<> checkForUpdates();

Q_SIGNALS:
    void stateChanged();
    // Time to show the dialog: a check the listener asked for has ended, or a
    // scheduled one found a newer version.
    void resultReady();

private:
    QCoro::Task<> check();
    QCoro::Task<QByteArray> fetchFeed();
    // Starts a check unless one is in flight; its outcome lands in the properties.
    void startCheck();
    void setResult(State state, QString latestVersion = {}, QUrl downloadURL = {}, QString errorText = {});
    void fail(const QString &detail);

    WebSession m_web;
    QUrl m_feedURL;
    QString m_runningVersion;
    QTimer m_timer;
    bool m_listenerWaiting = false;
    QCoro::Task<> m_checkInFlight;
    bool m_stopping = false;

    State m_state = State::Idle;
    QString m_latestVersion;
    QUrl m_downloadURL;
    QString m_errorText;
};

} // namespace airnote
