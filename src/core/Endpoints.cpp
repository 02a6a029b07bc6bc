// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Endpoints.h"

#include "Error.h"
#include "UrlPaths.h"

#include <QHostAddress>

namespace airnote {

namespace {

QUrl withTokenPath(const QUrl &url)
{
    // Accept the backend's address with or without the fixed path.
    const QString tokenPath = QStringLiteral("/api/token");
    if (url.isEmpty() || url.path().endsWith(tokenPath))
        return url;
    return withPathAppended(url, tokenPath);
}

QUrl overridden(const char *variable, const QUrl &fallback)
{
    if (!qEnvironmentVariableIsSet(variable))
        return fallback;
    const QString value = qEnvironmentVariable(variable);
    const QUrl url(value, QUrl::StrictMode);
    if (!url.isValid() || !isAcceptableOverride(url)) {
        throw ConfigurationError(QStringLiteral("%1: refused \"%2\": use an https:// address, or http:// on a loopback address")
                                     .arg(QLatin1String(variable), value));
    }
    return url;
}

} // namespace

bool isAcceptableOverride(const QUrl &url)
{
    if (url.host().isEmpty())
        return false;
    if (url.scheme() == QLatin1String("https"))
        return true;
    if (url.scheme() != QLatin1String("http"))
        return false;
    if (url.host() == QLatin1String("localhost"))
        return true;
    const QHostAddress address(url.host());
    return !address.isNull() && address.isLoopback();
}

Endpoints Endpoints::builtIn()
{
    return Endpoints{
        .stationURL = QUrl(QStringLiteral("https://api.radiofrance.fr/livemeta/live/7/webrf_fip_player")),
        .imageBase = QUrl(QStringLiteral("https://www.radiofrance.fr")),
        .tokenURL = withTokenPath(QUrl(QStringLiteral(AIRNOTE_TOKEN_URL))),
        .musicAPIBase = QUrl(QStringLiteral("https://api.music.apple.com")),
        .updateFeed = QUrl(QStringLiteral(AIRNOTE_UPDATE_FEED)),
        .streamBase = QUrl(QStringLiteral("https://icecast.radiofrance.fr")),
    };
}

Endpoints Endpoints::fromEnvironment()
{
    const Endpoints defaults = builtIn();
    return Endpoints{
        .stationURL = overridden("AIRNOTE_STATION_URL", defaults.stationURL),
        .imageBase = overridden("AIRNOTE_IMAGE_BASE", defaults.imageBase),
        .tokenURL = withTokenPath(overridden("AIRNOTE_TOKEN_URL", defaults.tokenURL)),
        .musicAPIBase = overridden("AIRNOTE_MUSIC_API_BASE", defaults.musicAPIBase),
        .updateFeed = overridden("AIRNOTE_UPDATE_FEED", defaults.updateFeed),
        .streamBase = overridden("AIRNOTE_STREAM_BASE", defaults.streamBase),
    };
}

const Endpoints &Endpoints::current()
{
    static const Endpoints endpoints = fromEnvironment();
    return endpoints;
}

} // namespace airnote
