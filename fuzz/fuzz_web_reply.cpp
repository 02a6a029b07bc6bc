// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The network layer against any reply a server can send: the input's first
// byte chooses the request (credentials or not, document or image), the rest
// is written back as the raw HTTP reply, so status lines, headers, redirects,
// lengths and bodies all come from the fuzzer. A relative Location leads back
// to the same server, which answers the same again; a redirect the policy lets
// through to another host goes to a proxy that refuses at once, so the fuzzer
// never reaches the network.

#include "music/AppleMusicReplies.h"
#include "music/ServiceError.h"
#include "platform/WebSession.h"

#include "core/Error.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>
#include <QTcpServer>
#include <QTcpSocket>

#include <QCoro/QCoroTask>

#include <cstdlib>

namespace {

using namespace airnote;

class RawReplyServer : public QTcpServer
{
public:
    QByteArray reply;

    RawReplyServer()
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    if (!socket->peek(64 * 1024).contains("\r\n\r\n"))
                        return;
                    socket->readAll();
                    socket->write(reply);
                    socket->disconnectFromHost();
                });
            }
        });
    }
};

class LoopbackOnly : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        if (QHostAddress(query.peerHostName()).isLoopback())
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        return {QNetworkProxy(QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), 1)};
    }
};

struct Harness
{
    int argc = 1;
    char name[16] = "fuzz_web_reply";
    char *argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    QNetworkAccessManager network;
    RawReplyServer server;

    Harness()
    {
        // A reply that stops short must not hold an input for the default minute.
        network.setTransferTimeout(2000);
        network.setProxyFactory(new LoopbackOnly);
        if (!server.listen(QHostAddress::LocalHost))
            std::abort();
    }
};

QCoro::Task<> exchange(WebSession *session, WebRequest request)
{
    try {
        const WebResponse response = co_await session->send(std::move(request));
        const qint64 cap = request.kind == WebRequest::Kind::image ? WebSession::imageCap : WebSession::documentCap;
        if (response.data.size() > cap)
            std::abort();
        validate(response);
        decodedUTF8(response.data);
    } catch (const NetworkError &) {
    } catch (const ServiceError &) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Harness harness;
    if (size == 0)
        return 0;
    harness.server.reply = QByteArray(reinterpret_cast<const char *>(data) + 1, static_cast<qsizetype>(size - 1));

    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/v1/me/library").arg(harness.server.serverPort())));
    if (data[0] & 1) {
        request.setRawHeader("Authorization", "Bearer developer-token");
        request.setRawHeader("Music-User-Token", "user-token");
    }
    const auto kind = data[0] & 2 ? WebRequest::Kind::image : WebRequest::Kind::document;
    WebSession session(&harness.network);
    QCoro::waitFor(exchange(&session, WebRequest(request, kind)));
    return 0;
}
