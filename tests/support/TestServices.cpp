// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TestServices.h"

#include "app/UpdateChecker.h"
#include "fakes/FakeAppleMusic.h"
#include "music/AppleMusicService.h"
#include "platform/MusicAuthorization.h"
#include "station/FIPMetadataService.h"
#include "platform/MusicUserTokenProvider.h"

#include <QDir>

namespace airnote::testing {

AirnoteApp::Services servicesFor(QNetworkAccessManager *network, const QUrl &stationURL, const QString &folder,
                                 fakes::FakeAppleMusic *music)
{
    const QString settingsFile = QDir(folder).filePath(QStringLiteral("Airnote.conf"));
    auto *tokens = new MusicUserTokenProvider();
    auto *authorization = new MusicAuthorization(tokens, MusicAuthorization::Configuration{.settingsFile = settingsFile});
    tokens->setParent(authorization);

    AppleMusicService::Configuration configuration;
    configuration.tokenURL = music ? music->tokenURL() : QUrl();
    configuration.apiBase = music ? music->apiBase() : QUrl(QStringLiteral("http://127.0.0.1:9"));
    configuration.settingsFile = settingsFile;

    AirnoteApp::Services services;
    services.fip = new FIPMetadataService(network, nullptr, stationURL);
    services.authorization = authorization;
    services.music = new AppleMusicService(network, authorization, tokens, configuration);
    services.store = std::make_unique<CaptureStore>(folder);
    services.settingsFile = settingsFile;
    services.updater = new UpdateChecker(network, QUrl(), QStringLiteral("0.1.0"), std::chrono::hours(24));
    return services;
}

} // namespace airnote::testing
