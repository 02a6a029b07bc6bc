// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TokenServer.h"

#include "tokenserver/BoundedTcpServer.h"

#include "core/Error.h"
#include "core/Logging.h"

#include <QJsonObject>
#include <QUrl>

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

TokenServer::TokenServer(TokenCache &cache, QStringList hostNames, QObject *parent)
    : QObject(parent)
    , m_cache(cache)
    , m_hostNames(std::move(hostNames))
{
    // Rules are tried in order, so the catch-all for other methods comes second.
    m_httpServer.route(tokenPath, QHttpServerRequest::Method::Get,
                       [this](const QHttpServerRequest &request) { return tokenReply(request); });
    m_httpServer.route(tokenPath, QHttpServerRequest::Method::AnyKnown, [] { return methodNotAllowed(); });
}

quint16 TokenServer::listen(const QHostAddress &address, quint16 port)
{
    // Our own QTcpServer, because QHttpServer::listen() hides the reason of a failure.
    auto tcpServer = std::make_unique<BoundedTcpServer>();
    if (!tcpServer->listen(address, port))
        throw NetworkError(QStringLiteral("Cannot listen on %1 port %2: %3")
                               .arg(address.toString())
                               .arg(port)
                               .arg(tcpServer->errorString()));
    const quint16 boundPort = tcpServer->serverPort();
    m_address = address;
    tcpServer->setParent(&m_httpServer);
    m_httpServer.bind(tcpServer.release());
    return boundPort;
}

bool TokenServer::servesHost(const QByteArray &hostHeader) const
{
    const QUrl asUrl(QStringLiteral("http://") + QString::fromLatin1(hostHeader));
    const QString host = asUrl.host();
    if (!asUrl.isValid() || host.isEmpty() || !asUrl.userInfo().isEmpty() || !asUrl.path().isEmpty())
        return false;
    if (host == QStringLiteral("localhost") || m_hostNames.contains(host, Qt::CaseInsensitive))
        return true;
    // An address is no rebinding: a page can only name one by its own origin.
    const QHostAddress named(host);
    if (named.isNull())
        return false;
    const bool servesEveryAddress = m_address == QHostAddress::Any || m_address == QHostAddress::AnyIPv4
        || m_address == QHostAddress::AnyIPv6;
    return servesEveryAddress || named.isEqual(m_address, QHostAddress::ConvertV4MappedToIPv4);
}

QHttpServerResponse TokenServer::tokenReply(const QHttpServerRequest &request)
{
    const QByteArray host = request.value("Host");
    if (!servesHost(host)) {
        qCWarning(musicLogger).noquote() << "Refused a token request for host" << QString::fromLatin1(host.left(100));
        return QHttpServerResponse(QHttpServerResponse::StatusCode::MisdirectedRequest);
    }
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
