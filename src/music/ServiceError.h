// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "core/Error.h"

#include <QCoreApplication>

namespace airnote {

// The Apple Music service's own failures, each with the message the listener
// sees, in the interface's language.
class ServiceError : public Error
{
    Q_DECLARE_TR_FUNCTIONS(airnote::ServiceError)

public:
    enum class Kind { tokenFetchFailed, apiError, addFailed, notAuthorized, noSubscription, noMatch, playlistCreateFailed };

    static ServiceError tokenFetchFailed(QString detail);
    static ServiceError apiError(int status, QString body);
    static ServiceError addFailed(QString detail);
    static ServiceError notAuthorized();
    static ServiceError noSubscription();
    static ServiceError noMatch();
    static ServiceError playlistCreateFailed();

    Kind kind() const;
    // The detail of tokenFetchFailed and addFailed, the body of apiError.
    QString detail() const;
    // The HTTP status of apiError, 0 for the other kinds.
    int status() const;

private:
    ServiceError(Kind kind, QString message, QString detail = {}, int status = 0);

    Kind m_kind;
    QString m_detail;
    int m_status;
};

} // namespace airnote
