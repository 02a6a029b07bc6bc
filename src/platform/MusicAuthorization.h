// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "platform/SignInServer.h"

#include "core/Coroutines.h"
#include <QObject>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

class QSettings;

namespace airnote {

class MusicUserTokenProvider;

// Whether the listener lets Airnote use Apple Music: authorized exactly when a
// music user token is available. Asking runs the browser sign-in, once at a
// time; a refusal, or a sign-in left unfinished, waits for signIn() rather
// than opening the browser again by itself. Lives for the whole process.
class MusicAuthorization : public QObject
{
    Q_OBJECT
    Q_PROPERTY(airnote::MusicAuthorization::Status status READ currentStatus NOTIFY statusChanged)

public:
    enum class Status { notDetermined, denied, restricted, authorized };
    Q_ENUM(Status)

    // Fetches a developer token; throws an Error when it cannot.
    using DeveloperTokenSource = std::function<QCoro::Task<QString>()>;

    struct Configuration
    {
        QString settingsFile;  // empty: the user's Airnote.conf
        SignInServer::BrowserOpener openBrowser = &SignInServer::openInSystemBrowser;
        std::chrono::milliseconds signInTimeout = std::chrono::minutes(5);
    };

    explicit MusicAuthorization(MusicUserTokenProvider *userTokens, QObject *parent = nullptr);
    MusicAuthorization(MusicUserTokenProvider *userTokens, Configuration configuration, QObject *parent = nullptr);
    ~MusicAuthorization() override;

    // Without a source, no sign-in can start.
    void setDeveloperTokenSource(DeveloperTokenSource source);

    // The last known status, without asking the keychain.
    Status currentStatus() const;

    // Looks for a user token; with none, and nothing holding the sign-in back,
    // runs the sign-in. Joins a sign-in already running. Never throws.
    QCoro::Task<Status> request();

    // Runs the sign-in now, whatever was refused or left unfinished before.
    Q_INVOKABLE void signIn();
    // Forgets the stored token; nothing signs in again until signIn().
    Q_INVOKABLE void signOut();

    // Apple no longer accepts the stored token: forget it, and let the next
    // request offer the sign-in again. Never throws.
    QCoro::Task<> forgetRejectedToken();

    // The case's name, as logs show it.
    static QString text(Status status);

Q_SIGNALS:
    void statusChanged();
    // A sign-in started by request() or signIn() has ended, whatever its outcome.
    void signInFinished();

private:
    // Brings the status in line with the stored token; true when the browser may open.
    QCoro::Task<bool> refreshStatus();
    QCoro::Task<> runSignIn();
    QCoro::Task<Status> signInOutcome();
    QCoro::Task<Status> keepSignedInToken(QString token);
    QCoro::Task<> signOutNow();
    QCoro::Task<> clearStoredToken();

    Status statusWithoutToken() const;
    void setStatus(Status status);
    bool isDeclined() const;
    void setDeclined(bool declined);

    MusicUserTokenProvider *m_userTokens;
    Configuration m_configuration;
    std::unique_ptr<QSettings> m_settings;
    SignInServer m_signInServer;
    DeveloperTokenSource m_developerTokenSource;
    Status m_status;
    bool m_signInRunning = false;
    // Set when a sign-in timed out or failed: no browser opens by itself
    // again in this run, but a restart offers the sign-in once more.
    bool m_automaticSignInHeld = false;
};

} // namespace airnote
