// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TokenResponse.h"

#include "music/AppleMusicReplies.h"
#include "core/Error.h"
#include "core/JsonFields.h"

#include <QJsonObject>

namespace airnote {

TokenResponse TokenResponse::decode(const QByteArray &data)
{
    const QJsonDocument document = parsedJSON(data);
    if (!document.isObject())
        throw JsonError(QStringLiteral("la réponse n'est pas un objet JSON"));
    const JsonFields fields(document.object(), QStringLiteral("token reply"));
    return TokenResponse{.token = fields.string(QLatin1StringView("token")),
                         .expiresIn = fields.integer(QLatin1StringView("expiresIn"))};
}

} // namespace airnote
