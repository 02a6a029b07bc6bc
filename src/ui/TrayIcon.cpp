// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TrayIcon.h"

#include "PanelHost.h"
#include "TintedIcon.h"
#include "app/AirnoteApp.h"
#include "app/StationChoice.h"
#include "platform/MusicAuthorization.h"
#include "playback/StationPlayer.h"
#include "station/FIPMetadataService.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QPainter>
#include <QTextDocument>
#include <QPixmap>

namespace airnote {

TrayIcon::TrayIcon(PanelHost *panel, AirnoteApp *app, Host host, QObject *parent)
    : QSystemTrayIcon(parent)
    , m_panel(panel)
    , m_authorization(app->authorization())
    , m_station(app->fip())
    , m_stations(app->stations())
    , m_player(app->player())
    , m_host(host)
{
    // Hosts that know the installed symbolic icon recolour it to the panel;
    // the others get pixels, which cannot know the panel's colour.
    setIcon(QIcon::fromTheme(QStringLiteral("airnote-symbolic"), QIcon(QPixmap::fromImage(glyph(QSize(64, 64))))));
    showTrackOnAir();
    connect(m_station, &FIPMetadataService::currentChanged, this, &TrayIcon::showTrackOnAir);

    m_menu.addAction(tr("Ouvrir"), panel, [this] { m_panel->showNextTo(geometry()); });
    m_listenAction = m_menu.addAction(QString(), m_player, &StationPlayer::toggle);
    showListening();
    connect(m_player, &StationPlayer::stateChanged, this, &TrayIcon::showListening);
    addStationMenu();
    m_accountAction = m_menu.addAction(QString(), this, &TrayIcon::signInOrOut);
    m_menu.addSeparator();
    m_menu.addAction(tr("Quitter"), QCoreApplication::instance(), &QCoreApplication::quit);
    setContextMenu(&m_menu);
    showAuthorization();
    connect(m_authorization, &MusicAuthorization::statusChanged, this, &TrayIcon::showAuthorization);

    connect(this, &QSystemTrayIcon::activated, this, &TrayIcon::onActivated);
}

QImage TrayIcon::glyph(QSize size)
{
    const int halo = std::max(1, size.width() / 16);
    const QSize inner = size - QSize(2 * halo, 2 * halo);
    const QImage dark = TintedIcon::render(QStringLiteral("radio"), QColor(0, 0, 0, 200), inner);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    for (int dx = -halo; dx <= halo; ++dx) {
        for (int dy = -halo; dy <= halo; ++dy)
            painter.drawImage(QPoint(halo + dx, halo + dy), dark);
    }
    painter.drawImage(QPoint(halo, halo), TintedIcon::render(QStringLiteral("radio"), Qt::white, inner));
    return image;
}

void TrayIcon::onActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::Trigger)
        m_panel->toggleNextTo(geometry());
}

void TrayIcon::showAuthorization()
{
    const bool authorized = m_authorization->currentStatus() == MusicAuthorization::Status::authorized;
    m_accountAction->setText(authorized ? tr("Se déconnecter") : tr("Se connecter à Apple Music"));
}

void TrayIcon::showListening()
{
    m_listenAction->setText(m_player->isActive() ? tr("Pause") : tr("Écouter"));
}

void TrayIcon::showTrackOnAir()
{
    const std::optional<FIPTrack> track = m_station->current();
    const QString text = track ? QStringLiteral("%1 — %2").arg(track->title, track->artist) : QStringLiteral("Airnote");
    // The station's text shown as it is, whatever it holds.
    setToolTip(m_host == Host::statusNotifier ? text.toHtmlEscaped() : Qt::convertFromPlainText(text));
}

void TrayIcon::addStationMenu()
{
    QMenu *menu = m_menu.addMenu(tr("Station"));
    auto *group = new QActionGroup(menu);
    for (qsizetype index = 0; index < allStations().size(); ++index) {
        QAction *action = menu->addAction(allStations().at(index).name, m_stations, [this, index] {
            m_stations->onChoose(int(index));
        });
        action->setCheckable(true);
        action->setActionGroup(group);
    }
    const auto showChoice = [group, this] { group->actions().at(m_stations->index())->setChecked(true); };
    showChoice();
    connect(m_stations, &StationChoice::changed, group, showChoice);
}

void TrayIcon::signInOrOut()
{
    if (m_authorization->currentStatus() == MusicAuthorization::Status::authorized)
        m_authorization->signOut();
    else
        m_authorization->signIn();
}

} // namespace airnote
