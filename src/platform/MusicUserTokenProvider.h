#pragma once

#include "platform/Error.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <chrono>

#include <qt6keychain/keychain.h>

namespace airnote {

// The listener's Apple Music user token: the environment variable
// AIRNOTE_MUSIC_USER_TOKEN when set, otherwise the system keychain.
// The token is a secret: nothing here logs it.
class MusicUserTokenProvider : public QObject
{
    Q_OBJECT

public:
    // No token stored, or no keychain to hold one.
    class Unavailable : public Error
    {
    public:
        using Error::Error;
    };

    static constexpr std::chrono::milliseconds defaultKeychainTimeout{10'000};

    explicit MusicUserTokenProvider(std::chrono::milliseconds keychainTimeout = defaultKeychainTimeout,
                                    QObject *parent = nullptr);

    // AIRNOTE_MUSIC_USER_TOKEN, empty when unset.
    static QString environmentToken();

    // The developer token is what a sign-in needs; reading the stored token ignores it.
    QCoro::Task<QString> userToken(QString developerToken);
    QCoro::Task<> store(QString token);
    QCoro::Task<> clear();

private:
    // Runs the job and waits for it, at most the keychain timeout. Answers
    // NoError or EntryNotFound; any other outcome, or no answer, throws Unavailable.
    QCoro::Task<QKeychain::Error> run(QKeychain::Job *job, QString action);

    std::chrono::milliseconds m_keychainTimeout;
};

} // namespace airnote
