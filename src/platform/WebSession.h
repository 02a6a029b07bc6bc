// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "core/Coroutines.h"

#include <QByteArray>
#include <QList>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>

#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace airnote {

// One request to send. A class rather than an aggregate, so that it may be
// built inside a co_await statement (core/Coroutines.h).
class WebRequest
{
public:
    // What the body may hold, which sets how large it may grow.
    enum class Kind { document, image };

    explicit WebRequest(QNetworkRequest request, Kind kind = Kind::document, QByteArray verb = "GET",
                        QByteArray body = {});

    QNetworkRequest request;
    Kind kind;
    QByteArray verb;
    QByteArray body;
};

// What came back: the HTTP status, absent when the reply is not HTTP (a file:
// address, for instance), and the body.
struct WebResponse
{
    std::optional<int> statusCode;
    QByteArray data;

    bool isSuccess() const;
};

// The one way out to the network, and the policy every transfer follows:
// - redirects never lead from https to http, nor to plain http off loopback;
//   a request carrying credentials ("Authorization", "Music-User-Token")
//   follows them only within its own origin;
// - the whole transfer has a deadline (the request's transfer timeout, else
//   the manager's, else 60 s), so a server trickling bytes cannot hold it;
// - the body has a cap by kind, and the transfer stops as soon as it is crossed.
// A transfer that fails below HTTP, or that the policy cuts, ends in
// NetworkError; an HTTP error status is a response like any other.
class WebSession : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 documentCap = 4 * 1024 * 1024;
    static constexpr qint64 imageCap = 16 * 1024 * 1024;

    explicit WebSession(QNetworkAccessManager *manager, QObject *parent = nullptr);

    // Sends the request and waits for the whole reply.
    QCoro::Task<WebResponse> send(WebRequest request);

    // For a caller that cannot await, such as an item that may go away first:
    // the reply is the caller's, and response() judges it once finished.
    static QNetworkReply *start(QNetworkAccessManager *manager, const WebRequest &request);
    // The finished reply's response; throws NetworkError as above.
    static WebResponse response(QNetworkReply &reply);

    // Whether a transfer that started at original, and is now at from, goes on to to.
    static bool mayFollowRedirect(const QUrl &original, const QUrl &from, const QUrl &to, bool carriesCredentials);

    // Aborts the transfers in flight: their send() ends at once, in NetworkError.
    // An owner going away calls it first, while what those coroutines touch still lives.
    void abortAll();

private:
    QNetworkAccessManager *m_manager;
    QList<QPointer<QNetworkReply>> m_inFlight;
};

} // namespace airnote
