// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "TrayIcon.h"

#include "PanelHost.h"
#include "TintedIcon.h"
#include "platform/MusicAuthorization.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPalette>
#include <QPixmap>

namespace airnote {

TrayIcon::TrayIcon(PanelHost *panel, MusicAuthorization *authorization, QObject *parent)
    : QSystemTrayIcon(parent)
    , m_panel(panel)
    , m_authorization(authorization)
{
    // Tray panels draw their icons in the desktop's text colour; the palette is our best guess of it.
    const QColor ink = QGuiApplication::palette().color(QPalette::WindowText);
    setIcon(QIcon(QPixmap::fromImage(TintedIcon::render(QStringLiteral("radio"), ink, QSize(64, 64)))));
    setToolTip(QStringLiteral("Airnote"));

    m_menu.addAction(tr("Ouvrir"), panel, [this] { m_panel->showNextTo(geometry()); });
    m_accountAction = m_menu.addAction(QString(), this, &TrayIcon::signInOrOut);
    m_menu.addSeparator();
    m_menu.addAction(tr("Quitter"), QCoreApplication::instance(), &QCoreApplication::quit);
    setContextMenu(&m_menu);
    showAuthorization();
    connect(m_authorization, &MusicAuthorization::statusChanged, this, &TrayIcon::showAuthorization);

    connect(this, &QSystemTrayIcon::activated, this, &TrayIcon::onActivated);
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

void TrayIcon::signInOrOut()
{
    if (m_authorization->currentStatus() == MusicAuthorization::Status::authorized)
        m_authorization->signOut();
    else
        m_authorization->signIn();
}

} // namespace airnote
