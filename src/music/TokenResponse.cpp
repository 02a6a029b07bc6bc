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
        throw JsonError(tr("la réponse n'est pas un objet JSON"));
    // The listener reads these after "réponse invalide : ", so they are translated.
    const JsonFields fields(document.object(), QStringLiteral("token reply"));
    TokenResponse reply;
    try {
        reply.token = fields.string(QLatin1StringView("token"));
    } catch (const JsonError &) {
        throw JsonError(tr("la clé \"token\" manque ou n'est pas un texte"));
    }
    try {
        reply.expiresIn = fields.integer(QLatin1StringView("expiresIn"));
    } catch (const JsonError &) {
        throw JsonError(tr("la clé \"expiresIn\" manque ou n'est pas un entier"));
    }
    return reply;
}

} // namespace airnote
