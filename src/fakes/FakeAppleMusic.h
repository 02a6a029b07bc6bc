// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "fakes/LoopbackHttpServer.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QQueue>
#include <QStringList>

#include <optional>

namespace airnote::fakes {

// Apple Music on loopback: the developer-token backend and the parts of the
// web API Airnote uses, over an in-memory catalog, library and playlists.
// Credentials are checked as the real service does: 401 without the bearer
// token it issued, 403 on /v1/me/* without the expected music user token.
class FakeAppleMusic : public QObject
{
    Q_OBJECT

public:
    enum class Endpoint {
        token,
        storefront,
        catalogSearch,
        libraryAddition,
        playlistList,
        playlistCheck,
        playlistCreation,
        trackAddition,
    };
    Q_ENUM(Endpoint)

    struct Playlist
    {
        QString id;
        QString name;
        QStringList trackIDs;
    };

    // catalog: song resources in the web API's shape, in ranked order.
    explicit FakeAppleMusic(QJsonArray catalog = {}, QObject *parent = nullptr);

    // A song resource as the catalog serves it; album and artwork are left out when empty.
    static QJsonObject songResource(const QString &id, const QString &name, const QString &artistName,
                                    const QString &albumName = {}, const QString &artworkURL = {});

    bool listen();
    QUrl tokenURL() const;
    QUrl apiBase() const;
    LoopbackHttpServer &server();

    QString developerToken() const;
    QString musicUserToken() const;
    void setTokenLifetime(qint64 seconds);
    void setStorefront(const QString &storefront);
    void setCatalog(QJsonArray catalog);

    QStringList library() const;
    const QList<Playlist> &playlists() const;
    std::optional<Playlist> playlist(const QString &id) const;
    // Adds a library playlist and answers its identifier.
    QString addPlaylist(const QString &name);

    // The next request to endpoint gets reply instead of the normal answer;
    // several calls queue replies in order.
    void replyNext(Endpoint endpoint, HttpReply reply);
    QList<HttpRequest> requestsTo(Endpoint endpoint) const;

    static std::optional<Endpoint> endpointOf(const HttpRequest &request);

private:
    HttpReply handle(const HttpRequest &request);
    HttpReply answer(Endpoint endpoint, const HttpRequest &request);
    std::optional<HttpReply> refusedCredentials(Endpoint endpoint, const HttpRequest &request) const;
    HttpReply searchCatalog(const HttpRequest &request) const;
    HttpReply addToLibrary(const HttpRequest &request);
    HttpReply listPlaylists(const HttpRequest &request) const;
    HttpReply checkPlaylist(const HttpRequest &request) const;
    HttpReply createPlaylist(const HttpRequest &request);
    HttpReply addTracks(const HttpRequest &request);
    qsizetype indexOfPlaylist(const QString &id) const;

    LoopbackHttpServer m_server;
    QJsonArray m_catalog;
    QString m_developerToken;
    QString m_musicUserToken;
    qint64 m_tokenLifetime = 3600;
    QString m_storefront = QStringLiteral("fr");
    QStringList m_library;
    QList<Playlist> m_playlists;
    int m_createdPlaylists = 0;
    QHash<Endpoint, QQueue<HttpReply>> m_scriptedReplies;
};

} // namespace airnote::fakes
