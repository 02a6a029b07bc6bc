// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "music/CatalogMatch.h"
#include "music/Song.h"
#include "platform/WebSession.h"
#include "core/Endpoints.h"
#include "platform/MusicAuthorization.h"

#include "core/Coroutines.h"
#include <QDateTime>
#include <QList>
#include <QNetworkRequest>
#include <QObject>
#include <QUrl>
#include <QUrlQuery>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QSettings;

namespace airnote {

class MusicUserTokenProvider;

// The one way to Apple Music: catalog search with match scoring, and saving a
// song to the library and to the "FIP" playlist. Lives on the main thread for
// the whole process, so its coroutines never outlive it.
class AppleMusicService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(airnote::MusicAuthorization::Status authStatus READ authStatus WRITE setAuthStatus NOTIFY authStatusChanged)

public:
    struct Configuration
    {
        QUrl tokenURL = Endpoints::current().tokenURL;  // empty: no token backend
        QUrl apiBase = Endpoints::current().musicAPIBase;
        QString settingsFile;  // empty: the user's Airnote.conf
        std::function<QDateTime()> clock = &QDateTime::currentDateTimeUtc;
        std::chrono::milliseconds requestTimeout{60'000};
    };

    struct CachedToken
    {
        QString token;
        QDateTime expiresAt;
    };

    AppleMusicService(QNetworkAccessManager *session, MusicAuthorization *authorization,
                      MusicUserTokenProvider *userTokens, QObject *parent = nullptr);
    AppleMusicService(QNetworkAccessManager *session, MusicAuthorization *authorization,
                      MusicUserTokenProvider *userTokens, Configuration configuration, QObject *parent = nullptr);
    ~AppleMusicService() override;

    const std::optional<CachedToken> &cachedDeveloperToken() const;

    MusicAuthorization::Status authStatus() const;
    // The listener's storefront once a request has asked for it, else the French one.
    QString knownStorefront() const;
    void setAuthStatus(MusicAuthorization::Status status);

    // From the token backend, or from the memory cache while it outlives now by
    // more than a minute. Fails with ServiceError::tokenFetchFailed.
    QCoro::Task<QString> developerToken();
    // The request with its "Authorization" and "Music-User-Token" headers.
    QCoro::Task<QNetworkRequest> authorized(QNetworkRequest request);
    QCoro::Task<QString> userToken(QString developerToken);

    // Up to five catalog songs resembling the track, best first.
    QCoro::Task<QList<CatalogMatch>> searchMatches(QString artist, QString title);

    // Adds the song to the library, then to the "FIP" playlist.
    QCoro::Task<> addSong(Song song);
    QCoro::Task<> addToLibrary(QString songID);
    QCoro::Task<> addToPlaylist(QString songID);
    // The "FIP" playlist's identifier: the remembered one if it still exists,
    // else the first playlist of that name, else a new playlist.
    QCoro::Task<QString> ensurePlaylist();
    QCoro::Task<std::optional<QString>> findPlaylist(QString name);

Q_SIGNALS:
    void authStatusChanged();

private:
    QCoro::Task<QList<Song>> searchCatalog(QString term);
    QCoro::Task<QString> storefront();
    QCoro::Task<WebResponse> requestDeveloperToken();

    QNetworkRequest apiRequest(const QString &path, const QUrlQuery &query = {}) const;
    QNetworkRequest jsonRequest(const QString &path) const;
    QNetworkRequest libraryAdditionRequest(const QString &songID) const;
    QNetworkRequest playlistListRequest() const;
    QNetworkRequest trackAdditionRequest(const QString &playlistID) const;
    // A 401 among its answers refuses the developer token, fetched anew next time.
    QCoro::Task<WebResponse> sendAuthorized(QNetworkRequest request, QByteArray verb, QByteArray body = {});
    // sendAuthorized, then validate: the body of a 2xx reply. Every such request
    // carries the music user token, so a 403 also signs the listener out.
    QCoro::Task<QByteArray> sendValidated(QNetworkRequest request, QByteArray verb, QByteArray body = {});

    void forgetRefusedDeveloperToken(const WebResponse &response);
    QString rememberPlaylist(QString playlistID);
    void forgetPlaylist();

    WebSession m_web;
    MusicAuthorization *m_authorization;
    MusicAuthorization::Status m_authStatus;
    MusicUserTokenProvider *m_userTokens;
    Configuration m_configuration;
    std::unique_ptr<QSettings> m_settings;
    std::optional<CachedToken> m_cachedDeveloperToken;
    std::optional<QString> m_storefront;
};

} // namespace airnote
