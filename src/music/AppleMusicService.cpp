// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "AppleMusicService.h"

#include "music/AppleMusicReplies.h"
#include "music/MatchScoring.h"
#include "music/ServiceError.h"
#include "music/TokenResponse.h"
#include "core/Logging.h"
#include "core/UrlPaths.h"
#include "platform/MusicUserTokenProvider.h"
#include "core/Settings.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace airnote {

namespace {

constexpr qint64 tokenSafetyMarginSeconds = 300;
constexpr qint64 minimumTokenLifetimeSeconds = 60;
constexpr qint64 tokenReuseMarginSeconds = 60;
constexpr qsizetype bodyExcerptLength = 200;
constexpr int catalogSearchLimit = 15;
constexpr int playlistPageSize = 100;
// Apple answers 401 for a developer token it refuses, 403 for a music user token.
constexpr int developerTokenRejectedStatus = 401;
constexpr int userTokenRejectedStatus = 403;

const QString playlistKey = QStringLiteral("fipPlaylistID");
const QString playlistName = QStringLiteral("FIP");
const QString playlistsPath = QStringLiteral("/v1/me/library/playlists");
const QString defaultStorefront = QStringLiteral("fr");
const QByteArray httpGet("GET");
const QByteArray httpPost("POST");

// Identifiers go into request paths unescaped, so only these characters may pass.
bool isSafePathSegment(const QString &identifier)
{
    static const QRegularExpression safe(QStringLiteral(R"(^[A-Za-z0-9._-]+$)"));
    return safe.match(identifier).hasMatch();
}

// The first characters of text as the listener perceives them, never half a one.
QString excerpt(const QString &text, qsizetype characters)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype counted = 0; counted < characters; ++counted) {
        if (finder.toNextBoundary() == -1)
            return text;
    }
    return text.left(finder.position());
}

QByteArray bearer(const QString &developerToken)
{
    return "Bearer " + developerToken.toUtf8();
}

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// The listener reads the description in Apple Music, in the language of the day the playlist was made.
QByteArray playlistCreationBody()
{
    const QString description = AppleMusicService::tr("Capté depuis Radio France FIP via Airnote");
    return json({{QStringLiteral("attributes"),
                  QJsonObject{{QStringLiteral("name"), playlistName}, {QStringLiteral("description"), description}}}});
}

QString networkDetail(const QString &reason)
{
    return AppleMusicService::tr("réseau : %1").arg(reason);
}

QByteArray trackBody(const QString &songID)
{
    return json({{QStringLiteral("data"),
                  QJsonArray{QJsonObject{{QStringLiteral("id"), songID}, {QStringLiteral("type"), QStringLiteral("songs")}}}}});
}

// Apple reads '+' as a blank in the term, so a literal '+' must travel encoded.
QUrlQuery searchQuery(const QString &term)
{
    QUrlQuery query(QString::fromLatin1("term=" + QUrl::toPercentEncoding(term).replace("%20", "+")));
    query.addQueryItem(QStringLiteral("types"), QStringLiteral("songs"));
    query.addQueryItem(QStringLiteral("limit"), QString::number(catalogSearchLimit));
    return query;
}

} // namespace

AppleMusicService::AppleMusicService(QNetworkAccessManager *session, MusicAuthorization *authorization,
                                     MusicUserTokenProvider *userTokens, QObject *parent)
    : AppleMusicService(session, authorization, userTokens, Configuration{}, parent)
{
}

AppleMusicService::AppleMusicService(QNetworkAccessManager *session, MusicAuthorization *authorization,
                                     MusicUserTokenProvider *userTokens, Configuration configuration, QObject *parent)
    : QObject(parent)
    , m_web(session)
    , m_authorization(authorization)
    , m_authStatus(authorization->currentStatus())
    , m_userTokens(userTokens)
    , m_configuration(std::move(configuration))
    , m_settings(openSettings(m_configuration.settingsFile))
{
    connect(authorization, &MusicAuthorization::statusChanged, this,
            [this] { setAuthStatus(m_authorization->currentStatus()); });
}

AppleMusicService::~AppleMusicService() = default;

const std::optional<AppleMusicService::CachedToken> &AppleMusicService::cachedDeveloperToken() const
{
    return m_cachedDeveloperToken;
}

MusicAuthorization::Status AppleMusicService::authStatus() const
{
    return m_authStatus;
}

void AppleMusicService::setAuthStatus(MusicAuthorization::Status status)
{
    if (status == m_authStatus)
        return;
    m_authStatus = status;
    Q_EMIT authStatusChanged();
}

QCoro::Task<QString> AppleMusicService::developerToken()
{
    if (m_cachedDeveloperToken
        && m_cachedDeveloperToken->expiresAt > m_configuration.clock().addSecs(tokenReuseMarginSeconds)) {
        // A const copy, or QCoro would move the cache out (core/Coroutines.h).
        const QString cached = m_cachedDeveloperToken->token;
        co_return cached;
    }

    qCInfo(musicLogger) << "fetching developer token from backend";
    const WebResponse response = co_await requestDeveloperToken();
    if (!response.isSuccess()) {
        const QString body = decodedUTF8(response.data).value_or(QString());
        throw ServiceError::tokenFetchFailed(QStringLiteral("HTTP %1 — ").arg(response.statusCode.value_or(0))
                                             + excerpt(body, bodyExcerptLength));
    }
    TokenResponse reply;
    try {
        reply = TokenResponse::decode(response.data);
    } catch (const JsonError &error) {
        throw ServiceError::tokenFetchFailed(tr("réponse invalide : %1").arg(error.localizedDescription()));
    }
    const double lifetimeSeconds = std::max(static_cast<double>(reply.expiresIn - tokenSafetyMarginSeconds),
                                            static_cast<double>(minimumTokenLifetimeSeconds));
    m_cachedDeveloperToken = CachedToken{
        .token = reply.token,
        .expiresAt = m_configuration.clock().addMSecs(static_cast<qint64>(lifetimeSeconds * 1000.0)),
    };
    co_return reply.token;
}

QCoro::Task<WebResponse> AppleMusicService::requestDeveloperToken()
{
    if (m_configuration.tokenURL.isEmpty())
        throw ServiceError::tokenFetchFailed(networkDetail(tr("aucun serveur de jetons n'est configuré")));
    QNetworkRequest request(m_configuration.tokenURL);
    request.setRawHeader("Accept", "application/json");
    request.setTransferTimeout(static_cast<int>(m_configuration.requestTimeout.count()));
    try {
        co_return co_await m_web.send(WebRequest(request));
    } catch (const NetworkError &error) {
        throw ServiceError::tokenFetchFailed(networkDetail(error.localizedDescription()));
    }
}

QCoro::Task<QNetworkRequest> AppleMusicService::authorized(QNetworkRequest request)
{
    const QString developer = co_await developerToken();
    request.setRawHeader("Authorization", bearer(developer));
    const QString user = co_await userToken(developer);
    request.setRawHeader("Music-User-Token", user.toUtf8());
    co_return request;
}

QCoro::Task<QString> AppleMusicService::userToken(QString developerToken)
{
    co_return co_await m_userTokens->userToken(developerToken);
}

QCoro::Task<QList<CatalogMatch>> AppleMusicService::searchMatches(QString artist, QString title)
{
    const MusicAuthorization::Status status = m_authStatus;
    if (status != MusicAuthorization::Status::authorized) {
        qCCritical(musicLogger, "search blocked: not authorized (status=%s)", qUtf8Printable(MusicAuthorization::text(status)));
        throw ServiceError::notAuthorized();
    }
    const QString term = artist + QLatin1Char(' ') + title;
    qCInfo(musicLogger, "search term=%s", qUtf8Printable(term));
    QList<Song> songs;
    try {
        songs = co_await searchCatalog(term);
    } catch (const Error &error) {
        qCCritical(musicLogger, "search throw: %s", qUtf8Printable(error.localizedDescription()));
        throw;
    }
    qCInfo(musicLogger, "search returned %lld songs", static_cast<long long>(songs.size()));
    if (songs.isEmpty())
        co_return {};
    const QList<CatalogMatch> matches = scoreMatches(artist, title, songs);
    qCInfo(musicLogger, "returning %lld matches >= 0.5", static_cast<long long>(matches.size()));
    co_return matches;
}

QCoro::Task<QList<Song>> AppleMusicService::searchCatalog(QString term)
{
    const QString storefrontID = co_await storefront();
    const QString developer = co_await developerToken();
    QNetworkRequest request = apiRequest(QStringLiteral("/v1/catalog/%1/search").arg(storefrontID), searchQuery(term));
    request.setRawHeader("Authorization", bearer(developer));
    const WebResponse response = co_await m_web.send(WebRequest(request));
    forgetRefusedDeveloperToken(response);
    validate(response);
    co_return catalogSongs(response.data);
}

QString AppleMusicService::knownStorefront() const
{
    return m_storefront.value_or(defaultStorefront);
}

QCoro::Task<QString> AppleMusicService::storefront()
{
    if (m_storefront) {
        const QString remembered = *m_storefront;  // a const copy, as above
        co_return remembered;
    }
    QByteArray reply;
    try {
        reply = co_await sendValidated(apiRequest(QStringLiteral("/v1/me/storefront")), httpGet);
    } catch (const MusicUserTokenProvider::Unavailable &) {
        // Without a listener, the catalog is read in the French storefront, and
        // the question is asked again next time.
        co_return defaultStorefront;
    }
    const std::optional<QString> found = firstResourceID(reply);
    if (!found || !isSafePathSegment(*found))
        throw JsonError(tr("vitrine Apple Music illisible dans la réponse"));
    m_storefront = found;
    co_return *found;
}

QCoro::Task<> AppleMusicService::addSong(Song song)
{
    if (m_authStatus != MusicAuthorization::Status::authorized)
        throw ServiceError::notAuthorized();
    co_await addToLibrary(song.id);
    co_await addToPlaylist(song.id);
}

QCoro::Task<> AppleMusicService::addToLibrary(QString songID)
{
    co_await sendValidated(libraryAdditionRequest(songID), httpPost);
}

QCoro::Task<> AppleMusicService::addToPlaylist(QString songID)
{
    const QByteArray body = trackBody(songID);
    QString playlist = co_await ensurePlaylist();
    try {
        co_await sendValidated(trackAdditionRequest(playlist), httpPost, body);
        co_return;
    } catch (const ServiceError &error) {
        if (error.kind() != ServiceError::Kind::apiError || error.status() != 404)
            throw;
    }
    // The remembered playlist is gone: resolve it again, once.
    forgetPlaylist();
    playlist = co_await ensurePlaylist();
    co_await sendValidated(trackAdditionRequest(playlist), httpPost, body);
}

QCoro::Task<QString> AppleMusicService::ensurePlaylist()
{
    const QVariant stored = m_settings->value(playlistKey);
    if (stored.isValid()) {
        const QString storedID = stored.toString();
        if (!isSafePathSegment(storedID)) {
            forgetPlaylist();
            throw ConfigurationError(tr("L'identifiant de playlist FIP enregistré était invalide ; "
                                        "il a été effacé, réessayez"));
        }
        const WebResponse check = co_await sendAuthorized(apiRequest(playlistsPath + u'/' + storedID), httpGet);
        if (check.statusCode == 200)
            co_return storedID;
        forgetPlaylist();
    }
    const std::optional<QString> found = co_await findPlaylist(playlistName);
    if (found)
        co_return rememberPlaylist(*found);
    const QByteArray reply = co_await sendValidated(jsonRequest(playlistsPath), httpPost, playlistCreationBody());
    const std::optional<QString> created = firstResourceID(reply);
    if (!created)
        throw ServiceError::playlistCreateFailed();
    co_return rememberPlaylist(*created);
}

QCoro::Task<std::optional<QString>> AppleMusicService::findPlaylist(QString name)
{
    const QByteArray reply = co_await sendValidated(playlistListRequest(), httpGet);
    co_return playlistIDNamed(reply, name);
}

QNetworkRequest AppleMusicService::apiRequest(const QString &path, const QUrlQuery &query) const
{
    QUrl url = withPathAppended(m_configuration.apiBase, path);
    url.setQuery(query);
    QNetworkRequest request(url);
    request.setTransferTimeout(static_cast<int>(m_configuration.requestTimeout.count()));
    return request;
}

QNetworkRequest AppleMusicService::libraryAdditionRequest(const QString &songID) const
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("ids[songs]"), songID);
    return apiRequest(QStringLiteral("/v1/me/library"), query);
}

QNetworkRequest AppleMusicService::playlistListRequest() const
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("limit"), QString::number(playlistPageSize));
    return apiRequest(playlistsPath, query);
}

QNetworkRequest AppleMusicService::trackAdditionRequest(const QString &playlistID) const
{
    return jsonRequest(playlistsPath + u'/' + playlistID + QStringLiteral("/tracks"));
}

QNetworkRequest AppleMusicService::jsonRequest(const QString &path) const
{
    QNetworkRequest request = apiRequest(path);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    return request;
}

QCoro::Task<WebResponse> AppleMusicService::sendAuthorized(QNetworkRequest request, QByteArray verb, QByteArray body)
{
    const QNetworkRequest equipped = co_await authorized(std::move(request));
    const WebResponse response = co_await m_web.send(WebRequest(equipped, WebRequest::Kind::document, verb, body));
    forgetRefusedDeveloperToken(response);
    co_return response;
}

QCoro::Task<QByteArray> AppleMusicService::sendValidated(QNetworkRequest request, QByteArray verb, QByteArray body)
{
    const WebResponse response = co_await sendAuthorized(std::move(request), verb, body);
    if (response.statusCode == userTokenRejectedStatus)
        co_await m_authorization->forgetRejectedToken();
    validate(response);
    co_return response.data;
}

QString AppleMusicService::rememberPlaylist(QString playlistID)
{
    if (!isSafePathSegment(playlistID))
        throw JsonError(tr("identifiant de playlist inattendu dans la réponse d'Apple Music"));
    m_settings->setValue(playlistKey, playlistID);
    m_settings->sync();
    return playlistID;
}

void AppleMusicService::forgetRefusedDeveloperToken(const WebResponse &response)
{
    if (response.statusCode != developerTokenRejectedStatus || !m_cachedDeveloperToken)
        return;
    qCInfo(musicLogger, "Apple Music refused the developer token: the next request fetches a new one");
    m_cachedDeveloperToken.reset();
}

void AppleMusicService::forgetPlaylist()
{
    m_settings->remove(playlistKey);
    m_settings->sync();
}

} // namespace airnote
