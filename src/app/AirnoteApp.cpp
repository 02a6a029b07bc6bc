// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "AirnoteApp.h"

#include "app/UpdateChecker.h"
#include "core/Endpoints.h"
#include "history/CaptureStore.h"
#include "music/AppleMusicService.h"
#include "platform/MusicAuthorization.h"
#include "platform/MusicUserTokenProvider.h"
#include "station/FIPMetadataService.h"

#include <QPointer>

namespace airnote {

AirnoteApp::Services AirnoteApp::defaultServices(QNetworkAccessManager *session, WakeSource *wakeSource)
{
    Services services;
    auto *userTokens = new MusicUserTokenProvider();
    services.authorization = new MusicAuthorization(userTokens);
    userTokens->setParent(services.authorization);
    services.music = new AppleMusicService(session, services.authorization, userTokens);
    // A plain pointer: the service outlives the authorization it feeds, which
    // the app adopts, and so deletes, first.
    AppleMusicService *music = services.music;
    services.authorization->setDeveloperTokenSource([music] { return music->developerToken(); });
    services.fip = new FIPMetadataService(session, wakeSource);
    services.store = std::make_unique<CaptureStore>();
    services.updater = new UpdateChecker(session);
    services.streamBase = Endpoints::current().streamBase;
    return services;
}

AirnoteApp::AirnoteApp(Services services, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_stations(m_services.fip, m_services.settingsFile)
    , m_player(m_services.settingsFile)
    , m_workflow(m_services.fip, m_services.music, m_services.store.get())
    , m_history(m_services.store.get(), m_services.music)
    , m_panel(m_services.fip, &m_stations, &m_player, &m_workflow, &m_history, m_services.updater)
{
    // Children are deleted in the order they are adopted.
    for (QObject *service : std::initializer_list<QObject *>{m_services.authorization, m_services.fip,
                                                            m_services.music, m_services.updater}) {
        if (!service->parent())
            service->setParent(this);
    }
    connect(&m_panel, &PanelModel::appeared, this, &AirnoteApp::onPanelAppear);
    const auto followStation = [this] { m_player.setStream(m_stations.current().streamURL(m_services.streamBase)); };
    followStation();
    connect(&m_stations, &StationChoice::changed, this, followStation);
    // Listening from the tray, before the panel ever showed: the track on air is wanted too.
    connect(&m_player, &StationPlayer::stateChanged, this, [this] {
        if (m_player.isActive())
            m_services.fip->start();
    });
    m_services.updater->start();
}

AirnoteApp::~AirnoteApp() = default;

FIPMetadataService *AirnoteApp::fip() const
{
    return m_services.fip;
}

AppleMusicService *AirnoteApp::music() const
{
    return m_services.music;
}

MusicAuthorization *AirnoteApp::authorization() const
{
    return m_services.authorization;
}

CaptureStore *AirnoteApp::store() const
{
    return m_services.store.get();
}

UpdateChecker *AirnoteApp::updater() const
{
    return m_services.updater;
}

SaveWorkflow *AirnoteApp::workflow()
{
    return &m_workflow;
}

StationPlayer *AirnoteApp::player()
{
    return &m_player;
}

StationChoice *AirnoteApp::stations()
{
    return &m_stations;
}

HistoryModel *AirnoteApp::history()
{
    return &m_history;
}

PanelModel *AirnoteApp::panel()
{
    return &m_panel;
}

void AirnoteApp::onPanelAppear()
{
    m_services.fip->start();
    requestAuthorization();
}

QCoro::Task<> AirnoteApp::requestAuthorization()
{
    QPointer<AirnoteApp> self(this);
    const MusicAuthorization::Status status = co_await m_services.authorization->request();
    if (self)
        m_services.music->setAuthStatus(status);
}

} // namespace airnote
