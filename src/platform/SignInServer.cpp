// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SignInServer.h"

#include "core/Error.h"
#include "core/Logging.h"

#include <QCoreApplication>
#include <QCoroSignal>
#include <QDesktopServices>
#include <QFile>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QRandomGenerator>
#include <QTcpServer>

#include <memory>
#include <optional>

namespace airnote {

namespace {

using StatusCode = QHttpServerResponse::StatusCode;
using Method = QHttpServerRequest::Method;

constexpr int stateBytes = 32;
constexpr int nonceBytes = 16;
constexpr qsizetype longestReportedError = 300;

QByteArray randomBase64Url(int byteCount)
{
    QList<quint32> words(byteCount / int(sizeof(quint32)));
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    const QByteArray bytes(reinterpret_cast<const char *>(words.constData()), byteCount);
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QHttpServerResponse refuse(StatusCode status, const char *reason)
{
    qCInfo(musicLogger, "Sign-in request refused: %s", reason);
    return QHttpServerResponse(QByteArrayLiteral("text/plain; charset=utf-8"),
                               SignInServer::tr("Requête refusée.").toUtf8(), status);
}

// JSON that can sit inside a <script> element: '<' could close it, and the
// escapes are plain JSON string escapes, so JSON.parse gives back the same text.
QByteArray scriptSafeJson(const QJsonObject &object)
{
    return QJsonDocument(object)
        .toJson(QJsonDocument::Compact)
        .replace('<', "\\u003c")
        .replace('>', "\\u003e")
        .replace('&', "\\u0026");
}

QByteArray contentSecurityPolicy(const QByteArray &nonce)
{
    const QByteArray nonceSource = "'nonce-" + nonce + "'";
    return "default-src 'none'; script-src " + nonceSource + " https://js-cdn.music.apple.com; style-src "
        + nonceSource
        + "; connect-src 'self' https://*.apple.com; frame-src https://*.apple.com; base-uri 'none'; "
          "form-action 'none'; frame-ancestors 'none'";
}

bool isJsonContentType(const QByteArray &contentType)
{
    return contentType.split(';').constFirst().trimmed().toLower() == "application/json";
}

std::optional<SignInResult> resultFromReport(const QJsonObject &report)
{
    using Outcome = SignInResult::Outcome;
    const QString token = report.value(u"musicUserToken").toString();
    if (!token.isEmpty())
        return SignInResult{Outcome::authorized, token, {}};
    if (report.value(u"declined").toBool())
        return SignInResult{Outcome::declined, {}, {}};
    const QString error = report.value(u"error").toString().left(longestReportedError);
    if (!error.isEmpty())
        return SignInResult{Outcome::failed, {}, QStringLiteral("Connexion à Apple Music impossible : %1").arg(error)};
    return std::nullopt;
}

void logOutcome(const SignInResult &result)
{
    switch (result.outcome) {
    case SignInResult::Outcome::authorized:
        qCInfo(musicLogger, "Apple Music sign-in authorized");
        break;
    case SignInResult::Outcome::declined:
        qCInfo(musicLogger, "Apple Music sign-in declined");
        break;
    case SignInResult::Outcome::timedOut:
        qCInfo(musicLogger, "Apple Music sign-in timed out");
        break;
    case SignInResult::Outcome::failed:
        qCCritical(musicLogger, "Apple Music sign-in failed: %s", qUtf8Printable(result.failureDescription));
        break;
    }
}

} // namespace

SignInServer::SignInServer(std::chrono::milliseconds timeout, QObject *parent)
    : QObject(parent)
    , m_timeout(timeout)
{
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        finish(SignInResult{SignInResult::Outcome::timedOut, {}, {}});
    });
    m_http.route("/", [this](const QHttpServerRequest &request) { return servePage(request); });
    m_http.route("/callback", [this](const QHttpServerRequest &request) { return acceptCallback(request); });
    m_http.afterRequest([](QHttpServerResponse &&response) {
        response.setHeader("Cache-Control", "no-store");
        response.setHeader("Referrer-Policy", "no-referrer");
        response.setHeader("X-Content-Type-Options", "nosniff");
        return std::move(response);
    });
}

QCoro::Task<SignInResult> SignInServer::run(QString developerToken, BrowserOpener openBrowser)
{
    if (!m_running) {
        startListening();
        m_developerToken = std::move(developerToken);
        m_state = QString::fromLatin1(randomBase64Url(stateBytes));
        m_running = true;
        m_deadline.start(m_timeout);
        qCInfo(musicLogger, "Apple Music sign-in page served on port %d", int(m_listener->serverPort()));
        openBrowser(QUrl(QString::fromLatin1(m_origin + "/?state=") + m_state));
    }
    co_return co_await qCoro(this, &SignInServer::finished);
}

void SignInServer::openInSystemBrowser(QUrl url)
{
    if (!QDesktopServices::openUrl(url))
        qCCritical(musicLogger, "Could not open the system browser for the Apple Music sign-in");
}

void SignInServer::startListening()
{
    // A closed listener stays, with its connections, until this object goes:
    // deleting it could cut a last reply that is not flushed yet.
    auto listener = std::make_unique<QTcpServer>(&m_http);
    if (!listener->listen(QHostAddress::LocalHost, 0)) {
        const QString reason = listener->errorString();
        qCCritical(musicLogger, "Sign-in server could not listen: %s", qUtf8Printable(reason));
        throw NetworkError(QStringLiteral("réseau : %1").arg(reason));
    }
    m_listener = listener.release();
    m_http.bind(m_listener);
    m_origin = "http://127.0.0.1:" + QByteArray::number(m_listener->serverPort());
}

QHttpServerResponse SignInServer::servePage(const QHttpServerRequest &request) const
{
    if (!isAddressedToThisServer(request))
        return refuse(StatusCode::Forbidden, "foreign peer or host");
    if (request.method() != Method::Get)
        return refuse(StatusCode::MethodNotAllowed, "wrong method for the page");
    if (!isCurrentState(request.query().queryItemValue(QStringLiteral("state"))))
        return refuse(StatusCode::Forbidden, "wrong state for the page");
    const QByteArray nonce = randomBase64Url(nonceBytes);
    QHttpServerResponse response(QByteArrayLiteral("text/html; charset=utf-8"), renderPage(nonce));
    response.setHeader("Content-Security-Policy", contentSecurityPolicy(nonce));
    return response;
}

QHttpServerResponse SignInServer::acceptCallback(const QHttpServerRequest &request)
{
    if (!isAddressedToThisServer(request))
        return refuse(StatusCode::Forbidden, "foreign peer or host");
    if (request.method() != Method::Post)
        return refuse(StatusCode::MethodNotAllowed, "wrong method for the callback");
    // Browsers send Origin on every fetch POST; its absence means it did not come from the page.
    if (request.value("Origin") != m_origin)
        return refuse(StatusCode::Forbidden, "wrong origin");
    if (!isJsonContentType(request.value("Content-Type")))
        return refuse(StatusCode::UnsupportedMediaType, "not JSON");
    const QJsonDocument document = QJsonDocument::fromJson(request.body());
    if (!document.isObject())
        return refuse(StatusCode::BadRequest, "malformed callback");
    const QJsonObject report = document.object();
    if (!isCurrentState(report.value(u"state").toString()))
        return refuse(StatusCode::Forbidden, "wrong state for the callback");
    const std::optional<SignInResult> result = resultFromReport(report);
    if (!result)
        return refuse(StatusCode::BadRequest, "callback without an outcome");
    finish(*result);
    return QHttpServerResponse(StatusCode::NoContent);
}

QByteArray SignInServer::renderPage(const QByteArray &nonce) const
{
    QFile templateFile(QStringLiteral(":/airnote/signin.html"));
    templateFile.open(QIODevice::ReadOnly);
    const QString signingIn = tr("Connexion à Apple Music…");
    // What the page's script shows as the sign-in goes on; "%1" is filled in there.
    const QJsonObject texts{
        {QStringLiteral("signingIn"), signingIn},
        {QStringLiteral("consent"), tr("Autorisez Airnote à ajouter des morceaux à votre bibliothèque Apple Music.")},
        {QStringLiteral("connected"), tr("Connecté. Vous pouvez fermer cet onglet.")},
        {QStringLiteral("declined"), tr("Connexion refusée.")},
        {QStringLiteral("error"), tr("Erreur : %1")},
        {QStringLiteral("answerRefused"), tr("Airnote a refusé la réponse (%1).")},
        {QStringLiteral("musicKitMissing"), tr("MusicKit n'a pas pu être chargé. Vérifiez la connexion à Internet.")},
    };
    const QJsonObject configuration{
        {QStringLiteral("developerToken"), m_developerToken},
        {QStringLiteral("state"), m_state},
        {QStringLiteral("build"), QCoreApplication::applicationVersion()},
        {QStringLiteral("texts"), texts},
    };
    const auto html = [](const QString &text) { return text.toHtmlEscaped().toUtf8(); };
    // The configuration goes in last so nothing in the token is taken for a placeholder.
    return templateFile.readAll()
        .replace("{{language}}", html(tr("fr", "the language code of the sign-in page")))
        .replace("{{title}}", html(tr("Airnote – Connexion à Apple Music")))
        .replace("{{signingIn}}", html(signingIn))
        .replace("{{signIn}}", html(tr("Se connecter à Apple Music")))
        .replace("{{scriptNonce}}", nonce)
        .replace("{{configuration}}", scriptSafeJson(configuration));
}

bool SignInServer::isAddressedToThisServer(const QHttpServerRequest &request) const
{
    // The Host check turns away pages that reach the port through a rebound DNS name.
    return request.remoteAddress().isLoopback() && "http://" + request.value("Host") == m_origin;
}

bool SignInServer::isCurrentState(const QString &candidate) const
{
    return !m_state.isEmpty() && candidate == m_state;
}

void SignInServer::finish(SignInResult result)
{
    m_deadline.stop();
    m_listener->close();
    m_state.clear();
    m_developerToken.clear();
    m_running = false;
    logOutcome(result);
    Q_EMIT finished(result);
}

} // namespace airnote
