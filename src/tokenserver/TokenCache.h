// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "tokenserver/DeveloperTokenSigner.h"

#include <QByteArray>
#include <QDateTime>

#include <chrono>
#include <functional>

namespace airnote {

struct ServedToken
{
    QByteArray token;
    qint64 expiresIn = 0;  // whole seconds the token stays valid, rounded down
};

// Hands out one signed token until it gets close to its expiry, then signs a
// new one. "Close" is the renewal margin: a tenth of the lifetime, at most one
// hour, so every served token still has that much validity left.
class TokenCache
{
public:
    using Clock = std::function<QDateTime()>;

    TokenCache(DeveloperTokenSigner signer, std::chrono::seconds lifetime, Clock clock = &QDateTime::currentDateTimeUtc);

    static std::chrono::seconds renewalMargin(std::chrono::seconds lifetime);

    // Throws Error when signing fails.
    ServedToken current();

private:
    DeveloperTokenSigner m_signer;
    std::chrono::seconds m_lifetime;
    Clock m_clock;
    QByteArray m_token;
    QDateTime m_expiresAt;
};

} // namespace airnote
