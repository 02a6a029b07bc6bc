// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MusicUserTokenProvider.h"

#include "platform/KeychainTokenStore.h"

namespace airnote {

MusicUserTokenProvider::MusicUserTokenProvider(QObject *parent)
    : MusicUserTokenProvider(std::make_unique<KeychainTokenStore>(), parent)
{
}

MusicUserTokenProvider::MusicUserTokenProvider(std::unique_ptr<Store> store, QObject *parent)
    : QObject(parent)
    , m_store(std::move(store))
{
}

MusicUserTokenProvider::~MusicUserTokenProvider() = default;

QString MusicUserTokenProvider::environmentToken()
{
    return qEnvironmentVariable("AIRNOTE_MUSIC_USER_TOKEN");
}

QCoro::Task<QString> MusicUserTokenProvider::storedToken()
{
    if (const QString token = environmentToken(); !token.isEmpty())
        co_return token;
    co_return co_await m_store->read();
}

QCoro::Task<QString> MusicUserTokenProvider::userToken(QString developerToken)
{
    Q_UNUSED(developerToken);
    const QString token = co_await storedToken();
    if (token.isEmpty())
        throw Unavailable(QStringLiteral("No Apple Music user token is stored: sign in to Apple Music first"));
    co_return token;
}

QCoro::Task<> MusicUserTokenProvider::store(QString token)
{
    co_await m_store->write(std::move(token));
}

QCoro::Task<> MusicUserTokenProvider::clear()
{
    co_await m_store->remove();
}

} // namespace airnote
