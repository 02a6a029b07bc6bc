// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "core/Error.h"

#include "core/Coroutines.h"
#include <QObject>

#include <memory>

namespace airnote {

// The listener's Apple Music user token: the environment variable
// AIRNOTE_MUSIC_USER_TOKEN when set, otherwise the stored one (the system
// keychain unless another store is given). The token is a secret: nothing here logs it.
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

    // Where the token rests between runs. Each operation throws Unavailable
    // when the store cannot be reached.
    class Store
    {
    public:
        virtual ~Store() = default;
        // Empty when nothing is stored.
        virtual QCoro::Task<QString> read() = 0;
        virtual QCoro::Task<> write(QString token) = 0;
        virtual QCoro::Task<> remove() = 0;
    };

    // Keeps the token in the system keychain.
    explicit MusicUserTokenProvider(QObject *parent = nullptr);
    explicit MusicUserTokenProvider(std::unique_ptr<Store> store, QObject *parent = nullptr);
    ~MusicUserTokenProvider() override;

    // AIRNOTE_MUSIC_USER_TOKEN, empty when unset.
    static QString environmentToken();

    // The token, empty when there is none; throws Unavailable when the store cannot be read.
    QCoro::Task<QString> storedToken();
    // The developer token is what a sign-in needs; reading the stored token ignores it.
    // Throws Unavailable when there is no token.
    QCoro::Task<QString> userToken(QString developerToken);
    QCoro::Task<> store(QString token);
    QCoro::Task<> clear();

private:
    std::unique_ptr<Store> m_store;
};

} // namespace airnote
