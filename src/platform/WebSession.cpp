// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "WebSession.h"

#include "core/Endpoints.h"
#include "core/Error.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QScopedPointer>
#include <QTimer>

#include <chrono>

namespace airnote {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds defaultDeadline{60'000};
constexpr int maximumRedirects = 5;
const char *const refusalProperty = "airnoteRefusal";

QString origin(const QUrl &url)
{
    return url.adjusted(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveUserInfo)
        .toString(QUrl::FullyEncoded);
}

bool carriesCredentials(const QNetworkRequest &request)
{
    return request.hasRawHeader("Authorization") || request.hasRawHeader("Music-User-Token");
}

// Ends the transfer and keeps why, for response() to tell.
void refuse(QNetworkReply *reply, const QString &reason)
{
    if (reply->property(refusalProperty).isValid())
        return;
    reply->setProperty(refusalProperty, reason);
    reply->abort();
}

std::chrono::milliseconds deadlineOf(const QNetworkRequest &request, const QNetworkAccessManager &manager)
{
    if (request.transferTimeout() > 0)
        return std::chrono::milliseconds(request.transferTimeout());
    if (manager.transferTimeout() > 0)
        return std::chrono::milliseconds(manager.transferTimeout());
    return defaultDeadline;
}

// Errors numbered below 200 are the connection's and the proxy's; from 200 on
// they restate an HTTP status, which the caller judges itself.
bool isTransportFailure(QNetworkReply::NetworkError error)
{
    return error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied;
}

} // namespace

WebRequest::WebRequest(QNetworkRequest request, Kind kind, QByteArray verb, QByteArray body)
    : request(std::move(request))
    , kind(kind)
    , verb(std::move(verb))
    , body(std::move(body))
{
}

bool WebResponse::isSuccess() const
{
    return statusCode && *statusCode >= 200 && *statusCode <= 299;
}

WebSession::WebSession(QNetworkAccessManager *manager, QObject *parent)
    : QObject(parent)
    , m_manager(manager)
{
}

bool WebSession::mayFollowRedirect(const QUrl &original, const QUrl &from, const QUrl &to, bool carriesCredentials)
{
    if (from.scheme() == "https"_L1 && to.scheme() != "https"_L1)
        return false;
    if (!isAcceptableOverride(to))
        return false;
    return !carriesCredentials || origin(to) == origin(original);
}

QCoro::Task<WebResponse> WebSession::send(WebRequest request)
{
    const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(start(m_manager, request));
    m_inFlight.removeAll(nullptr);
    m_inFlight.append(reply.get());
    co_await reply.get();
    m_inFlight.removeAll(reply.get());
    co_return response(*reply);
}

QNetworkReply *WebSession::start(QNetworkAccessManager *manager, const WebRequest &request)
{
    QNetworkRequest policed = request.request;
    policed.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::UserVerifiedRedirectPolicy);
    policed.setMaximumRedirectsAllowed(maximumRedirects);
    // get() also reaches non-HTTP schemes, which know no custom verbs.
    QNetworkReply *reply = request.verb == "GET" ? manager->get(policed)
                                                 : manager->sendCustomRequest(policed, request.verb, request.body);

    const QUrl original = policed.url();
    const bool credentials = carriesCredentials(policed);
    QObject::connect(reply, &QNetworkReply::redirected, reply, [reply, original, credentials](const QUrl &target) {
        const QUrl to = reply->url().resolved(target);
        if (mayFollowRedirect(original, reply->url(), to, credentials))
            Q_EMIT reply->redirectAllowed();
        else
            refuse(reply, tr("redirection refusée vers %1").arg(origin(to)));
    });

    const qint64 cap = request.kind == WebRequest::Kind::image ? imageCap : documentCap;
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [reply, cap](qint64 received, qint64 total) {
        if (received > cap || total > cap)
            refuse(reply, tr("réponse trop volumineuse : plus de %1 Mo").arg(cap / (1024 * 1024)));
    });

    const std::chrono::milliseconds deadline = deadlineOf(policed, *manager);
    auto *timer = new QTimer(reply);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, reply, [reply, deadline] {
        refuse(reply, tr("délai dépassé : réponse incomplète après %1 s").arg(deadline.count() / 1000.0));
    });
    QObject::connect(reply, &QNetworkReply::finished, timer, &QTimer::stop);
    timer->start(deadline);
    return reply;
}

WebResponse WebSession::response(QNetworkReply &reply)
{
    if (const QVariant refusal = reply.property(refusalProperty); refusal.isValid())
        throw NetworkError(refusal.toString());
    if (isTransportFailure(reply.error()))
        throw NetworkError(reply.errorString());
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid() && reply.error() != QNetworkReply::NoError)
        throw NetworkError(reply.errorString());
    return WebResponse{status.isValid() ? std::optional<int>(status.toInt()) : std::nullopt, reply.readAll()};
}

void WebSession::abortAll()
{
    // Aborting resumes the waiters, which take their reply out of the list.
    const QList<QPointer<QNetworkReply>> inFlight = m_inFlight;
    for (const QPointer<QNetworkReply> &reply : inFlight) {
        if (reply)
            reply->abort();
    }
}

} // namespace airnote
