// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "WebResponse.h"

#include "music/ServiceError.h"

#include <QCoro/QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QScopedPointer>
#include <QStringDecoder>

namespace airnote {

namespace {

// Errors numbered below 200 are the connection's and the proxy's; from 200 on
// they restate an HTTP status, which the caller judges itself.
bool isTransportFailure(QNetworkReply::NetworkError error)
{
    return error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied;
}

} // namespace

bool WebResponse::isSuccess() const
{
    return statusCode && *statusCode >= 200 && *statusCode <= 299;
}

QCoro::Task<WebResponse> sendRequest(QNetworkAccessManager *session, QNetworkRequest request, QByteArray verb,
                                     QByteArray body)
{
    // get() also reaches non-HTTP schemes, which know no custom verbs.
    const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(verb == "GET" ? session->get(request)
                                                                    : session->sendCustomRequest(request, verb, body));
    co_await reply.get();
    if (isTransportFailure(reply->error()))
        throw NetworkError(reply->errorString());
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid() && reply->error() != QNetworkReply::NoError)
        throw NetworkError(reply->errorString());
    co_return WebResponse{status.isValid() ? std::optional<int>(status.toInt()) : std::nullopt, reply->readAll()};
}

void validate(const WebResponse &response)
{
    if (!response.statusCode)
        throw ServiceError::apiError(0, QStringLiteral("non-HTTP response"));
    if (response.isSuccess())
        return;
    const std::optional<QString> text = response.data.isEmpty() ? std::nullopt : decodedUTF8(response.data);
    throw ServiceError::apiError(*response.statusCode, text.value_or(QStringLiteral("<binary or empty>")));
}

std::optional<QString> decodedUTF8(const QByteArray &data)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(data);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

} // namespace airnote
