// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TokenCache.h"

#include "core/Logging.h"

#include <algorithm>

namespace airnote {

using namespace std::chrono_literals;

TokenCache::TokenCache(DeveloperTokenSigner signer, std::chrono::seconds lifetime, Clock clock)
    : m_signer(std::move(signer))
    , m_lifetime(lifetime)
    , m_clock(std::move(clock))
{
}

std::chrono::seconds TokenCache::renewalMargin(std::chrono::seconds lifetime)
{
    return std::min(lifetime / 10, std::chrono::seconds(1h));
}

ServedToken TokenCache::current()
{
    const QDateTime now = m_clock();
    if (m_token.isEmpty() || now.secsTo(m_expiresAt) < renewalMargin(m_lifetime).count()) {
        // Whole seconds, so the expiry matches the token's "exp" claim exactly.
        const QDateTime issuedAt = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC);
        m_token = m_signer.sign(issuedAt, m_lifetime);
        m_expiresAt = issuedAt.addSecs(m_lifetime.count());
        qCInfo(musicLogger).noquote() << "Signed a developer token valid until"
                                      << m_expiresAt.toString(Qt::ISODate);
    }
    return {m_token, now.secsTo(m_expiresAt)};
}

} // namespace airnote
