// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "LoopbackHttpServer.h"

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

namespace airnote::fakes {

namespace {

constexpr qsizetype maximumRequestSize = 4 * 1024 * 1024;

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 201: return "Created";
    case 202: return "Accepted";
    case 204: return "No Content";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 500: return "Internal Server Error";
    case 503: return "Service Unavailable";
    default: return "Status";
    }
}

// Parses a complete request from buffer, or returns false while more bytes are due.
bool parseRequest(const QByteArray &buffer, HttpRequest &request)
{
    const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return false;
    const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    request.method = requestLine.value(0);
    const QUrl target(QString::fromLatin1(requestLine.value(1)));
    request.path = target.path();
    request.query = QUrlQuery(target);
    qsizetype contentLength = 0;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray &line = lines.at(i);
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            continue;
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        request.headers.append({name, value});
        if (name == "content-length")
            contentLength = value.toLongLong();
    }
    const qsizetype bodyStart = headerEnd + 4;
    if (buffer.size() - bodyStart < contentLength)
        return false;
    request.body = buffer.mid(bodyStart, contentLength);
    return true;
}

} // namespace

QByteArray HttpRequest::header(const QByteArray &name) const
{
    const QByteArray wanted = name.toLower();
    for (const auto &[key, value] : headers) {
        if (key == wanted)
            return value;
    }
    return {};
}

bool HttpRequest::hasHeader(const QByteArray &name) const
{
    const QByteArray wanted = name.toLower();
    return std::any_of(headers.cbegin(), headers.cend(), [&](const auto &pair) { return pair.first == wanted; });
}

HttpReply HttpReply::json(int status, QByteArray body)
{
    return HttpReply{.status = status, .body = std::move(body)};
}

HttpReply HttpReply::text(int status, QByteArray body)
{
    return HttpReply{.status = status, .body = std::move(body), .contentType = "text/plain; charset=utf-8"};
}

HttpReply HttpReply::hangForever()
{
    return HttpReply{.hang = true};
}

HttpReply HttpReply::redirect(const QUrl &target)
{
    return HttpReply{.status = 302, .location = target.toEncoded()};
}

LoopbackHttpServer::LoopbackHttpServer(QObject *parent)
    : QObject(parent)
    , m_handler([](const HttpRequest &) { return HttpReply::text(404, "not found"); })
{
    connect(&m_server, &QTcpServer::newConnection, this, &LoopbackHttpServer::onNewConnection);
}

LoopbackHttpServer::~LoopbackHttpServer() = default;

bool LoopbackHttpServer::listen(const QHostAddress &address, quint16 port)
{
    return m_server.listen(address, port);
}

quint16 LoopbackHttpServer::port() const
{
    return m_server.serverPort();
}

QUrl LoopbackHttpServer::url(const QString &path) const
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(QStringLiteral("127.0.0.1"));
    url.setPort(port());
    url.setPath(path);
    return url;
}

void LoopbackHttpServer::setHandler(Handler handler)
{
    m_handler = std::move(handler);
}

const QList<HttpRequest> &LoopbackHttpServer::requests() const
{
    return m_requests;
}

void LoopbackHttpServer::clearRequests()
{
    m_requests.clear();
}

void LoopbackHttpServer::onNewConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void LoopbackHttpServer::onReadyRead(QTcpSocket *socket)
{
    QByteArray buffer = socket->property("airnoteBuffer").toByteArray() + socket->readAll();
    if (buffer.size() > maximumRequestSize) {
        socket->abort();
        return;
    }
    HttpRequest request;
    if (!parseRequest(buffer, request)) {
        socket->setProperty("airnoteBuffer", buffer);
        return;
    }
    socket->setProperty("airnoteBuffer", QByteArray());
    disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
    request.peer = socket->peerAddress();
    m_requests.append(request);
    Q_EMIT requestReceived(request);

    const HttpReply reply = m_handler(request);
    if (reply.hang)
        return;
    if (reply.delay.count() > 0) {
        QTimer::singleShot(reply.delay, socket, [this, socket, reply] { respond(socket, reply); });
        return;
    }
    respond(socket, reply);
}

void LoopbackHttpServer::respond(QTcpSocket *socket, const HttpReply &reply)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + reasonPhrase(reply.status) + "\r\n";
    if (!reply.body.isEmpty() || reply.status != 204)
        head += "Content-Type: " + reply.contentType + "\r\n";
    if (!reply.location.isEmpty())
        head += "Location: " + reply.location + "\r\n";
    if (reply.declaresLength)
        head += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n";
    head += "Connection: close\r\n\r\n";
    if (reply.trickle.count() == 0) {
        socket->write(head + reply.body);
        socket->disconnectFromHost();
        return;
    }
    socket->write(head);
    auto *pace = new QTimer(socket);
    connect(pace, &QTimer::timeout, socket, [socket, pace, body = reply.body, sent = qsizetype(0)]() mutable {
        if (sent < body.size()) {
            socket->write(body.mid(sent++, 1));
            return;
        }
        pace->stop();
        socket->disconnectFromHost();
    });
    pace->start(reply.trickle);
}

} // namespace airnote::fakes
