// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FakeAppleMusic.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>

namespace airnote::fakes {

namespace {

constexpr qsizetype maximumPageSize = 100;
constexpr qsizetype defaultPageSize = 25;

const QString playlistsPath = QStringLiteral("/v1/me/library/playlists");

QByteArray document(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// The web API's error document, as in its real replies.
HttpReply appleError(int status, const QString &title, const QString &detail)
{
    const QJsonObject error{{QStringLiteral("status"), QString::number(status)},
                            {QStringLiteral("title"), title},
                            {QStringLiteral("detail"), detail}};
    return HttpReply::json(status, document({{QStringLiteral("errors"), QJsonArray{error}}}));
}

QString randomToken(const QString &prefix)
{
    return prefix + QUuid::createUuid().toString(QUuid::Id128);
}

// Words of a text, lower-cased, with punctuation as a separator.
QStringList words(const QString &text)
{
    static const QRegularExpression separators(QStringLiteral(R"([^\p{L}\p{N}]+)"));
    return text.toLower().split(separators, Qt::SkipEmptyParts);
}

// Apple writes blanks in the term as '+'.
QString searchTerm(const HttpRequest &request)
{
    QString encoded = request.query.queryItemValue(QStringLiteral("term"), QUrl::FullyEncoded);
    encoded.replace(QLatin1Char('+'), QLatin1Char(' '));
    return QUrl::fromPercentEncoding(encoded.toLatin1());
}

qsizetype pageSize(const HttpRequest &request)
{
    bool valid = false;
    const qsizetype requested = request.query.queryItemValue(QStringLiteral("limit")).toLongLong(&valid);
    return valid && requested > 0 ? std::min(requested, maximumPageSize) : defaultPageSize;
}

QJsonObject playlistResource(const FakeAppleMusic::Playlist &playlist)
{
    return {{QStringLiteral("id"), playlist.id},
            {QStringLiteral("type"), QStringLiteral("library-playlists")},
            {QStringLiteral("href"), playlistsPath + u'/' + playlist.id},
            {QStringLiteral("attributes"),
             QJsonObject{{QStringLiteral("name"), playlist.name}, {QStringLiteral("canEdit"), true}}}};
}

QString playlistIDInPath(const QString &path)
{
    return path.mid(playlistsPath.size() + 1).section(u'/', 0, 0);
}

} // namespace

FakeAppleMusic::FakeAppleMusic(QJsonArray catalog, QObject *parent)
    : QObject(parent)
    , m_catalog(std::move(catalog))
    , m_developerToken(randomToken(QStringLiteral("fake-developer-token-")))
    , m_musicUserToken(randomToken(QStringLiteral("fake-music-user-token-")))
{
    m_server.setHandler([this](const HttpRequest &request) { return handle(request); });
}

QJsonObject FakeAppleMusic::songResource(const QString &id, const QString &name, const QString &artistName,
                                         const QString &albumName, const QString &artworkURL)
{
    QJsonObject attributes{{QStringLiteral("name"), name}, {QStringLiteral("artistName"), artistName}};
    if (!albumName.isEmpty())
        attributes.insert(QStringLiteral("albumName"), albumName);
    if (!artworkURL.isEmpty())
        attributes.insert(QStringLiteral("artwork"), QJsonObject{{QStringLiteral("url"), artworkURL}});
    return {{QStringLiteral("id"), id}, {QStringLiteral("type"), QStringLiteral("songs")}, {QStringLiteral("attributes"), attributes}};
}

bool FakeAppleMusic::listen()
{
    return m_server.listen();
}

QUrl FakeAppleMusic::tokenURL() const
{
    return m_server.url(QStringLiteral("/api/token"));
}

QUrl FakeAppleMusic::apiBase() const
{
    return m_server.url();
}

LoopbackHttpServer &FakeAppleMusic::server()
{
    return m_server;
}

QString FakeAppleMusic::developerToken() const
{
    return m_developerToken;
}

QString FakeAppleMusic::musicUserToken() const
{
    return m_musicUserToken;
}

void FakeAppleMusic::setTokenLifetime(qint64 seconds)
{
    m_tokenLifetime = seconds;
}

void FakeAppleMusic::setStorefront(const QString &storefront)
{
    m_storefront = storefront;
}

void FakeAppleMusic::setCatalog(QJsonArray catalog)
{
    m_catalog = std::move(catalog);
}

QStringList FakeAppleMusic::library() const
{
    return m_library;
}

const QList<FakeAppleMusic::Playlist> &FakeAppleMusic::playlists() const
{
    return m_playlists;
}

std::optional<FakeAppleMusic::Playlist> FakeAppleMusic::playlist(const QString &id) const
{
    const qsizetype index = indexOfPlaylist(id);
    return index < 0 ? std::nullopt : std::optional<Playlist>(m_playlists.at(index));
}

QString FakeAppleMusic::addPlaylist(const QString &name)
{
    const QString id = QStringLiteral("p.Fake%1").arg(++m_createdPlaylists);
    m_playlists.append(Playlist{.id = id, .name = name, .trackIDs = {}});
    return id;
}

void FakeAppleMusic::replyNext(Endpoint endpoint, HttpReply reply)
{
    m_scriptedReplies[endpoint].enqueue(std::move(reply));
}

QList<HttpRequest> FakeAppleMusic::requestsTo(Endpoint endpoint) const
{
    QList<HttpRequest> matching;
    for (const HttpRequest &request : m_server.requests()) {
        if (endpointOf(request) == endpoint)
            matching.append(request);
    }
    return matching;
}

std::optional<FakeAppleMusic::Endpoint> FakeAppleMusic::endpointOf(const HttpRequest &request)
{
    static const QRegularExpression catalogSearch(QStringLiteral(R"(^/v1/catalog/[^/]+/search$)"));
    static const QRegularExpression onePlaylist(QStringLiteral(R"(^/v1/me/library/playlists/[^/]+$)"));
    static const QRegularExpression playlistTracks(QStringLiteral(R"(^/v1/me/library/playlists/[^/]+/tracks$)"));
    const bool get = request.method == "GET";
    const bool post = request.method == "POST";
    const QString &path = request.path;
    if (get && path == QLatin1String("/api/token"))
        return Endpoint::token;
    if (get && path == QLatin1String("/v1/me/storefront"))
        return Endpoint::storefront;
    if (get && catalogSearch.match(path).hasMatch())
        return Endpoint::catalogSearch;
    if (post && path == QLatin1String("/v1/me/library"))
        return Endpoint::libraryAddition;
    if (path == playlistsPath)
        return get ? std::optional(Endpoint::playlistList) : post ? std::optional(Endpoint::playlistCreation) : std::nullopt;
    if (get && onePlaylist.match(path).hasMatch())
        return Endpoint::playlistCheck;
    if (post && playlistTracks.match(path).hasMatch())
        return Endpoint::trackAddition;
    return std::nullopt;
}

HttpReply FakeAppleMusic::handle(const HttpRequest &request)
{
    const std::optional<Endpoint> endpoint = endpointOf(request);
    if (!endpoint)
        return appleError(404, QStringLiteral("Not Found"), QStringLiteral("No such resource"));
    if (QQueue<HttpReply> &scripted = m_scriptedReplies[*endpoint]; !scripted.isEmpty())
        return scripted.dequeue();
    if (std::optional<HttpReply> refusal = refusedCredentials(*endpoint, request))
        return *refusal;
    return answer(*endpoint, request);
}

HttpReply FakeAppleMusic::answer(Endpoint endpoint, const HttpRequest &request)
{
    switch (endpoint) {
    case Endpoint::token:
        return HttpReply::json(200, document({{QStringLiteral("token"), m_developerToken},
                                              {QStringLiteral("expiresIn"), m_tokenLifetime}}));
    case Endpoint::storefront:
        return HttpReply::json(200, document({{QStringLiteral("data"),
                                               QJsonArray{QJsonObject{{QStringLiteral("id"), m_storefront},
                                                                      {QStringLiteral("type"), QStringLiteral("storefronts")}}}}}));
    case Endpoint::catalogSearch:
        return searchCatalog(request);
    case Endpoint::libraryAddition:
        return addToLibrary(request);
    case Endpoint::playlistList:
        return listPlaylists(request);
    case Endpoint::playlistCheck:
        return checkPlaylist(request);
    case Endpoint::playlistCreation:
        return createPlaylist(request);
    case Endpoint::trackAddition:
        return addTracks(request);
    }
    Q_UNREACHABLE();
}

std::optional<HttpReply> FakeAppleMusic::refusedCredentials(Endpoint endpoint, const HttpRequest &request) const
{
    if (endpoint == Endpoint::token)
        return std::nullopt;
    if (request.header("Authorization") != "Bearer " + m_developerToken.toUtf8())
        return appleError(401, QStringLiteral("Unauthorized"), QStringLiteral("Invalid developer token"));
    if (request.path.startsWith(QLatin1String("/v1/me/")) && request.header("Music-User-Token") != m_musicUserToken.toUtf8())
        return appleError(403, QStringLiteral("Forbidden"), QStringLiteral("Invalid authentication"));
    return std::nullopt;
}

HttpReply FakeAppleMusic::searchCatalog(const HttpRequest &request) const
{
    const QStringList termWords = words(searchTerm(request));
    const bool songsWanted = request.query.queryItemValue(QStringLiteral("types")).split(u',').contains(QLatin1String("songs"));
    const qsizetype limit = songsWanted ? pageSize(request) : 0;
    QJsonArray found;
    for (const QJsonValue &song : m_catalog) {
        if (found.size() >= limit)
            break;
        const QJsonObject attributes = song[QLatin1String("attributes")].toObject();
        const QStringList songWords = words(attributes[QLatin1String("name")].toString() + u' '
                                            + attributes[QLatin1String("artistName")].toString() + u' '
                                            + attributes[QLatin1String("albumName")].toString());
        if (std::any_of(termWords.cbegin(), termWords.cend(), [&](const QString &word) { return songWords.contains(word); }))
            found.append(song);
    }
    QJsonObject results;
    if (!found.isEmpty())
        results.insert(QStringLiteral("songs"), QJsonObject{{QStringLiteral("data"), found}});
    return HttpReply::json(200, document({{QStringLiteral("results"), results}}));
}

HttpReply FakeAppleMusic::addToLibrary(const HttpRequest &request)
{
    const QStringList ids =
        request.query.queryItemValue(QStringLiteral("ids[songs]"), QUrl::FullyDecoded).split(u',', Qt::SkipEmptyParts);
    if (ids.isEmpty())
        return appleError(400, QStringLiteral("Bad Request"), QStringLiteral("No ids[songs] given"));
    for (const QString &id : ids) {
        if (!m_library.contains(id))
            m_library.append(id);
    }
    return HttpReply{.status = 202, .body = {}};
}

HttpReply FakeAppleMusic::listPlaylists(const HttpRequest &request) const
{
    const qsizetype limit = pageSize(request);
    QJsonArray page;
    for (const Playlist &playlist : m_playlists.first(std::min(limit, m_playlists.size())))
        page.append(playlistResource(playlist));
    QJsonObject reply{{QStringLiteral("data"), page}};
    if (m_playlists.size() > limit)
        reply.insert(QStringLiteral("next"), QStringLiteral("%1?offset=%2").arg(playlistsPath).arg(limit));
    return HttpReply::json(200, document(reply));
}

HttpReply FakeAppleMusic::checkPlaylist(const HttpRequest &request) const
{
    const std::optional<Playlist> found = playlist(playlistIDInPath(request.path));
    if (!found)
        return appleError(404, QStringLiteral("Not Found"), QStringLiteral("No such playlist"));
    return HttpReply::json(200, document({{QStringLiteral("data"), QJsonArray{playlistResource(*found)}}}));
}

HttpReply FakeAppleMusic::createPlaylist(const HttpRequest &request)
{
    const QString name = QJsonDocument::fromJson(request.body)[QLatin1String("attributes")][QLatin1String("name")].toString();
    if (name.isEmpty())
        return appleError(400, QStringLiteral("Bad Request"), QStringLiteral("A playlist needs attributes.name"));
    const QString id = addPlaylist(name);
    return HttpReply::json(201, document({{QStringLiteral("data"), QJsonArray{playlistResource(*playlist(id))}}}));
}

HttpReply FakeAppleMusic::addTracks(const HttpRequest &request)
{
    const qsizetype index = indexOfPlaylist(playlistIDInPath(request.path));
    if (index < 0)
        return appleError(404, QStringLiteral("Not Found"), QStringLiteral("No such playlist"));
    const QJsonArray tracks = QJsonDocument::fromJson(request.body)[QLatin1String("data")].toArray();
    if (tracks.isEmpty())
        return appleError(400, QStringLiteral("Bad Request"), QStringLiteral("No tracks given"));
    for (const QJsonValue &track : tracks)
        m_playlists[index].trackIDs.append(track[QLatin1String("id")].toString());
    return HttpReply{.status = 204, .body = {}};
}

qsizetype FakeAppleMusic::indexOfPlaylist(const QString &id) const
{
    const auto found = std::find_if(m_playlists.cbegin(), m_playlists.cend(),
                                    [&](const Playlist &playlist) { return playlist.id == id; });
    return found == m_playlists.cend() ? -1 : found - m_playlists.cbegin();
}

} // namespace airnote::fakes
