// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ServiceError.h"

namespace airnote {

ServiceError::ServiceError(Kind kind, QString message, QString detail, int status)
    : Error(std::move(message))
    , m_kind(kind)
    , m_detail(std::move(detail))
    , m_status(status)
{
}

ServiceError ServiceError::tokenFetchFailed(QString detail)
{
    return ServiceError(Kind::tokenFetchFailed, QStringLiteral("Token Apple Music indisponible : ") + detail, detail);
}

ServiceError ServiceError::apiError(int status, QString body)
{
    return ServiceError(Kind::apiError,
                        QStringLiteral("API Apple Music erreur %1 : ").arg(status) + body, body, status);
}

ServiceError ServiceError::addFailed(QString detail)
{
    return ServiceError(Kind::addFailed, QStringLiteral("Ajout impossible : ") + detail, detail);
}

ServiceError ServiceError::notAuthorized()
{
    return ServiceError(Kind::notAuthorized, QStringLiteral("Apple Music non autorisé"));
}

ServiceError ServiceError::noSubscription()
{
    return ServiceError(Kind::noSubscription, QStringLiteral("Abonnement Apple Music requis"));
}

ServiceError ServiceError::noMatch()
{
    return ServiceError(Kind::noMatch, QStringLiteral("Aucune correspondance trouvée"));
}

ServiceError ServiceError::playlistCreateFailed()
{
    return ServiceError(Kind::playlistCreateFailed, QStringLiteral("Impossible de créer la playlist FIP"));
}

ServiceError::Kind ServiceError::kind() const
{
    return m_kind;
}

QString ServiceError::detail() const
{
    return m_detail;
}

int ServiceError::status() const
{
    return m_status;
}

} // namespace airnote
