// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "DeveloperTokenSigner.h"

#include "core/Error.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <openssl/bio.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <array>

namespace airnote {

namespace {

constexpr int coordinateSize = 32;

QByteArray base64Url(const QByteArray &bytes)
{
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray base64UrlJson(const QJsonObject &object)
{
    return base64Url(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

// Without this callback OpenSSL would prompt on the terminal for an encrypted key.
int refusePassphrase(char *, int, int, void *)
{
    return -1;
}

QString takeOpenSslError()
{
    std::array<char, 256> text{};
    ERR_error_string_n(ERR_get_error(), text.data(), text.size());
    ERR_clear_error();
    return QString::fromLatin1(text.data());
}

Error signingFailure()
{
    return Error(QStringLiteral("Signing the developer token failed: %1").arg(takeOpenSslError()));
}

EVP_PKEY *readPrivateKey(const QByteArray &pem)
{
    std::unique_ptr<BIO, decltype(&BIO_free)> input(BIO_new_mem_buf(pem.constData(), int(pem.size())), &BIO_free);
    EVP_PKEY *key = input ? PEM_read_bio_PrivateKey(input.get(), nullptr, refusePassphrase, nullptr) : nullptr;
    ERR_clear_error();
    return key;
}

// "RSA", "ED25519", "EC prime256v1", "EC secp384r1"...
QString keyKind(EVP_PKEY *key)
{
    QString kind = QString::fromLatin1(EVP_PKEY_get0_type_name(key));
    std::array<char, 64> groupName{};
    if (EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_GROUP_NAME, groupName.data(), groupName.size(), nullptr) == 1)
        kind += u' ' + QString::fromLatin1(groupName.data());
    ERR_clear_error();
    return kind;
}

} // namespace

void DeveloperTokenSigner::KeyDeleter::operator()(EVP_PKEY *key) const
{
    EVP_PKEY_free(key);
}

DeveloperTokenSigner::DeveloperTokenSigner(const QString &keyFilePath, QString keyId, QString teamId)
    : m_keyId(std::move(keyId))
    , m_teamId(std::move(teamId))
{
    QFile file(keyFilePath);
    if (!file.exists())
        throw FileError(QStringLiteral("Key file %1 does not exist").arg(keyFilePath));
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(QStringLiteral("Cannot read key file %1: %2").arg(keyFilePath, file.errorString()));
    // Whoever can read the key can sign tokens in the team's name.
    constexpr QFileDevice::Permissions othersAccess = QFileDevice::ReadGroup | QFileDevice::WriteGroup
        | QFileDevice::ReadOther | QFileDevice::WriteOther;
    if (file.permissions() & othersAccess)
        throw ConfigurationError(
            QStringLiteral("Key file %1 is open to other users: make it readable by its owner only (chmod 600)")
                .arg(keyFilePath));

    m_key.reset(readPrivateKey(file.readAll()));
    if (!m_key)
        throw ConfigurationError(
            QStringLiteral("Key file %1 does not hold an unencrypted PEM private key").arg(keyFilePath));
    const QString kind = keyKind(m_key.get());
    if (kind != QStringLiteral("EC " SN_X9_62_prime256v1))
        throw ConfigurationError(
            QStringLiteral("Key file %1 is not an EC P-256 private key (found %2)").arg(keyFilePath, kind));
}

QByteArray DeveloperTokenSigner::sign(const QDateTime &issuedAt, std::chrono::seconds lifetime) const
{
    const qint64 issuedAtSeconds = issuedAt.toSecsSinceEpoch();
    const QJsonObject header{{QStringLiteral("alg"), QStringLiteral("ES256")}, {QStringLiteral("kid"), m_keyId}};
    const QJsonObject claims{{QStringLiteral("iss"), m_teamId},
                             {QStringLiteral("iat"), issuedAtSeconds},
                             {QStringLiteral("exp"), issuedAtSeconds + qint64(lifetime.count())}};
    const QByteArray signingInput = base64UrlJson(header) + '.' + base64UrlJson(claims);
    return signingInput + '.' + base64Url(signature(signingInput));
}

QByteArray DeveloperTokenSigner::signature(const QByteArray &signingInput) const
{
    const auto *input = reinterpret_cast<const unsigned char *>(signingInput.constData());
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    size_t derLength = 0;
    if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, m_key.get()) != 1
        || EVP_DigestSign(context.get(), nullptr, &derLength, input, size_t(signingInput.size())) != 1)
        throw signingFailure();
    QByteArray der(qsizetype(derLength), Qt::Uninitialized);
    if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char *>(der.data()), &derLength, input,
                       size_t(signingInput.size())) != 1)
        throw signingFailure();

    auto cursor = reinterpret_cast<const unsigned char *>(der.constData());
    std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> parsed(d2i_ECDSA_SIG(nullptr, &cursor, long(derLength)),
                                                                 &ECDSA_SIG_free);
    if (!parsed)
        throw signingFailure();

    // JWS wants r and s as two fixed-width big-endian integers, not OpenSSL's DER sequence.
    QByteArray raw(2 * coordinateSize, '\0');
    auto *rawBytes = reinterpret_cast<unsigned char *>(raw.data());
    if (BN_bn2binpad(ECDSA_SIG_get0_r(parsed.get()), rawBytes, coordinateSize) != coordinateSize
        || BN_bn2binpad(ECDSA_SIG_get0_s(parsed.get()), rawBytes + coordinateSize, coordinateSize) != coordinateSize)
        throw signingFailure();
    return raw;
}

} // namespace airnote
