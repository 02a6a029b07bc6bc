// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QUrl>
#include <QUrlQuery>

#include <chrono>
#include <functional>
#include <utility>

class QTcpSocket;

namespace airnote::fakes {

struct HttpRequest
{
    QByteArray method;
    QString path;       // decoded path, no query
    QUrlQuery query;
    QList<std::pair<QByteArray, QByteArray>> headers;  // names lower-cased, in arrival order
    QByteArray body;
    QHostAddress peer;

    // The value of the named header (any case), empty when absent.
    QByteArray header(const QByteArray &name) const;
    bool hasHeader(const QByteArray &name) const;
};

struct HttpReply
{
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json";
    std::chrono::milliseconds delay{0};
    bool hang = false;  // accept the request and never answer
    QByteArray location;  // a Location header, for redirects
    std::chrono::milliseconds trickle{0};  // when set, the body goes one byte per interval
    bool declaresLength = true;  // false: no Content-Length, the body ends with the connection

    static HttpReply json(int status, QByteArray body);
    static HttpReply text(int status, QByteArray body);
    static HttpReply hangForever();
    static HttpReply redirect(const QUrl &target);
};

// A small HTTP/1.1 responder on loopback for tests and the offline sandbox:
// every request is recorded, and a handler scripts the reply. One request per
// connection keeps it simple; Qt's network stack copes with that.
class LoopbackHttpServer : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<HttpReply(const HttpRequest &)>;

    explicit LoopbackHttpServer(QObject *parent = nullptr);
    ~LoopbackHttpServer() override;

    bool listen(const QHostAddress &address = QHostAddress::LocalHost, quint16 port = 0);
    quint16 port() const;
    // http://127.0.0.1:<port> followed by path.
    QUrl url(const QString &path = {}) const;

    void setHandler(Handler handler);
    const QList<HttpRequest> &requests() const;
    void clearRequests();

Q_SIGNALS:
    void requestReceived(const airnote::fakes::HttpRequest &request);

private:
    void onNewConnection();
    void onReadyRead(QTcpSocket *socket);
    void respond(QTcpSocket *socket, const HttpReply &reply);

    QTcpServer m_server;
    Handler m_handler;
    QList<HttpRequest> m_requests;
};

} // namespace airnote::fakes

Q_DECLARE_METATYPE(airnote::fakes::HttpReply)
