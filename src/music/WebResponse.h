// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include "core/Coroutines.h"
#include <QNetworkRequest>
#include <QString>

#include <optional>

class QNetworkAccessManager;

namespace airnote {

// What came back for a request: the HTTP status, absent when the reply is not
// HTTP (a file: address, for instance), and the body.
struct WebResponse
{
    std::optional<int> statusCode;
    QByteArray data;

    bool isSuccess() const;
};

// Sends the request through session and waits for the whole reply. A transfer
// that fails below HTTP (refused, timed out, TLS) throws NetworkError; an HTTP
// error status is a response like any other.
QCoro::Task<WebResponse> sendRequest(QNetworkAccessManager *session, QNetworkRequest request, QByteArray verb,
                                     QByteArray body = {});

// Throws ServiceError::apiError unless the response is HTTP with a 2xx status.
void validate(const WebResponse &response);

// The data as UTF-8 text, or nothing when it is not valid UTF-8.
std::optional<QString> decodedUTF8(const QByteArray &data);

} // namespace airnote
