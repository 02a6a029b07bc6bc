// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TokenServer.h"

#include "core/Error.h"
#include "core/Logging.h"

#include <QJsonObject>
#include <QTcpServer>

#include <memory>

namespace airnote {

namespace {

const QString tokenPath = QStringLiteral("/api/token");

QHttpServerResponse methodNotAllowed()
{
    QHttpServerResponse response(QHttpServerResponse::StatusCode::MethodNotAllowed);
    response.setHeader("Allow", "GET");
    return response;
}

} // namespace

TokenServer::TokenServer(TokenCache &cache, QObject *parent)
    : QObject(parent)
    , m_cache(cache)
{
    // Rules are tried in order, so the catch-all for other methods comes second.
    m_httpServer.route(tokenPath, QHttpServerRequest::Method::Get, [this] { return tokenReply(); });
    m_httpServer.route(tokenPath, QHttpServerRequest::Method::AnyKnown, [] { return methodNotAllowed(); });
}

quint16 TokenServer::listen(const QHostAddress &address, quint16 port)
{
    // Our own QTcpServer, because QHttpServer::listen() hides the reason of a failure.
    auto tcpServer = std::make_unique<QTcpServer>();
    if (!tcpServer->listen(address, port))
        throw NetworkError(QStringLiteral("Cannot listen on %1 port %2: %3")
                               .arg(address.toString())
                               .arg(port)
                               .arg(tcpServer->errorString()));
    const quint16 boundPort = tcpServer->serverPort();
    tcpServer->setParent(&m_httpServer);
    m_httpServer.bind(tcpServer.release());
    return boundPort;
}

QHttpServerResponse TokenServer::tokenReply()
{
    try {
        const ServedToken served = m_cache.current();
        QHttpServerResponse response(QJsonObject{{QStringLiteral("token"), QString::fromLatin1(served.token)},
                                                 {QStringLiteral("expiresIn"), served.expiresIn}});
        response.setHeader("Cache-Control", "no-store");
        return response;
    } catch (const Error &error) {
        qCCritical(musicLogger).noquote() << error.localizedDescription();
        return QHttpServerResponse(QHttpServerResponse::StatusCode::InternalServerError);
    }
}

} // namespace airnote
