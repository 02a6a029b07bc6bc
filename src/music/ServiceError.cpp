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
    return ServiceError(Kind::tokenFetchFailed, tr("Token Apple Music indisponible : %1").arg(detail), detail);
}

ServiceError ServiceError::apiError(int status, QString body)
{
    return ServiceError(Kind::apiError, tr("API Apple Music erreur %1 : %2").arg(QString::number(status), body), body,
                        status);
}

ServiceError ServiceError::addFailed(QString detail)
{
    return ServiceError(Kind::addFailed, tr("Ajout impossible : %1").arg(detail), detail);
}

ServiceError ServiceError::notAuthorized()
{
    return ServiceError(Kind::notAuthorized, tr("Apple Music non autorisé"));
}

ServiceError ServiceError::noSubscription()
{
    return ServiceError(Kind::noSubscription, tr("Abonnement Apple Music requis"));
}

ServiceError ServiceError::noMatch()
{
    return ServiceError(Kind::noMatch, tr("Aucune correspondance trouvée"));
}

ServiceError ServiceError::playlistCreateFailed()
{
    return ServiceError(Kind::playlistCreateFailed, tr("Impossible de créer la playlist FIP"));
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
