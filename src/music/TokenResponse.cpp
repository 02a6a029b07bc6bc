// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TokenResponse.h"

#include "music/AppleMusicReplies.h"
#include "platform/Error.h"

#include <QJsonObject>

#include <cmath>

namespace airnote {

namespace {

bool isInteger(const QJsonValue &value)
{
    if (!value.isDouble())
        return false;
    const double number = value.toDouble();
    return std::trunc(number) == number && std::abs(number) < 9.0e15;
}

} // namespace

TokenResponse TokenResponse::decode(const QByteArray &data)
{
    const QJsonDocument document = parsedJSON(data);
    if (!document.isObject())
        throw JsonError(QStringLiteral("la réponse n'est pas un objet JSON"));
    const QJsonObject object = document.object();
    const QJsonValue token = object.value(QLatin1String("token"));
    const QJsonValue expiresIn = object.value(QLatin1String("expiresIn"));
    if (!token.isString())
        throw JsonError(QStringLiteral("la clé \"token\" manque ou n'est pas un texte"));
    if (!isInteger(expiresIn))
        throw JsonError(QStringLiteral("la clé \"expiresIn\" manque ou n'est pas un entier"));
    return TokenResponse{.token = token.toString(), .expiresIn = static_cast<qint64>(expiresIn.toDouble())};
}

} // namespace airnote
