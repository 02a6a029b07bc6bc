// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <openssl/types.h>

#include <chrono>
#include <memory>

namespace airnote {

// Issues MusicKit developer tokens: compact JWS signed ES256 with the team's
// MusicKit private key (a .p8 file, PKCS#8 PEM, EC P-256).
class DeveloperTokenSigner
{
public:
    // Apple refuses developer tokens valid for longer than six months.
    static constexpr std::chrono::seconds maximumLifetime{15777000};

    // Throws FileError when the key file is missing or unreadable, and
    // ConfigurationError when others than its owner may read or write it, or
    // when it holds no unencrypted EC P-256 private key.
    DeveloperTokenSigner(const QString &keyFilePath, QString keyId, QString teamId);

    // The token's "iat" is issuedAt truncated to the second, "exp" that plus lifetime.
    QByteArray sign(const QDateTime &issuedAt, std::chrono::seconds lifetime) const;

private:
    struct KeyDeleter
    {
        void operator()(EVP_PKEY *key) const;
    };

    QByteArray signature(const QByteArray &signingInput) const;

    std::unique_ptr<EVP_PKEY, KeyDeleter> m_key;
    QString m_keyId;
    QString m_teamId;
};

} // namespace airnote
