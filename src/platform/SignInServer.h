// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "core/Coroutines.h"
#include <QHttpServer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <functional>

class QTcpServer;

namespace airnote {

struct SignInResult
{
    enum class Outcome { authorized, declined, timedOut, failed };

    Outcome outcome = Outcome::failed;
    QString musicUserToken;      // only when authorized
    QString failureDescription;  // only when failed, in French

    bool operator==(const SignInResult &) const = default;
};

// The Apple Music sign-in: a one-page server on 127.0.0.1 that the system
// browser opens; the page runs MusicKit JS and posts the music user token
// back once. Only one sign-in runs at a time; a second run() joins it.
class SignInServer : public QObject
{
    Q_OBJECT

public:
    using BrowserOpener = std::function<void(QUrl)>;

    explicit SignInServer(std::chrono::milliseconds timeout = std::chrono::minutes(5),
                          QObject *parent = nullptr);

    // Throws NetworkError when no loopback port can be opened. The server
    // must outlive the returned task.
    QCoro::Task<SignInResult> run(QString developerToken,
                                  BrowserOpener openBrowser = &SignInServer::openInSystemBrowser);

    static void openInSystemBrowser(QUrl url);

Q_SIGNALS:
    void finished(const airnote::SignInResult &result);

private:
    void startListening();
    QHttpServerResponse servePage(const QHttpServerRequest &request) const;
    QHttpServerResponse acceptCallback(const QHttpServerRequest &request);
    QByteArray renderPage(const QByteArray &nonce) const;
    bool isAddressedToThisServer(const QHttpServerRequest &request) const;
    bool isCurrentState(const QString &candidate) const;
    void finish(SignInResult result);

    std::chrono::milliseconds m_timeout;
    QTimer m_deadline;
    QHttpServer m_http;
    QTcpServer *m_listener = nullptr;
    QByteArray m_origin;  // http://127.0.0.1:<port>
    QString m_state;
    QString m_developerToken;
    bool m_running = false;
};

} // namespace airnote

Q_DECLARE_METATYPE(airnote::SignInResult)
